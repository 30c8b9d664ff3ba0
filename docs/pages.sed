# Shows doxygen the pages: there the manual is in HTML too, the charts lie beside the pages, and a
# heading is led to only if it has a name.
s,(/man/[a-z-]+\.[1-8])\),\1.html),g
s,\(docs/(charts/[a-z]+\.svg)\),(../\1),g
/^## The companion contract$/s/$/ {#the-companion-contract}/
s,\(\.\./abi\.md#([a-z-]+)\),(@ref \1),g

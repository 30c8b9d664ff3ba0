# Shows doxygen the pages: there the manual is in HTML too, and the charts lie beside the pages.
s,(/man/[a-z-]+\.[1-8])\),\1.html),g
s,\(docs/(charts/[a-z]+\.svg)\),(../\1),g

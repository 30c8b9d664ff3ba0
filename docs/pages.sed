# Shows doxygen the pages: there the manual is in HTML too.
s,(/man/[a-z-]+\.[1-8])\),\1.html),g

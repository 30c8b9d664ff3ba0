# Makes OUTPUT from TEMPLATE with NAME, VERSION and the time, which is that of SOURCE_DATE_EPOCH when
# the environment has it: then the same sources give the same library.
string(TIMESTAMP now "%m%d %Y at %H:%M:%S" UTC)
string(SUBSTRING "${now}" 0 2 month)
string(SUBSTRING "${now}" 2 -1 rest)
set(names XXX Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec)
list(GET names ${month} month)
set(BUILD_TIME "${month} ${rest}")
configure_file(${TEMPLATE} ${OUTPUT} @ONLY)

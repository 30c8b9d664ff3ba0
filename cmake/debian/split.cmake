# Installs the debug information of `file` where gdb looks for it, by the identifier of the build.
execute_process(COMMAND readelf -n ${file} OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
  message(FATAL_ERROR "${file} has no build identifier")
endif()
set(place $ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/lib/debug/.build-id/${CMAKE_MATCH_1})
file(MAKE_DIRECTORY ${place})
execute_process(
  COMMAND objcopy --only-keep-debug --compress-debug-sections ${file} ${place}/${CMAKE_MATCH_2}.debug
  COMMAND_ERROR_IS_FATAL ANY)
file(CHMOD ${place}/${CMAKE_MATCH_2}.debug PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

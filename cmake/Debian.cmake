# The Debian packages, made by CPack: `scripts/package`. One package a component, or two components
# where a host wants both; the number in a library's package is that of its soname.
set(maintainer "The cul developers <cul@example.org>")
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)  # that of SOURCE_DATE_EPOCH, if it is set
set(CPACK_DEBIAN_PACKAGE_RELEASE 0cul1)  # below the first one of a distribution
set(version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/changelog.in debian/changelog @ONLY)
foreach(text IN ITEMS ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog CHANGELOG.md)
  cmake_path(GET text FILENAME name)
  execute_process(COMMAND gzip -9nc ${text} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/debian/${name}.gz COMMAND_ERROR_IS_FATAL ANY)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_NAME cul)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_VENDOR "The cul developers")
set(CPACK_PACKAGE_CONTACT ${maintainer})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian/compress.cmake)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

# package(name COMPONENTS … SECTION … SUMMARY text TEXT lines [DEPENDS …] [BINARY])
# BINARY: it holds programs or libraries, and depends on those that they are linked with.
macro(package name)
  cmake_parse_arguments(arg "BINARY" "SECTION;SUMMARY;TEXT" "COMPONENTS;DEPENDS" ${ARGN})
  string(TOUPPER ${name} NAME)
  list(APPEND CPACK_COMPONENTS_ALL ${arg_COMPONENTS} ${name}-papers)
  foreach(component IN LISTS arg_COMPONENTS ITEMS ${name}-papers)
    string(TOUPPER ${component} COMPONENT)
    set(CPACK_COMPONENT_${COMPONENT}_GROUP ${name})
  endforeach()
  set(CPACK_DEBIAN_${NAME}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${NAME}_PACKAGE_SECTION ${arg_SECTION})
  set(CPACK_DEBIAN_${NAME}_DESCRIPTION "${arg_SUMMARY}\n${arg_TEXT}")
  list(JOIN arg_DEPENDS ", " CPACK_DEBIAN_${NAME}_PACKAGE_DEPENDS)
  set(CPACK_DEBIAN_${NAME}_PACKAGE_SHLIBDEPS ${arg_BINARY})
  if(NOT arg_BINARY)
    set(CPACK_DEBIAN_${NAME}_PACKAGE_ARCHITECTURE all)
  endif()
  set(overrides ${PROJECT_SOURCE_DIR}/cmake/debian/${arg_COMPONENTS}.overrides)
  if(EXISTS "${overrides}")  # a library
    set(CPACK_DEBIAN_${NAME}_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
    install(FILES ${overrides} DESTINATION share/lintian/overrides RENAME ${name}
      COMPONENT ${name}-papers)
  endif()
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright
    DESTINATION share/doc/${name} COMPONENT ${name}-papers)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/debian/CHANGELOG.md.gz
    DESTINATION share/doc/${name} RENAME changelog.gz COMPONENT ${name}-papers)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog.gz
    DESTINATION share/doc/${name} RENAME changelog.Debian.gz COMPONENT ${name}-papers)
endmacro()

# A library's interface stays what it is as long as its minor version does.
math(EXPR next "${PROJECT_VERSION_MINOR} + 1")
set(same_interface ">= ${CUL_INTERFACE}" "<< ${PROJECT_VERSION_MAJOR}.${next}~")
set(cul libcul${CUL_ABI})
set(quonutil libquonutil${CUL_ABI})
list(TRANSFORM same_interface REPLACE "(.+)" "${quonutil} (\\1)" OUTPUT_VARIABLE needs_quonutil)
list(TRANSFORM same_interface REPLACE "(.+)" "${cul} (\\1)" OUTPUT_VARIABLE needs_cul)

package(${quonutil} COMPONENTS companion SECTION libs BINARY
  SUMMARY "companion base library of the debugger platform layer cul"
  TEXT "Texts, file names, lists, threads, locks, trace, settings and message catalogs,
as far as libcul uses them.")
package(${cul} COMPONENTS runtime SECTION libs BINARY DEPENDS ${needs_quonutil}
  SUMMARY "Unix and Linux platform layer under a debugger engine"
  TEXT "Whatever a source-level debugger engine wants from the operating system:
files and mappings, searches, environments, dispatchers of events, messages,
and a cache of debug-information files.")
package(libcul-dev COMPONENTS development companion-development SECTION libdevel
  DEPENDS "${cul} (= ${version})" "${quonutil} (= ${version})" BINARY
  SUMMARY "headers of the debugger platform layer cul"
  TEXT "What is needed to build a host of libcul: headers, a CMake package and
pkg-config files, for the companion library libquonutil as well.")
package(cul-tools COMPONENTS tools SECTION devel DEPENDS ${needs_cul} ${needs_quonutil} BINARY
  SUMMARY "command that explains what the debugger platform layer does"
  TEXT "The command cul tells why a program, module or source is found or not, looks
after caches of debug information, and checks message catalogs.")
package(cul-dbg COMPONENTS debug SECTION debug
  DEPENDS "${cul} (= ${version})" "${quonutil} (= ${version})"
  SUMMARY "debug information of the debugger platform layer cul"
  TEXT "What gdb needs to show the objects of both libraries, and what their threads
are doing, and to step through the command cul.")
unset(CPACK_DEBIAN_CUL-DBG_PACKAGE_ARCHITECTURE)  # of the libraries that it was stripped off
foreach(target IN ITEMS cul quonutil cul-tool)
  install(CODE "set(file $<TARGET_FILE:${target}>)" COMPONENT debug)
  install(SCRIPT ${CMAKE_CURRENT_LIST_DIR}/debian/split.cmake COMPONENT debug)
endforeach()
package(libcul-doc COMPONENTS documentation SECTION doc
  SUMMARY "documentation of the debugger platform layer cul"
  TEXT "What a host may rely on, what it has to know, and what changed.")

set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
include(CPack)

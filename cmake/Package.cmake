# What a host needs to find the libraries: the CMake package `cul` with the targets cul::cul and
# quonutil::quonutil, and a pkg-config file a library. The companion library has components of its
# own, so that an engine can leave out what it replaces. The build directory is a CMake package too.
include(CMakePackageConfigHelpers)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/cul)
set(built ${PROJECT_BINARY_DIR})
file(RELATIVE_PATH up ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})

# cul_install(library description RUNTIME component DEVELOPMENT component [REQUIRES library])
function(cul_install library description)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "RUNTIME;DEVELOPMENT;REQUIRES" "")
  install(TARGETS ${library} EXPORT ${library}Targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
      COMPONENT ${arg_RUNTIME} NAMELINK_COMPONENT ${arg_DEVELOPMENT}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ${arg_DEVELOPMENT})
  install(EXPORT ${library}Targets NAMESPACE ${library}:: DESTINATION ${package}
    COMPONENT ${arg_DEVELOPMENT})
  export(EXPORT ${library}Targets NAMESPACE ${library}:: FILE ${built}/${library}Targets.cmake)

  set(requires ${arg_REQUIRES})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in ${library}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${library}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${arg_DEVELOPMENT})
endfunction()

if(TARGET quonutil)
  cul_install(quonutil "The companion base library of cul, as a stand-in"
    RUNTIME companion DEVELOPMENT companion-development)
endif()
cul_install(cul "${PROJECT_DESCRIPTION}"
  RUNTIME runtime DEVELOPMENT development REQUIRES quonutil)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/culConfig.cmake.in ${built}/culConfig.cmake
  INSTALL_DESTINATION ${package})
# Before 1.0 each minor version may change the interface.
write_basic_package_version_file(${built}/culConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(PROGRAMS ${PROJECT_SOURCE_DIR}/scripts/check-companion
  DESTINATION ${CMAKE_INSTALL_DATADIR}/cul COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/abi/companion.symbols
  DESTINATION ${CMAKE_INSTALL_DATADIR}/cul COMPONENT development)
install(FILES ${built}/culConfig.cmake ${built}/culConfigVersion.cmake
  DESTINATION ${package} COMPONENT development)

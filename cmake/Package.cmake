# What a host needs to find the libraries: the CMake package `cul` with the targets cul::cul and
# cul::quonutil, and a pkg-config file. Each library is a component of its own, so that an engine
# can leave out the one that it replaces.
include(CMakePackageConfigHelpers)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/cul)
foreach(library IN ITEMS quonutil cul)
  install(TARGETS ${library} EXPORT ${library}Targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${library}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ${library})
  install(EXPORT ${library}Targets NAMESPACE cul:: DESTINATION ${package} COMPONENT ${library})
endforeach()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/culConfig.cmake.in culConfig.cmake
  INSTALL_DESTINATION ${package})
# Before 1.0 each minor version may change the interface.
write_basic_package_version_file(culConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/culConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/culConfigVersion.cmake
  DESTINATION ${package} COMPONENT cul)

file(RELATIVE_PATH up ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/cul.pc.in cul.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/cul.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT cul)

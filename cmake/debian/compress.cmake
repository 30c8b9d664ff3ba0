# Compresses, in the trees that become packages, the manual pages, as Debian wants it. The pages to
# be read in a browser stay as they are: they lead to each other by name.
set(prefix ${CPACK_PACKAGING_INSTALL_PREFIX})
file(GLOB_RECURSE pages ${CPACK_TEMPORARY_DIRECTORY}/*${prefix}/share/man/*.[1-8])
if(pages)
  execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)
endif()

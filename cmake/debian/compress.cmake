# Compresses, in the trees that become packages, what Debian wants compressed: manual pages, and
# texts that are not small.
set(prefix ${CPACK_PACKAGING_INSTALL_PREFIX})
file(GLOB_RECURSE pages ${CPACK_TEMPORARY_DIRECTORY}/*${prefix}/share/man/*.[1-8])
file(GLOB_RECURSE texts ${CPACK_TEMPORARY_DIRECTORY}/*${prefix}/share/doc/*.md)
foreach(text IN LISTS texts)
  file(SIZE ${text} size)
  if(size GREATER 4096)
    list(APPEND pages ${text})
  endif()
endforeach()
if(pages)
  execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)
endif()

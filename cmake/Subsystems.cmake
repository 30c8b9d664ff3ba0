# How a library and its folders are described. Each folder lists its files; what it says here is
# also what `scripts/check` holds the #include lines against: see `layout.txt` in a build directory.

# A shared library of this project.
function(cul_library name)
  add_library(${name} SHARED)
  add_library(${name}::${name} ALIAS ${name})
  target_compile_features(${name} PUBLIC cxx_std_17 PRIVATE cxx_std_20)
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
  target_link_libraries(${name} PRIVATE
    $<BUILD_INTERFACE:cul_warnings> $<BUILD_INTERFACE:cul_hardening> $<BUILD_INTERFACE:cul_fortify>)
  string(TOUPPER ${name} NAME)
  set(map ${PROJECT_BINARY_DIR}/${name}.map)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/exports.map.in ${map} @ONLY)
  target_compile_options(${name} PRIVATE
    # Calls inside one source file stay there, as clang has it anyway. What a test puts its own in
    # place of is called from other files.
    -fno-semantic-interposition
    # Instantiating a whole template leaves copies of inline members that nobody calls.
    -ffunction-sections)
  target_link_options(${name} PRIVATE LINKER:--gc-sections LINKER:--version-script=${map})
  set_target_properties(${name} PROPERTIES
    LINK_DEPENDS ${map}
    VERSION ${CUL_ABI}.${PROJECT_VERSION}
    SOVERSION ${CUL_ABI}
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    INSTALL_RPATH "$ORIGIN")  # the two libraries lie side by side, wherever that is
endfunction()

# One folder of libquonutil.
function(quonutil_subsystem name)
  _cul_subsystem(quonutil ${name} ${ARGN})
endfunction()

# One folder of libcul. Its HEADERS are installed, its INTERNAL ones are not. USES names the
# sibling folders whose headers it may include; `base` is everybody's.
function(cul_subsystem name)
  _cul_subsystem(cul ${name} ${ARGN})
endfunction()

function(_cul_subsystem library name)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "SOURCES;HEADERS;INTERNAL;USES")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "${library}/${name}: what is ${arg_UNPARSED_ARGUMENTS}?")
  endif()
  cmake_path(GET CMAKE_CURRENT_SOURCE_DIR FILENAME place)
  if(NOT name STREQUAL place)
    message(FATAL_ERROR "the folder ${place} calls itself ${name}")
  endif()
  target_sources(${library}
    PRIVATE ${arg_SOURCES} ${arg_INTERNAL}
    PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${arg_HEADERS})

  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set_property(GLOBAL APPEND PROPERTY CUL_LAYOUT "folder ${folder}")
  foreach(kind IN ITEMS SOURCES HEADERS INTERNAL USES)
    foreach(item IN LISTS arg_${kind})
      set_property(GLOBAL APPEND PROPERTY CUL_LAYOUT "${kind} ${folder} ${item}")
    endforeach()
  endforeach()
endfunction()

# Writes what the functions above were told.
function(cul_write_layout)
  get_property(lines GLOBAL PROPERTY CUL_LAYOUT)
  list(JOIN lines "\n" text)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/layout.txt CONTENT "${text}\n" @ONLY)
endfunction()

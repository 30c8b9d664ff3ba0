# Programs beside the libraries: tests, benchmarks, fuzz targets.

# cul_test(name SOURCES … [LIBS …] [FAULTS])
#
# A GoogleTest program `<name>_test`; each of its tests is a test of CTest named `<name>.…` and
# runs in a process of its own, because half of what is tested exists once a process.
# FAULTS is for a program that stands between the libraries and the C library, with a CallWatch or
# with calls that it defines itself: nothing may rename these calls.
function(cul_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "FAULTS" "" "SOURCES;LIBS")
  set(target ${name}_test)
  add_executable(${target} ${arg_SOURCES})
  _cul_program(${target})
  target_link_libraries(${target} PRIVATE cul quonutil ${arg_LIBS} GTest::gmock_main)
  if(arg_FAULTS)
    target_link_libraries(${target} PRIVATE call_fronts)
  else()
    target_link_libraries(${target} PRIVATE cul_fortify)
  endif()
  gtest_discover_tests(${target} TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT ${CUL_TEST_SECONDS} LABELS suite)
endfunction()

# cul_bench(name SOURCES … [LIBS …]): a Google Benchmark program `<name>_bench`. LIBS are its peers.
function(cul_bench name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBS")
  set(target ${name}_bench)
  add_executable(${target} ${arg_SOURCES})
  _cul_program(${target})
  target_link_libraries(${target} PRIVATE
    cul quonutil ${arg_LIBS} cul_fortify benchmark::benchmark_main)
  set_property(GLOBAL APPEND PROPERTY CUL_BENCHES ${name})
endfunction()

# Writes the names of the benchmarks, for `scripts/bench`.
function(cul_write_benches)
  get_property(names GLOBAL PROPERTY CUL_BENCHES)
  list(JOIN names "\n" text)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/benches.txt CONTENT "${text}\n" @ONLY)
endfunction()

# cul_fuzz(name SOURCES … [LIBS …]): a libFuzzer program `<name>_fuzz`, and a test that runs it for
# CUL_FUZZ_SECONDS over seeds/<name>, with the words of <name>.dict and what earlier runs found.
function(cul_fuzz name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBS")
  set(target ${name}_fuzz)
  add_executable(${target} ${arg_SOURCES})
  _cul_program(${target})
  target_link_libraries(${target} PRIVATE cul quonutil fuzz_harness ${arg_LIBS})
  target_link_options(${target} PRIVATE -fsanitize=fuzzer)
  set(found ${CMAKE_CURRENT_BINARY_DIR}/${name}.found)  # inputs worth keeping are written here
  file(MAKE_DIRECTORY ${found})
  add_test(NAME fuzz.${name}
    COMMAND ${target} -seed=${CUL_FUZZ_SEED} -max_total_time=${CUL_FUZZ_SECONDS} -timeout=10
            -print_final_stats=1 -dict=${CMAKE_CURRENT_SOURCE_DIR}/${name}.dict
            ${found} ${CMAKE_CURRENT_SOURCE_DIR}/seeds/${name}
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
  set_tests_properties(fuzz.${name} PROPERTIES LABELS fuzz)
endfunction()

function(_cul_program target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE cul_warnings cul_hardening)
endfunction()

# What a distribution's build adds, so that the code is measured and tested as it will be shipped.
add_library(cul_hardening INTERFACE)
target_compile_options(cul_hardening INTERFACE -fstack-protector-strong -fcf-protection)
target_link_options(cul_hardening INTERFACE LINKER:-z,relro LINKER:-z,now LINKER:--as-needed)
if(NOT CUL_SANITIZE)  # the sanitizers' run time is found in the program, not in the library
  target_link_options(cul_hardening INTERFACE LINKER:--no-undefined)
endif()

# Checked variants of the C library's calls. Apart from the rest because it renames calls, and
# some tests stand in front of them. The sanitizers check more, and by the calls' real names.
add_library(cul_fortify INTERFACE)
if(NOT CUL_SANITIZE)
  target_compile_options(cul_fortify INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
endif()

# Sanitizers and coverage change every object file of a build, the tests' too.
if(CUL_SANITIZE)
  add_compile_options(-fsanitize=${CUL_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${CUL_SANITIZE})
endif()
if(CUL_COVERAGE)
  # Counters that the file holds at once: a test's child that is killed has counted all the same.
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping
                      "SHELL:-mllvm -runtime-counter-relocation")
  add_link_options(-fprofile-instr-generate)
endif()

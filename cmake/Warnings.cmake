# Warnings belong to our own code: a target that it links privately, so that they never reach a
# host's build. They become errors where CUL_WERROR is on, as in every preset.
add_library(cul_warnings INTERFACE)

target_compile_options(cul_warnings INTERFACE
  -Wall -Wextra -Wpedantic
  -Wcast-align -Wcast-qual -Wold-style-cast
  -Wconversion -Wsign-conversion -Wdouble-promotion
  -Wextra-semi -Wmissing-declarations -Wredundant-decls -Wshadow -Wundef -Wvla
  -Wnon-virtual-dtor -Woverloaded-virtual -Wzero-as-null-pointer-constant
  -Wformat=2
  # A format that the compiler cannot read is never acceptable.
  -Werror=format-nonliteral -Werror=format-security
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-branches -Wduplicated-cond -Wformat-signedness
    -Wlogical-op -Wsuggest-override>
  $<$<CXX_COMPILER_ID:Clang>:-Wsuggest-override -Wthread-safety -Wthread-safety-beta>
  $<$<BOOL:${CUL_WERROR}>:-Werror>)

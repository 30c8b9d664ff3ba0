# The clang preset's compiler: the version that the continuous build uses when it is there.
find_program(CMAKE_CXX_COMPILER NAMES clang++-14 clang++ REQUIRED)

#pragma once

/// Twenty words each.
inline constexpr char const* kCommandLines[] = {
    R"(g++ -std=c++20 -O2 -g -Wall -Wextra -fPIC -I include -I "/opt/some where/include" -D)"
    R"( NAME="a product" -c -o build/objects/source.o source.cpp -MD -MF build/source.d)",
    R"(debug --symbols /usr/lib/debug --source "src:src/lib" --break main --break file.cpp:120)"
    R"( --arguments "one two three" --directory /var/tmp --log debug.log --level 3 -- a.out input)",
    R"(find . -name "*.cpp" -o -name "*.h" -o -path ./build\ tree -prune -o -newer .stamp -type f)"
    R"( -print -mindepth 1 extra)",
    R"(run 1 2 3 4 5 6 7 8 "9 and 10" a b c d e f g h i\ j a/rather/long/name/for/one/short/list)",
};

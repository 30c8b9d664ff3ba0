#pragma once

#include "tests/support/Prelude.h"

/// Makes the catalog `name` with gencat from lines like "7 text" and "$set 3". Gives its path.
inline std::string compile(Scratch const& scratch, std::string const& name, std::string lines) {
  std::string const source = scratch.write("source", "$ codeset=UTF-8\n" + lines + "\n");
  if (std::system(("gencat --new -o " + scratch.path(name) + " " + source).c_str())) std::abort();
  return scratch.path(name);
}

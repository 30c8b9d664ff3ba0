#pragma once

#include <cstdio>
#include <cstdlib>
#include <exception>

/// Does a host's work, which gives the program's exit status. What it throws is told in a line on
/// standard error, and makes the program fail.
template <class Work>
int runHost(char const* name, Work work) {
  try {
    return work();
  } catch (std::exception const& failure) {
    std::fprintf(stderr, "%s: %s\n", name, failure.what());
    return EXIT_FAILURE;
  }
}

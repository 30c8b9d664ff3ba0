// Whatever /proc/version holds: 255 bytes of it are kept, up to the first zero, and its numbers are
// what strtol reads.

#include <fcntl.h>

#include <cstring>
#include <sstream>

#include "cul/platform/LINUX_Api.h"
#include "fuzz/Harness.h"

namespace {

std::string version;  // the file that stands in its place

struct Kernel : LINUX_Api {
  Kernel() : LINUX_Api(kLocalApi, 0) {}
  using LINUX_Api::versionText;
};

}  // namespace

extern "C" int open(char const* path, int flags, ...) {
  bool const isVersion = std::strcmp(path, "/proc/version") == 0;
  return ::openat(AT_FDCWD, isVersion ? version.c_str() : path, flags, 0600);
}

void check(std::string const& bytes) {
  version = fileOf(bytes);
  Kernel const kernel;
  std::string const kept = bytes.substr(0, 255).c_str();
  require(bytesOf(kernel.versionText) == kept);

  std::istringstream words(kept);
  words.exceptions(std::ios::badbit);  // std::bad_alloc is no end of the bytes
  std::string word, rest;
  words >> word >> word;
  std::getline(words, rest, '\0');
  int expected[3] = {}, found[3];
  char const* next = rest.c_str();
  for (int& number : expected) {
    char* end;
    number = static_cast<int>(std::strtol(next, &end, 10));
    if (end == next || *end != '.') break;
    next = end + 1;
  }
  kernel.osVersion(&found[0], &found[1], &found[2]);
  require(std::memcmp(found, expected, sizeof found) == 0);
  require(kernel.osVersionCheck(expected[0], expected[1], expected[2]) == 1);
}

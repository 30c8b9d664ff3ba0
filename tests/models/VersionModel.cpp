// Of /proc/version 255 bytes are kept, up to the first zero; its numbers are what sscanf reads.

#include <cstdio>
#include <cstring>

#include "cul/platform/LINUX_Api.h"
#include "tests/models/Model.h"

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

  int expected[3] = {}, found[3];
  std::sscanf(kept.c_str(), "%*s %*s %d.%d.%d", &expected[0], &expected[1], &expected[2]);
  kernel.osVersion(&found[0], &found[1], &found[2]);
  require(std::memcmp(found, expected, sizeof found) == 0);
  require(kernel.osVersionCheck(expected[0], expected[1], expected[2]) == 1);
}

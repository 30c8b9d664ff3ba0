#include "cul/platform/LINUX_Api.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "cul/base/Descriptor.h"

namespace {

// "Linux version 5.14.21-default (…": the last byte is the zero's, also when more was read.
constexpr unsigned int kTextBytes = 256;

}  // namespace

LINUX_Api::LINUX_Api(ApiType type, int flags)
    : UNIX_Api(type, flags), major(0), minor(0), patch(0) {
  Descriptor const file(::open("/proc/version", O_RDONLY | O_CLOEXEC));
  if (!file.isOpen()) return;
  char text[kTextBytes];
  ssize_t const count = ::read(file.get(), text, sizeof text);
  if (count <= 0) return;
  text[count == kTextBytes ? count - 1 : count] = '\0';
  versionText = EncodedString(text, EncodedString::kSystemText);
}

LINUX_Api::~LINUX_Api() = default;

void LINUX_Api::getOsVersion() const {
  if (major != 0 || versionText.isEmpty()) return;
  int numbers[3] = {0, 0, 0};
  static_cast<void>(
      std::sscanf(versionText.data(), "%*s %*s %d.%d.%d", &numbers[0], &numbers[1], &numbers[2]));
  // The major number last: whoever sees it sees the others.
  patch = numbers[2];
  minor = numbers[1];
  major = numbers[0];
}

void LINUX_Api::osVersion(int* majorNumber, int* minorNumber, int* patchNumber) const {
  getOsVersion();
  if (majorNumber != nullptr) *majorNumber = major;
  if (minorNumber != nullptr) *minorNumber = minor;
  if (patchNumber != nullptr) *patchNumber = patch;
}

int LINUX_Api::osVersionCheck(int majorNumber, int minorNumber, int patchNumber) const {
  getOsVersion();
  int const running[] = {major, minor, patch};
  int const given[] = {majorNumber, minorNumber, patchNumber};
  for (int i = 0; i < 3; ++i) {
    if (running[i] != given[i]) return running[i] < given[i] ? 0 : 2;
  }
  return 1;
}

#include "cul/platform/UNIX_Api.h"

#include <unistd.h>

#include <cerrno>

#include "cul/platform/UNIX_ApiFailure.h"

namespace {

constexpr unsigned int kPathBytes = 4096;

}  // namespace

UNIX_Api::~UNIX_Api() = default;

EncodedString UNIX_Api::getcwd() {
  char path[kPathBytes];
  if (::getcwd(path, sizeof path) == nullptr) {
    UNIX_ApiFailure::throwException(CUL_ApiFailure::kErrno, static_cast<unsigned int>(errno),
                                    nullptr);
  }
  return EncodedString(path, EncodedString::kSystemText);
}

void UNIX_Api::rationalize(FileName& name) {
  char path[kPathBytes];
  if (::getcwd(path, sizeof path) == nullptr || path[0] == '\0') return;
  name.rationalizePath(EncodedString(path, EncodedString::kSystemText));
}

int UNIX_Api::setFilePosition(int fd, unsigned long long position) {
  return ::lseek(fd, static_cast<off_t>(position), SEEK_SET) == -1 ? 1 : 0;
}

int UNIX_Api::stat(char const* path, struct stat* buf) { return ::stat(path, buf) == 0 ? 0 : 1; }

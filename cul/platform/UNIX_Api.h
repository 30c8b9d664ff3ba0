#pragma once

#include <sys/stat.h>

#include "cul/platform/CUL_Api.h"

/// The calls that only a Unix system has. What is said of CUL_Api holds here too.
class CUL_EXPORT UNIX_Api : public CUL_Api {
 public:
  using CUL_Api::CUL_Api;
  ~UNIX_Api() override;

  /// The working directory. Throws UNIX_ApiFailure (kErrno) on failure, also when the path does
  /// not fit into 4096 bytes with its terminating zero.
  static EncodedString getcwd();

  /// Makes `name` absolute against the working directory, see FileName::rationalizePath. When the
  /// working directory is not to be had, the name stays as it is and nothing is reported.
  static void rationalize(FileName& name);

  /// lseek(2) to `position` bytes from the start. Status.
  static int setFilePosition(int fd, unsigned long long position);

  /// stat(2); `path` goes to the system unconverted. Status.
  static int stat(char const* path, struct stat* buf);
};

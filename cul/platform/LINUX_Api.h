#pragma once

#include <atomic>

#include "cul/platform/UNIX_Api.h"

/// A Linux system, which knows the version of the kernel that it runs.
///
/// The version is read from /proc/version when the object is made, and parsed when it is first
/// asked for; where there is none it is 0.0.0. Nothing here fails. Any thread may ask.
class CUL_EXPORT LINUX_Api : public UNIX_Api {
 public:
  /// Reads /proc/version; the arguments are those of CUL_Api.
  LINUX_Api(ApiType type, int flag);
  ~LINUX_Api() override;

  /// Parses the version, unless that is known.
  void getOsVersion() const;

  /// Stores the numbers of the version; any pointer may be null.
  void osVersion(int* majorNumber, int* minorNumber, int* patchNumber) const;

  /// How the kernel's version stands to the one given: 0 it is older, 1 the same, 2 newer.
  int osVersionCheck(int majorNumber, int minorNumber, int patchNumber) const;

 protected:
  // Whoever asks first stores them; several at once store the same.
  mutable std::atomic<int> major;  ///< 0 until it is asked for, and where there is none
  mutable std::atomic<int> minor;  ///< good when `major` is
  mutable std::atomic<int> patch;  ///< good when `major` is
};

#pragma once

#include "cul/platform/CUL_ApiFailure.h"

/// A failure that knows the system's words for an errno. A handler for CUL_ApiFailure catches it.
class CUL_EXPORT UNIX_ApiFailure : public CUL_ApiFailure {
 public:
  /// As the base class does, trace line included. Then, for kErrno and a null `reason`, the reason
  /// becomes strerror(rc); the trace line shows it empty. An empty `reason` is not a null one.
  UNIX_ApiFailure(FailType type, unsigned int rc, char const* reason);

  /// strerror(rc), or "" should that be null. Borrowed from the C library, until the same thread's
  /// next call of it.
  static char const* failureText(unsigned int rc);

  /// Builds a failure, which traces, and throws it.
  [[noreturn]] static void throwException(FailType type, unsigned int rc, char const* reason);
};

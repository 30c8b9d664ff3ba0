#pragma once

#include "cul/base/Export.h"
#include "quonutil/text/EncodedString.h"

/// An operating-system failure that callers cannot be expected to test for, thrown by value.
///
/// Building one writes a warning trace line, so that it leaves a mark whether or not anybody
/// catches it; copying one writes none. The library itself catches nothing. Any thread may build
/// and throw failures. Throws std::bad_alloc itself when memory for the reason runs out.
class CUL_EXPORT CUL_ApiFailure {
 public:
  /// What kind of number `rc` is.
  enum FailType : int {
    kUndefined = 0,       ///< no classification
    kApiRc = 1,           ///< rc is the return code of an interface that failed
    kErrno = 2,           ///< rc is the C library's errno
    kCommunications = 3,  ///< rc is the code of a failed communication
  };

  /// `reason` is copied, as text of the library's encoding; null is the empty reason.
  CUL_ApiFailure(FailType type, unsigned int rc, char const* reason);

  /// The enumerator's name, or a text that asks for this list to be completed. Never null.
  static char const* type_to_name(FailType type);

  /// Puts `text` behind the reason, with nothing between them. Null changes nothing.
  void addReason(char const* text);

  /// Builds a failure, which traces, and throws it.
  [[noreturn]] static void throwException(FailType type, unsigned int rc, char const* reason);

  FailType failType;     ///< what kind of number `rc` is
  unsigned int rc;       ///< the number that tells what failed
  EncodedString reason;  ///< empty when none was given
};

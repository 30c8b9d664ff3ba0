#include "cul/platform/UNIX_ApiFailure.h"

#include <cstring>

UNIX_ApiFailure::UNIX_ApiFailure(FailType type, unsigned int code, char const* text)
    : CUL_ApiFailure(type, code, text) {
  if (text != nullptr || type != kErrno) return;
  reason = EncodedString(failureText(code), EncodedString::kSystemText);
}

char const* UNIX_ApiFailure::failureText(unsigned int rc) {
  char const* const words = std::strerror(static_cast<int>(rc));
  return words == nullptr ? "" : words;
}

void UNIX_ApiFailure::throwException(FailType type, unsigned int rc, char const* reason) {
  throw UNIX_ApiFailure(type, rc, reason);
}

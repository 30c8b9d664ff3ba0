#include "cul/platform/CUL_ApiFailure.h"

#include "cul/base/Tracing.h"

CUL_ApiFailure::CUL_ApiFailure(FailType type, unsigned int code, char const* text)
    : failType(type), rc(code), reason(text == nullptr ? "" : text, EncodedString::kLibraryText) {
  if (auto* trace = tracing(TraceFlag::warning)) {
    trace->taggedTrace("CUL_ApiFailure", __LINE__, "WARNING",
                       "failtype=%d (`%s') rc=%d reason=`%s'", static_cast<int>(failType),
                       type_to_name(failType), static_cast<int>(rc), reason.data());
  }
}

char const* CUL_ApiFailure::type_to_name(FailType type) {
  switch (type) {
    case kUndefined: return "kUndefined";
    case kApiRc: return "kApiRc";
    case kErrno: return "kErrno";
    case kCommunications: return "kCommunications";
  }
  return "other failure (update CUL_Api_Failure::type_to_name?)";
}

void CUL_ApiFailure::addReason(char const* text) {
  if (text == nullptr) return;
  reason += EncodedString(text, EncodedString::kLibraryText);
}

void CUL_ApiFailure::throwException(FailType type, unsigned int rc, char const* reason) {
  throw CUL_ApiFailure(type, rc, reason);
}

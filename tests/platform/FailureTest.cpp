#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>

#include "cul/platform/UNIX_ApiFailure.h"
#include "tests/support/Scratch.h"
#include "tests/support/TraceCapture.h"

namespace {

TEST(Failure, TracesWhatTheCallerGaveAndThenFindsTheWords) {
  struct Row {
    int type;
    unsigned int rc;
    char const *given, *traced;
    std::string reason;
  };
  std::string const noEntry = std::strerror(ENOENT);
  Row const rows[] = {
      {2, ENOENT, nullptr, "failtype=2 (`kErrno') rc=2 reason=`'", noEntry},
      {2, ENOENT, "", "failtype=2 (`kErrno') rc=2 reason=`'", ""},
      {2, ENOENT, "why", "failtype=2 (`kErrno') rc=2 reason=`why'", "why"},
      {1, 4294967295, nullptr, "failtype=1 (`kApiRc') rc=-1 reason=`'", ""},
      {3, 0, "x", "failtype=3 (`kCommunications') rc=0 reason=`x'", "x"},
      {0, 0, "x", "failtype=0 (`kUndefined') rc=0 reason=`x'", "x"},
      {-1, 0, "x",
       "failtype=-1 (`other failure (update CUL_Api_Failure::type_to_name?)') rc=0 reason=`x'",
       "x"},
  };
  for (auto const& row : rows) {
    TraceCapture capture({TraceFlag::warning});
    UNIX_ApiFailure const failure(static_cast<CUL_ApiFailure::FailType>(row.type), row.rc,
                                  row.given);
    UNIX_ApiFailure copy(failure);  // which is not a second failure
    EXPECT_THAT(capture.lines(),
                testing::ElementsAre("CUL_ApiFailure WARNING " + std::string(row.traced)));
    EXPECT_EQ(bytesOf(failure.reason), row.reason);
    EXPECT_EQ(failure.reason.encoding() == EncodedString::kSystemText, row.reason == noEntry);
    for (char const* more : {static_cast<char const*>(nullptr), "a", "b"}) copy.addReason(more);
    EXPECT_EQ(bytesOf(copy.reason), row.reason + "ab");
    EXPECT_EQ(copy.reason.encoding(), failure.reason.encoding());
  }
}

TEST(Failure, IsThrownAsWhatItIsAndSilentWhenNobodyListens) {
  TraceCapture capture({TraceFlag::error, TraceFlag::detail});
  try {
    UNIX_ApiFailure::throwException(CUL_ApiFailure::kErrno, EACCES, nullptr);
  } catch (CUL_ApiFailure const& failure) {
    EXPECT_EQ(failure.rc, static_cast<unsigned int>(EACCES));
    EXPECT_EQ(bytesOf(failure.reason), UNIX_ApiFailure::failureText(EACCES));
  }
  EXPECT_THAT(
      [] { CUL_ApiFailure::throwException(CUL_ApiFailure::kApiRc, 1, "lost"); },
      testing::Throws<CUL_ApiFailure>(testing::Field(&CUL_ApiFailure::reason, text("lost"))));
  EXPECT_THAT(capture.lines(), testing::IsEmpty());
}

}  // namespace

#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>

#include "cul/platform/UNIX_ApiFailure.h"
#include "tests/support/Scratch.h"
#include "tests/support/TraceCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Failure, TracesWhatTheCallerGaveAndThenFindsTheWords) {
  struct Row {
    int line;
    CUL_ApiFailure::FailType type;
    unsigned int rc;
    char const* given;
    char const* traced;
    std::string reason;
  };
  std::string const noEntry = std::strerror(ENOENT);
  auto const unknown = static_cast<CUL_ApiFailure::FailType>(-1);
  Row const rows[] = {
      {__LINE__, CUL_ApiFailure::kErrno, ENOENT, nullptr, "failtype=2 (`kErrno') rc=2 reason=`'",
       noEntry},
      {__LINE__, CUL_ApiFailure::kErrno, ENOENT, "", "failtype=2 (`kErrno') rc=2 reason=`'", ""},
      {__LINE__, CUL_ApiFailure::kErrno, ENOENT, "why", "failtype=2 (`kErrno') rc=2 reason=`why'",
       "why"},
      {__LINE__, CUL_ApiFailure::kApiRc, 4294967295, nullptr,
       "failtype=1 (`kApiRc') rc=-1 reason=`'", ""},
      {__LINE__, unknown, 0, "x",
       "failtype=-1 (`other failure (update CUL_Api_Failure::type_to_name?)') rc=0 reason=`x'",
       "x"},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.line);
    TraceCapture capture({TraceFlag::warning});
    UNIX_ApiFailure const failure(row.type, row.rc, row.given);
    EXPECT_THAT(capture.lines(), ElementsAre("CUL_ApiFailure WARNING " + std::string(row.traced)));
    EXPECT_EQ(failure.failType, row.type);
    EXPECT_EQ(failure.rc, row.rc);
    EXPECT_EQ(bytesOf(failure.reason), row.reason);
    UNIX_ApiFailure copy(failure);
    copy.addReason(nullptr);
    copy.addReason("a");
    copy.addReason("b");
    EXPECT_EQ(bytesOf(copy.reason), row.reason + "ab");
    EXPECT_EQ(copy.reason.encoding(), failure.reason.encoding());
    EXPECT_THAT(capture.lines(), IsEmpty());  // a copy is not a second failure
  }
}

TEST(Failure, IsThrownAsWhatItIsAndSilentWhenNobodyListens) {
  TraceCapture capture({TraceFlag::error, TraceFlag::detail});
  try {
    UNIX_ApiFailure::throwException(CUL_ApiFailure::kErrno, EACCES, nullptr);
  } catch (CUL_ApiFailure const& failure) {
    EXPECT_EQ(bytesOf(failure.reason), UNIX_ApiFailure::failureText(EACCES));
  }
  EXPECT_THROW(CUL_ApiFailure::throwException(CUL_ApiFailure::kCommunications, 1, "lost"),
               CUL_ApiFailure);
  EXPECT_THAT(capture.lines(), IsEmpty());
}

}  // namespace

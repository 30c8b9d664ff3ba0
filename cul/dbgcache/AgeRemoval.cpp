#include "cul/dbgcache/AgeRemoval.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "cul/base/DirectoryStream.h"
#include "cul/base/Tracing.h"

namespace {

constexpr unsigned int kSecondsPerHour = 3600;

// What is old at one moment. The limit is a 32-bit product that wraps: engines rely on it.
struct Age {
  std::time_t now;
  double limit;  // seconds

  bool isOld(std::time_t lastAccess) const { return std::difftime(now, lastAccess) > limit; }
};

void removeOldEntry(int directory, char const* name) {
  errno = 0;
  if (::unlinkat(directory, name, 0) == 0) {
    if (auto* trace = tracing(TraceFlag::detail)) {
      trace->taggedTrace("remove", __LINE__, "**", "File %s removed from cache", name);
    }
    return;
  }
  int const error = errno;
  if (auto* trace = tracing(TraceFlag::error)) {
    trace->taggedTrace("remove", __LINE__, "ERROR", "Cannot remove file %s from cache (errno = %d)",
                       name, error);
  }
}

void removeIfOld(int directory, char const* name, Age const& age) {
  struct stat state;
  errno = 0;
  if (::fstatat(directory, name, &state, 0) != 0) {
    int const error = errno;
    if (auto* trace = tracing(TraceFlag::error)) {
      trace->taggedTrace("remove", __LINE__, "ERROR", "Cannot stat file %s in cache (errno = %d)",
                         name, error);
    }
    return;
  }
  if (!S_ISDIR(state.st_mode) && age.isOld(state.st_atime)) removeOldEntry(directory, name);
}

void traceStart(EncodedString const& directory, unsigned int hours) {
  auto* const trace = tracing(TraceFlag::detail);
  if (trace == nullptr) return;
  if (hours != 0) {
    trace->taggedTrace("remove", __LINE__, "**",
                       "Removing files in cache directory %s older than %d hours", directory.data(),
                       static_cast<int>(hours));
  } else {
    trace->taggedTrace("remove", __LINE__, "**", "Clearing cache directory %s", directory.data());
  }
}

}  // namespace

void removeOldFiles(EncodedString const& directory, unsigned int hours) {
  traceStart(directory, hours);
  Age const age{std::time(nullptr), static_cast<double>(hours * kSecondsPerHour)};
  DirectoryStream stream(directory.data());
  if (!stream.isOpen()) {
    if (auto* trace = tracing(TraceFlag::error)) {
      trace->taggedTrace("remove", __LINE__, "ERROR", "Cannot open directory %s", directory.data());
    }
    return;
  }
  while (char const* const name = stream.next()) removeIfOld(stream.descriptor(), name, age);
}

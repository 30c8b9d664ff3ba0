#include "quonutil/trace/TraceFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <utility>

#include "quonutil/trace/TraceImplementation.h"

namespace {

struct File {
  int descriptor = -1;
  bool endsInsideLine = false;  // the last write was cut short
};

// A sink may be writing to the one while another is being set to the other.
constinit File files[2];
unsigned int current = 0;  // guarded by `changing`
constinit std::mutex changing;

using Stamp = char[64];

// Returns the length of the stamp.
std::size_t writeStamp(Stamp& stamp) noexcept {
  timespec now;
  ::clock_gettime(CLOCK_REALTIME, &now);
  tm date;
  ::gmtime_r(&now.tv_sec, &date);
  std::size_t const length = std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%S", &date);
  int const rest = std::snprintf(stamp + length, sizeof stamp - length, ".%06ldZ %d ",
                                 now.tv_nsec / 1'000, ::gettid());
  return length + static_cast<std::size_t>(rest);
}

// The trace calls this for one line at a time.
void writeLine(void* context, char const* line, unsigned int length) {
  File& file = *static_cast<File*>(context);
  Stamp stamp;
  std::size_t const stampLength = writeStamp(stamp);
  char newline = '\n';
  iovec const pieces[] = {{&newline, file.endsInsideLine ? 1U : 0U},
                          {stamp, stampLength},
                          {const_cast<char*>(line), length},
                          {&newline, 1}};
  std::size_t const whole = pieces[0].iov_len + stampLength + length + 1;
  ssize_t const written = ::writev(file.descriptor, pieces, 4);
  if (written > 0) file.endsInsideLine = static_cast<std::size_t>(written) < whole;
}

}  // namespace

bool traceToFile(char const* path) {
  int const fd = ::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK,
                        S_IRUSR | S_IWUSR);
  if (fd < 0) return false;
  std::lock_guard<std::mutex> const held(changing);
  File& old = files[current];
  current ^= 1;
  files[current] = {fd, false};
  traceImplementation().setSink(writeLine, &files[current]);
  int const unused = std::exchange(old.descriptor, -1);
  if (unused >= 0) ::close(unused);
  return true;
}

#include "Plan.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <memory>
#include <system_error>

#include "SimulatedTime.h"
#include "Text.h"
#include "cul/dbgcache/DbgCache.h"
#include "cul/events/CUL_Dispatcher.h"

namespace {

constexpr char kContent[] = "what is in a file";

// The kernel records an access by a clock of its own, so it is told what that should have been.
void setAccess(std::string const& path, long seconds) {
  timespec const times[] = {{SimulatedTime::timeOfDay(seconds), 0}, {0, UTIME_OMIT}};
  if (::utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) {
    throw std::system_error(errno, std::generic_category(), path);
  }
}

void want(std::string const& name, std::string const& directory, long seconds) {
  auto* const cache = DbgCache::instance();
  FileName const file(systemText(name));
  std::unique_ptr<ByteString> const bytes(cache->readFile(file, nullptr, 0, DbgCache::kToTheEnd));
  if (bytes == nullptr) cache->addFile(ByteString(kContent, sizeof kContent), file, nullptr);
  setAccess(directory + name, seconds);
}

}  // namespace

// Old files go at the start, after half an hour, and then every 35 minutes and 47.483647 seconds:
// the second timer runs at 1:05:47, the 81st at 48:13:18. A file goes when it is older than 48
// hours by a second at least; what is exactly so old waits for the next timer.
std::vector<File> const& files() {
  static std::vector<File> const all = {
      {"old", {-at(48, 0, 1)}, {at(0)}},
      {"48-at-the-start", {-at(48)}, {at(0, 30)}},
      {"older-at-first", {-at(47, 30, 1)}, {at(0, 30)}},
      {"48-at-first-timer", {-at(47, 30)}, {at(1, 5, 47)}},
      {"read-once", {-at(40), at(7)}, {at(55, 22, 48)}},
      {"read-in-time", {-at(47, 59), at(0, 29), at(48)}, {}},
      {"read-too-late", {-at(47, 59), at(0, 31)}, {at(0, 30), at(48, 49, 6)}},
      {"stored-at-start", {at(0)}, {at(48, 13, 18)}},
      {"stored-at-noon", {at(12)}, {at(60, 9, 8)}},
      {"stored-again", {at(0), at(50)}, {at(48, 13, 18)}},
      {"read-daily", {at(0), at(24), at(48)}, {}},
      {"stored-on-day-2", {at(30)}, {}},
  };
  return all;
}

void plan(std::string const& directory) {
  for (auto const& file : files()) {
    for (long seconds : file.wanted) {
      if (seconds >= 0) {
        SimulatedTime::schedule(seconds, [=, &file] { want(file.name, directory, seconds); });
      } else {
        std::ofstream(directory + file.name) << kContent;
        setAccess(directory + file.name, seconds);
      }
    }
  }
  SimulatedTime::schedule(kEnd, [] { CUL_Dispatcher::instance()->destroy(); });
}

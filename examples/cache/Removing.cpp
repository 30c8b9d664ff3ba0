#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <system_error>

#include "Demo.h"
#include "Events.h"
#include "cul/dbgcache/DbgCache.h"
#include "cul/events/CUL_Dispatcher.h"
#include "cul/events/CUL_Timer_Event.h"

namespace {

namespace fs = std::filesystem;

constexpr std::time_t kLimit = kHours * 3600;  // seconds
constexpr unsigned long kDelay = 20'000;       // microseconds

// Removes by age on the dispatch thread, as the cache's own timer does after half an hour. Tells
// whether it ran there, and not before its time; discarded unrun, it ends the wait all the same.
class RemovalTimer final : public CUL_Timer_Event {
 public:
  explicit RemovalTimer(std::promise<bool> told)
      : CUL_Timer_Event(kDelay), told_(std::move(told)) {}

  void handle_it() override {
    bool const rightly = isTimeExpired() && CUL_Dispatcher::instance()->on_dispatch_thread();
    DbgCache::instance()->remove(kHours);
    told_.set_value(rightly);
  }

 private:
  std::promise<bool> told_;
  Counted const counted_;
};

// An entry of the cache directory: when it was last accessed, and whether it is to go.
struct Entry {
  char const* name;
  char const* access;
  bool goes;
};

// A link's own time, not that of what it points to.
void setAccessBack(fs::path const& path, std::time_t seconds) {
  timespec const times[] = {{std::time(nullptr) - seconds, 0}, {0, UTIME_OMIT}};
  if (::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) {
    throw std::system_error(errno, std::generic_category(), path);
  }
}

// Whether reading a file there makes it young again.
bool recordsReading(fs::path const& directory) {
  struct statvfs system;
  return ::statvfs(directory.c_str(), &system) == 0 && (system.f_flag & ST_NOATIME) == 0;
}

// Fills the cache directory with entries of every kind and age. The targets of links lie elsewhere.
std::vector<Entry> makeEntries(Original const& original, fs::path const& cache,
                               Scratch const& scratch) {
  auto* const store = DbgCache::instance();
  for (auto* name : {"young", "old", "read-again"}) {
    store->addFile(original.content, FileName(systemText(name)), nullptr);
  }
  fs::create_directory(cache / "directory");
  for (std::string const name : {"young-target", "old-target"}) {
    std::ofstream(scratch.file(name.c_str())) << name;
    fs::create_symlink(scratch.file(name.c_str()), cache / ("link-to-" + name));
  }
  setAccessBack(cache / "young", kLimit - 60);
  setAccessBack(cache / "old", kLimit + 1);
  setAccessBack(cache / "read-again", 2 * kLimit);
  setAccessBack(cache / "directory", 2 * kLimit);
  setAccessBack(cache / "link-to-young-target", 2 * kLimit);
  setAccessBack(scratch.file("old-target"), 2 * kLimit);
  bool const recorded = recordsReading(cache);
  std::unique_ptr<ByteString> const read(
      store->readFile(FileName(systemText("read-again")), nullptr, 0, 1));
  return {{"young", "23:59:00 ago", false},
          {"old", "24:00:01 ago", true},
          {"read-again", recorded ? "48 hours ago, and now" : "now, unrecorded here", !recorded},
          {"directory", "48 hours ago, a directory", false},
          {"link-to-young-target", "48 hours ago, its target now", false},
          {"link-to-old-target", "now, its target 48 hours ago", true}};
}

}  // namespace

void removeByAge(Demo& demo, Scratch const& scratch) {
  demo.display.heading("A timer removes what nobody has read for more than 24 hours");
  fs::path const cache = copyOf(demo.originals.front()).parent_path();
  auto const entries = makeEntries(demo.originals.front(), cache, scratch);
  auto expected = everythingAtHome();
  std::promise<bool> promise;
  auto told = promise.get_future();
  postTo(*CUL_Dispatcher::instance(), std::make_unique<RemovalTimer>(std::move(promise)), 1);
  demo.checks.confirm(told.get(), "it ran on the dispatch thread, and not before its time");
  auto const found = everythingAtHome();
  demo.display.line("%-22s %-30s %-9s %s", "entry", "last access", "expected", "found");
  for (auto const& [name, access, goes] : entries) {
    demo.checks.expect(expected.contains(cache / name), std::string(name) + " was there");
    demo.display.line("%-22s %-30s %-9s %s", name, access, goes ? "gone" : "there",
                      found.contains(cache / name) ? "there" : "gone");
    if (goes) demo.removed += static_cast<unsigned>(expected.erase(cache / name));
  }
  demo.checks.confirm(found == expected, "these are gone, and nothing else");
  demo.expectNoTrace();
}

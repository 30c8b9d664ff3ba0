#include <cstdlib>
#include <memory>

#include "cul/events/CUL_Dispatcher.h"
#include "tests/dbgcache/TestCache.h"
#include "tests/support/ThreadFronts.h"
#include "tests/sweep/Scenarios.h"

// What is promised here is what DbgCache.h and DbgCacheUnix.h promise.
namespace {

constexpr unsigned int kCrowded = kCache | kCrowd;

constexpr char kCopy[] = "cache/main.o.8d777f385d3dfec8815d20f7496026dc";
constexpr unsigned long kHalfAnHour = 1'800'000'000;

constexpr Promise kNoDirectory = {"opendir", "remove ERROR Cannot open directory ~/cache/"};
constexpr Promise kNoState = {"fstatat", "remove ERROR Cannot stat file %p in cache (errno = %e)"};
constexpr Promise kStays = {"unlinkat",
                            "remove ERROR Cannot remove file %p from cache (errno = %e)"};
constexpr Promise kGoes = {"+unlinkat", "remove ** File %p removed from cache"};
constexpr Promise kAges = {
    "@(+time|time:odd)", "remove ** Removing files in cache directory ~/cache/ older than 1 hours"};

constexpr Promise kNotOpened = {"open", "addFile VKT ::open failed - errno = %e"};
constexpr Promise kNotWritten = {"write*", "addFile VKT ::write failed - errno = %e"};
constexpr Promise kClosedAfterAll = {"close", nullptr, nullptr, 0, "write"};
constexpr Promise kNotClosed = {"close", "addFile VKT ::write failed - errno = %e"};
// Without memory to trace and arrange it with, a part goes silently.
constexpr Promise kLastResort = {"?(+)unlink", nullptr, nullptr, 0, "new"};
constexpr Promise kFileGoes = {"+unlink", "removeFile ** File %p removed from cache"};
constexpr Promise kFileStays = {"unlink",
                                "removeFile ERROR errno = %e when removing file %p from cache"};

void start(Run& run) {
  setParameter("");
  cacheSetting() = EncodedString();
  std::unique_ptr<TestCache> cache;
  run.attempt([&] { cache = std::make_unique<TestCache>(); });
  run << (cache == nullptr ? "none"
                           : bytesOf(cache->cacheDirectory) + "|" + bytesOf(cacheSetting()));
  cacheSetting() = EncodedString();
}
void startWithHome(Run& run) {
  ::setenv("HOME", run.world.path("home").c_str(), 1);
  start(run);
}
void startWithPassword(Run& run) {
  ::unsetenv("HOME");
  std::string const home = run.world.path("home/");
  passwordHome = home.c_str();
  start(run);
}

std::vector<Promise> startPromises() {
  return {{"getpwuid_r*", nullptr, "|"},
          {"stat", nullptr, "|", 1},  // of the home directory
          {"stat", nullptr, "|", 3},  // the second look
          {"stat"},
          {"mkdir", nullptr, nullptr, 0, nullptr, EEXIST},  // look again
          {"mkdir", nullptr, "|"},
          {"opendir", "remove ERROR Cannot open directory ~/home/.vexcorlz/"},
          {"+time",
           "remove ** Removing files in cache directory ~/home/.vexcorlz/ older than 48 hours"},
          {"time:odd",
           "remove ** Removing files in cache directory ~/home/.vexcorlz/ older than 48 hours"},
          kNoState};
}

void name(Run& run) {
  TestCache const& cache = cacheOf(run.world);
  EncodedString name;
  run.attempt([&] { name = cache.actualName(copyFile(), &copyDigest()); });
  run << bytesOf(name);
}

// The removal timer runs when it is due, and leaves the next one.
void timer(Run& run) {
  ThreadFronts::clock = kHalfAnHour;
  Run::muted = true;
  setParameter(run.world.path("cache:1"));
  auto& dispatcher = *CUL_Dispatcher::instance();
  TestCache const cache;  // has removed the old file, and posted its timer
  run.world.write("cache/ancient", "ancient");
  run.world.makeOld("cache/ancient");
  ThreadFronts::clock += kHalfAnHour;
  Run::muted = false;
  run.attempt([&] { (dispatcher.*&Opened::_process_event)((dispatcher.*&Opened::_waitpop)()); });
  run << dispatcher.*&Opened::pending;
  ThreadFronts::clock = 0;
}

void store(Run& run, MD5 const* with) {
  ByteString const content("data", 4);
  TestCache& cache = cacheOf(run.world);
  run.attempt([&] { cache.addFile(content, copyFile(), with); });
}

std::function<void(Run&)> removing(void (*remove)(DbgCache& cache)) {
  return [=](Run& run) {
    TestCache& cache = cacheOf(run.world);
    run.attempt([&] { remove(cache); });
  };
}

std::function<void(Run&)> reading(unsigned int offset, unsigned int size) {
  return [offset, size](Run& run) {
    TestCache& cache = cacheOf(run.world);
    std::unique_ptr<ByteString> bytes;
    run.attempt([&] { bytes.reset(cache.readFile(copyFile(), &copyDigest(), offset, size)); });
    run << (bytes == nullptr ? "null" : bytesOf(*bytes));
  };
}
std::vector<Promise> const& readPromises() {
  static auto const& all = *new std::vector<Promise>{
      {"fstat:odd"},
      {"read*", "readFile VKT ::%c failed - errno = %e", "null"},
      {"lseek:odd", "readFile VKT ::lseek failed - errno = 0", "null"},
      {"@(open|fstat|lseek)", "readFile VKT ::%c failed - errno = %e", "null"}};
  return all;
}

}  // namespace

TestCache& cacheOf(World const& world) {
  static TestCache& cache = []() -> TestCache& {
    Run::muted = true;
    setParameter("/no/where/");
    auto& made = *new TestCache;
    Run::muted = false;
    return made;
  }();
  EncodedString const directory = text(world.path("cache/"));
  if (cache.cacheDirectory != directory) cache.cacheDirectory = directory;  // in use, perhaps
  return cache;
}

std::vector<Scenario> cacheScenarios() {
  static constexpr char kNone[] = "", kDone[] = "~/home/.vexcorlz/|~/home/.vexcorlz/:48:noflush";
  std::vector<char const*> const others = {"readFile VKT offset* failed - errno = *\nnull",
                                           "@(uts|tside|hei|eirs)"};
  std::vector<Promise> const expiry = {kAges, kNoDirectory, kNoState, kGoes, kStays};
  std::vector<Promise> const storing = {kNotOpened, kNotWritten, kClosedAfterAll, kNotClosed,
                                        kLastResort};
  auto const with = [](std::vector<Promise> all, std::vector<Promise> const& more) {
    all.insert(all.end(), more.begin(), more.end());
    return all;
  };
  Promise const notRemoved = {"unlink", "remove VKT ::unlink failed - errno = %e"};
  return {
      Scenario("Start", kHome, startWithHome)
          .gives(kDone, "bad_alloc none")
          .when(startPromises())
          .changes({{"home/.vexcorlz", "/"}})
          .suffers("home/.vexcorlz", {"|"}),
      Scenario("StartWithPasswordEntry", kHome, startWithPassword)
          .gives(kDone, "bad_alloc none")
          .when(startPromises())
          .changes({{"home/.vexcorlz", "/"}})
          .suffers("home/.vexcorlz", {"|"}),
      Scenario("Store", kCrowded, [](Run& run) { store(run, &copyDigest()); })
          .gives(kNone, "bad_alloc ")
          .when(with(storing, {notRemoved}))
          .changes({{kCopy, "data"}})
          .suffers(kCopy),
      Scenario("StoreWithoutDigest", kCrowded, [](Run& run) { store(run, nullptr); })
          .gives(kNone, "bad_alloc ")
          .when(with(storing, {kFileGoes, kFileStays, {"opendir"}}))
          .changes({{"cache/main.o", "data"}, {kCopy, nullptr, true}})
          .suffers("cache/main.o"),
      Scenario("ReadRange", kCrowded, reading(1, 3))
          .gives("arl", "bad_alloc null")
          .when(readPromises())
          .suffers(kCopy, others),
      Scenario("ReadToTheEnd", kCrowded, reading(2, DbgCache::kToTheEnd))
          .gives("rlier", "bad_alloc null")
          .when(readPromises())
          .suffers(kCopy, others),
      Scenario("Remove", kCache,
               removing([](DbgCache& cache) { cache.remove(copyFile(), &copyDigest()); }))
          .gives(kNone, "bad_alloc ")
          .when({notRemoved})
          .changes({{kCopy, nullptr}})
          .suffers(kCopy),
      Scenario("RemoveEveryDigest", kCache,
               removing([](DbgCache& cache) { cache.remove(copyFile(), nullptr); }))
          .gives(kNone, "bad_alloc ")
          .when({kFileGoes, kFileStays, {"opendir"}})
          .changes({{kCopy, nullptr}})
          .suffers(kCopy),
      Scenario("ActualName", kCrowded, name)
          .gives("~/cache/main.o.8d777f385d3dfec8815d20f7496026dc", "bad_alloc ")
          .when({{"stat", nullptr, ""}})
          .suffers(kCopy),
      Scenario("Expiry", kCrowded, removing([](DbgCache& cache) { cache.remove(1U); }))
          .when(expiry)
          .changes({{"cache/ancient", nullptr}})
          .suffers("cache/ancient"),
      Scenario("ExpiryTimer", kCrowded, timer)
          .gives("1", "bad_alloc 0")
          .when(expiry)
          .changes({{"cache/ancient", nullptr}})
          .suffers("cache/ancient", {"*\n2"}),  // another's timer, which is here too
  };
}

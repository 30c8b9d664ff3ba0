#include <cstdlib>
#include <memory>

#include "cul/events/CUL_Dispatcher.h"
#include "tests/support/ThreadFronts.h"
#include "tests/sweep/Scenario.h"

// What is promised here is what DbgCache.h and DbgCacheUnix.h promise.
namespace {

using Promises = std::vector<Promise>;

constexpr char kHomely[] = "home/.vexcorlz", kOld[] = "cache/ancient";
constexpr char kTidies[] =
    "remove ** Removing files in cache directory ~/home/.vexcorlz/ older than 48 hours";
constexpr Promise kNoState = {"fstatat", "remove ERROR Cannot stat file %p in cache (errno = %e)"};
Promises const kStarting = {{"getpwuid_r*", nullptr, "|"},
                            {"stat", nullptr, "|", 1},  // of the home directory
                            {"stat", nullptr, "|", 3},  // the second look
                            {"stat"},
                            {"mkdir", nullptr, nullptr, 0, nullptr, EEXIST},  // look again
                            {"mkdir", nullptr, "|"},
                            {"opendir", "remove ERROR Cannot open directory ~/home/.vexcorlz/"},
                            {"@(+time|time:odd)", kTidies},
                            kNoState};
Promises const kExpiry = {
    {"@(+time|time:odd)",
     "remove ** Removing files in cache directory ~/cache/ older than 1 hours"},
    {"opendir", "remove ERROR Cannot open directory ~/cache/"},
    kNoState,
    {"+unlinkat", "remove ** File %p removed from cache"},
    {"unlinkat", "remove ERROR Cannot remove file %p from cache (errno = %e)"}};
Promises const kRemoving = {{"unlink", "remove VKT ::unlink failed - errno = %e"}};
Promises const kRemovingAll = {
    {"+unlink", "removeFile ** File %p removed from cache"},
    {"unlink", "removeFile ERROR errno = %e when removing file %p from cache"},
    {"opendir"}};
Promises const kReads = {{"fstat:odd"},
                         {"read*", "readFile VKT ::%c failed - errno = %e", "null"},
                         {"lseek:odd", "readFile VKT ::lseek failed - errno = 0", "null"},
                         {"@(open|fstat|lseek)", "readFile VKT ::%c failed - errno = %e", "null"}};
Promises storing(Promises const& more) {
  Promises all = {{"open", "addFile VKT ::open failed - errno = %e"},
                  {"write*", "addFile VKT ::write failed - errno = %e"},
                  {"close", nullptr, nullptr, 0, "write"},
                  {"close", "addFile VKT ::write failed - errno = %e"},
                  // Without memory to trace and arrange it with, a part goes silently.
                  {"?(+)unlink", nullptr, nullptr, 0, "new"}};
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

// The home directory is the one of the password database.
void start(Run& run) {
  static std::string home;
  home = run.world.path("home/");
  ::unsetenv("HOME");
  passwordHome = home.c_str();
  setParameter("");
  cacheSetting() = EncodedString();
  std::unique_ptr<TestCache> cache;
  run.attempt([&] { cache = std::make_unique<TestCache>(); });
  run << (cache == nullptr ? "none"
                           : bytesOf(cache->cacheDirectory) + "|" + bytesOf(cacheSetting()));
  cacheSetting() = EncodedString();
}

// The removal timer runs when it is due, and leaves the next one.
void timer(Run& run) {
  constexpr unsigned long kHalfAnHour = 1'800'000'000;
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

std::function<void(Run&)> on(void (*operate)(TestCache& cache)) {
  return [=](Run& run) { run.attempt([&] { operate(cacheOf(run.world)); }); };
}

void name(Run& run) {
  EncodedString name;
  run.attempt([&] { name = cacheOf(run.world).actualName(copyFile(), &copyDigest()); });
  run << bytesOf(name);
}

std::function<void(Run&)> reading(unsigned int offset, unsigned int size) {
  return [=](Run& run) {
    std::unique_ptr<ByteString> bytes;
    run.attempt(
        [&] { bytes.reset(cacheOf(run.world).readFile(copyFile(), &copyDigest(), offset, size)); });
    run << (bytes == nullptr ? "null" : bytesOf(*bytes));
  };
}

}  // namespace

TestCache& cacheOf(World const& world) {
  Watching const nobody(nullptr);
  static TestCache& cache = []() -> TestCache& {
    setParameter("/no/where/");
    return *new TestCache;
  }();
  EncodedString const directory = text(world.path("cache/"));
  if (cache.cacheDirectory != directory) cache.cacheDirectory = directory;  // in use, perhaps
  return cache;
}

FileName const& copyFile() {
  static FileName const& name = *new FileName(fileName("main.o"));
  return name;
}
MD5 const& copyDigest() {
  static MD5 const& digest = *new MD5("data", 4);
  return digest;
}

std::vector<Scenario> cacheScenarios() {
  auto const store = [](TestCache& cache) {
    cache.addFile(ByteString("data", 4), copyFile(), &copyDigest());
  };
  auto const storePlain = [](TestCache& cache) {
    cache.addFile(ByteString("data", 4), copyFile(), nullptr);
  };
  auto const remove = [](TestCache& cache) { cache.remove(copyFile(), &copyDigest()); };
  auto const removeAll = [](TestCache& cache) { cache.remove(copyFile(), nullptr); };
  auto const expire = [](TestCache& cache) { cache.remove(1U); };
  std::vector<char const*> const others = {"readFile VKT offset* failed - errno = *\nnull",
                                           "@(uts|tside|hei|eirs)"};
  constexpr unsigned int kAll = kCache | kCrowd;
  return {
      Scenario("Start", kHome, start, "~/home/.vexcorlz/|~/home/.vexcorlz/:48:noflush", "none",
               kStarting, kHomely, {"|"}, "/"),
      Scenario("Store", kAll, on(store), "", "", storing(kRemoving), kCopy, {}, "data"),
      Scenario("StoreWithoutDigest", kAll, on(storePlain), "", "", storing(kRemovingAll),
               "cache/main.o", {}, "data", kCopy),
      Scenario("ReadRange", kAll, reading(1, 3), "arl", "null", kReads, kCopy, others),
      Scenario("ReadToTheEnd", kAll, reading(2, DbgCache::kToTheEnd), "rlier", "null", kReads,
               kCopy, others),
      Scenario("Remove", kCache, on(remove), "", "", kRemoving, kCopy, {}, kGone),
      Scenario("RemoveEveryDigest", kCache, on(removeAll), "", "", kRemovingAll, kCopy, {}, kGone),
      Scenario("ActualName", kAll, name, "~/cache/main.o.8d777f385d3dfec8815d20f7496026dc", "",
               {{"stat", nullptr, ""}}, kCopy),
      Scenario("Expiry", kAll, on(expire), "", "", kExpiry, kOld, {}, kGone),
      // Another's timer may be here too.
      Scenario("ExpiryTimer", kAll, timer, "1", "0", kExpiry, kOld, {"*\n2"}, kGone),
  };
}

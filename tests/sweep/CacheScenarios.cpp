#include "cul/events/CUL_Dispatcher.h"
#include "tests/support/ThreadFronts.h"
#include "tests/sweep/Scenario.h"

// What is promised here is what DbgCache.h and DbgCacheUnix.h promise.
namespace {

std::string tidying(std::string const& directory, char const* hours) {
  return "?(+)time => remove ** Removing files in cache directory " + directory + " older than " +
         hours + " hours; opendir => remove ERROR Cannot open directory " + directory +
         "; fstatat => remove ERROR Cannot stat file %p in cache (errno = %e)"
         "; +unlinkat => remove ** File %p removed from cache"
         "; unlinkat => remove ERROR Cannot remove file %p from cache (errno = %e)";
}
constexpr char kRemoving[] = "unlink => remove VKT ::unlink failed - errno = %e";
constexpr char kRemovingAll[] =
    "+unlink => removeFile ** File %p removed from cache; opendir"
    "; unlink => removeFile ERROR errno = %e when removing file %p from cache";
// Without memory to trace and arrange it with, a part goes silently.
constexpr char kStoring[] =
    "open => addFile VKT ::open failed - errno = %e; new>?(+)unlink; write>close"
    "; @(write*|close) => addFile VKT ::write failed - errno = %e; ";

// The home directory is the one of the password database.
void start(Run& run) {
  static std::string home;
  passwordHome = (home = run.world.path("home/")).c_str();
  ::unsetenv("HOME");
  setParameter("");
  cacheSetting() = EncodedString();
  auto const cache = run.valueOf([] { return std::make_unique<TestCache>(); });
  run << (cache ? bytesOf(cache->cacheDirectory) + "|" + bytesOf(cacheSetting()) : "none");
  cacheSetting() = EncodedString();
}

// The removal timer runs when it is due, and leaves the next one.
void timer(Run& run) {
  constexpr unsigned long kHalfAnHour = 1'800'000'000;
  ThreadFronts::clock = kHalfAnHour;
  setParameter(run.world.path("cache:1"));
  auto& dispatcher = *CUL_Dispatcher::instance();
  TestCache const cache;  // has removed the old file, and posted its timer
  run.world.restore();
  ThreadFronts::clock += kHalfAnHour;
  run.attempt([&] { (dispatcher.*&Opened::_process_event)((dispatcher.*&Opened::_waitpop)()); });
  run << dispatcher.*&Opened::pending;
  ThreadFronts::clock = 0;
}

Scenario::Body on(void (*operate)(TestCache& cache)) {
  return [=](Run& run) { run.attempt([&] { operate(cacheOf(run.world)); }); };
}

void readOn(Run& run) {
  auto const bytes = run.valueOf([&] {
    TestCache& cache = cacheOf(run.world);
    return std::unique_ptr<ByteString>(
        cache.readFile(copyFile, &copyDigest, 2, DbgCache::kToTheEnd));
  });
  run << (bytes ? bytesOf(*bytes) : "null");
}

}  // namespace

TestCache& cacheOf(World const& world) {
  Watching const nobody(nullptr);
  static TestCache& cache = (setParameter("/no/where/"), *new TestCache);
  EncodedString const directory = text(world.path("cache/"));
  if (cache.cacheDirectory != directory) cache.cacheDirectory = directory;  // in use, perhaps
  return cache;
}

void store(TestCache& cache, char const* content, MD5 const* digest) {
  cache.addFile(ByteString(content, static_cast<unsigned int>(std::strlen(content))), copyFile,
                digest);
}

std::vector<Scenario> cacheScenarios() {
  static constexpr char kOld[] = "cache/ancient", kPlain[] = "cache/main.o";
  Files const copy = {{"cache", "/"}, {kCopy, "earlier"}};
  Files crowd = {
      {kOld, "ancient"}, {"cache/dangling", "@nowhere"}, {"cache/folder", "/"}, {kPlain, "plain"}};
  crowd.insert(copy.begin(), copy.end());
  return {
      // The first look is at the home directory, the third behind a mkdir that came second.
      scenario("Start", {{"home", "/"}}, start, "~/home/.vexcorlz/|~/home/.vexcorlz/:48:noflush",
               "new -> bad_alloc none; getpwuid_r* -> |; stat#1 -> |; stat#3 -> |"
               "; +stat#3 -> ~/home/.vexcorlz/|*; stat; mkdir -> |; " +
                   tidying("~/home/.vexcorlz/", "48"),
               {"home/.vexcorlz", "|", "/"}),
      scenario("Store", crowd, on([](auto& cache) { store(cache, "data", &copyDigest); }), "",
               std::string(kStoring) + kRemoving, {kCopy, "", "data"}),
      scenario("StoreWithoutDigest", crowd, on([](auto& cache) { store(cache, "data", nullptr); }),
               "", std::string(kStoring) + kRemovingAll, {kPlain, "", "data", kCopy}),
      scenario("Read", crowd, readOn, "rlier",
               "new -> bad_alloc null; "
               "@(open|fstat|lseek|read*) => readFile VKT ::%c failed - errno = %e -> null",
               {kCopy, "@(readFile VKT offset failed - errno = *\nnull|tside|eirs)"}),
      scenario("Remove", copy, on([](auto& cache) { cache.remove(copyFile, &copyDigest); }), "",
               kRemoving, {kCopy, "", kGone}),
      scenario("RemoveEveryDigest", copy, on([](auto& cache) { cache.remove(copyFile, nullptr); }),
               "", kRemovingAll, {kCopy, "", kGone}),
      scenario("Expiry", crowd, on([](auto& cache) { cache.remove(1U); }), "",
               tidying("~/cache/", "1"), {kOld, "", kGone}),
      // Another's timer may be here too.
      scenario("ExpiryTimer", crowd, timer, "1", "new -> bad_alloc 0; " + tidying("~/cache/", "1"),
               {kOld, "*\n2", kGone}),
  };
}

#include "cul/events/CUL_Dispatcher.h"
#include "tests/dbgcache/TestCache.h"
#include "tests/support/ThreadFronts.h"

namespace {

using testing::ElementsAre;

constexpr unsigned long kHalfAnHour = 1'800'000'000;

// Keeps with how many hours the timers have it remove.
struct WatchedCache : TestCache {
  using TestCache::remove;
  void remove(unsigned int hours) override {
    removals.push_back(hours);
    if (removals.size() == throwsAt) throw std::string("out of a removal");
    TestCache::remove(hours);
  }
  void remove(FileName const& name, MD5 const*) override { removed = name; }
  std::vector<unsigned int> removals;
  unsigned int throwsAt = 0;
  EncodedString removed;
};

class Cache : public testing::Test {
 protected:
  // A file with an access so many seconds ago and a modification just now.
  static void age(std::string const& path, long seconds) {
    timespec const times[] = {{frozenTime - seconds, 0}, {frozenTime, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }

  // Runs the process-wide dispatcher while the clock goes on by `steps` half hours.
  static void dispatch(int steps) {
    CUL_Dispatcher::instance()->block(1);  // the timers are on the level that is always served
    ThreadFronts::onWait = [&steps](unsigned long) {
      if (steps-- == 0) CUL_Dispatcher::instance()->destroy();
      ThreadFronts::clock += kHalfAnHour;
    };
    CUL_Dispatcher::instance()->dispatchLoop();
  }

  CacheScratch scratch;
  TestCache cache;
  FileName const file = fileName("main.o");
  MD5 const digest{"data", 4};
};

TEST_F(Cache, EveryFieldOfTheParameterMayBeMissing) {
  constexpr char const* kRows[][2] = {
      {"/var/tmp/dc", "/var/tmp/dc 5"},
      {"/var/tmp/dc:12:FLUSH", "/var/tmp/dc 12 flush"},
      {"/var/tmp/dc:12:flush:", "/var/tmp/dc 12"},
      {"/var/tmp/dc:0:flush", "/var/tmp/dc 5 flush"},
      {"/var/tmp/dc: 24h", "/var/tmp/dc 24"},  // blanks, digits, then anything
      {"::Flush", " 5 flush"},
      {"", "/elsewhere 3 flush"},  // the stored setting
  };
  for (auto const& [parameter, expected] : kRows) {
    setParameter(parameter);
    cacheSetting() = text("/elsewhere:3:flush");
    cache.expiryHours = 5;  // stays, where the text gives no hours
    bool flush = true;
    std::string found = bytesOf(cache.getCacheParameter(flush, ':'));
    found += " " + std::to_string(cache.expiryHours) + (flush ? " flush" : "");
    EXPECT_EQ(found, expected);
  }
}

TEST_F(Cache, IsInTheHomeDirectoryWhenNoneIsGiven) {
  std::string const home = scratch.path("a:b"), made = home + "/.vexcorlz/";
  std::filesystem::create_directory(home);
  auto const start = [](char const* variable, std::string const& password) {
    variable == nullptr ? ::unsetenv("HOME") : ::setenv("HOME", variable, 1);
    passwordHome = password.c_str();
    setParameter(":4294967295");
    return bytesOf(TestCache().cacheDirectory);
  };
  EXPECT_EQ(start("/no/where", home) + start(nullptr, ""), "");
  EXPECT_EQ(start(home.c_str(), "/no/where") + start((home + "/").c_str(), ""), made + made);
  EXPECT_EQ(start("", home) + start(nullptr, home), made + made);
  EXPECT_EQ(bytesOf(cacheSetting()), ":4294967295:noflush");  // the separator is in the directory
  std::filesystem::remove(made);
  scratch.write("a:b/.vexcorlz", "");
  EXPECT_EQ(start(home.c_str(), ""), "");
  EXPECT_TRUE(TestCache::dirExists("/") && !TestCache::dirExists("/dev/null"));
}

TEST_F(Cache, ItsSettingIsOneOfThirtyTwoAndItsParameterOneOfAFew) {
  auto const none = static_cast<DebuggerParameters::ParmType>(999);
  EXPECT_TRUE(DebuggerParameters::instance()->parm(none).isEmpty());
  EXPECT_THROW(DebuggerParameters::instance()->setParm(none, text("")), std::out_of_range);
  EXPECT_THROW(DebuggerSettings::instance()->setting(32), std::out_of_range);
}

TEST_F(Cache, ThatCannotBeUsedSaysSoInThreeWays) {
  cache.cacheDirectory.clear();
  EXPECT_TRUE(cache.actualName(file, nullptr).isEmpty() && !cache.readFile(file, nullptr, 0, 1));
  cache.remove(5U);
  TraceCapture capture({TraceFlag::detail, TraceFlag::error, TraceFlag::vkt, TraceFlag::warning});
  EXPECT_EQ(cache.readFile(file, nullptr, 0, 1), nullptr);
  cache.addFile(ByteString("x", 1), file, nullptr);
  cache.remove(file, nullptr);
  cache.remove(5U);
  EXPECT_TRUE(cache.actualName(file, nullptr).isEmpty());
  EXPECT_THAT(capture.lines(), ElementsAre("addFile VKT Invalid cache", "remove VKT Invalid cache",
                                           "remove ERROR Invalid cache directory",
                                           "actualName ERROR Invalid cache"));
}

TEST_F(Cache, ACopyIsNamedByShortNameAndDigestAndHoldsTheBytesAlone) {
  std::string const digestName = "main.o.8d777f385d3dfec8815d20f7496026dc";
  cache.addFile(ByteString("longer", 6), file, &digest);
  age(scratch.path(digestName), 1000000000);
  cache.addFile(ByteString("a\0\n\xFF", 4), fileName({"/usr/src/prog/main.o\0x", 22}), &digest);
  struct stat state;
  ASSERT_EQ(::stat(scratch.path(digestName).c_str(), &state), 0);
  EXPECT_GT(state.st_atime, 0);  // it is young again
  EXPECT_TRUE(cache.actualName(file, nullptr).isEmpty());
  cache.addFile(ByteString("", 0), fileName("d/a(b)"), nullptr);
  EXPECT_THAT(scratch.names(), ElementsAre("a(b)", digestName));
  EXPECT_EQ(scratch.read(digestName), std::string("a\0\n\xFF", 4));
  // On a full disk the incomplete is removed, by the virtual operation.
  WatchedCache watched;
  std::filesystem::remove(scratch.path(digestName));
  std::filesystem::create_symlink("/dev/full", scratch.path(digestName));
  watched.addFile(ByteString("data", 4), file, &digest);
  EXPECT_EQ(watched.removed, file);
}

TEST_F(Cache, ReadsRanges) {
  scratch.write("ten", "0123456789");
  ASSERT_EQ(::truncate(scratch.write("big", "").c_str(), (1L << 32) + 10), 0);
  auto const read = [&](char const* name, unsigned int offset, unsigned int size) {
    TraceCapture capture({TraceFlag::vkt});
    errno = 0;
    std::unique_ptr<ByteString> const bytes(cache.readFile(fileName(name), nullptr, offset, size));
    return bytes == nullptr ? capture.lines().at(0) : bytesOf(*bytes);
  };
  constexpr unsigned int kToTheEnd = 0xFFFFFFFF;
  EXPECT_EQ(read("ten", 9, 1) + read("ten", 1, 0) + read("ten", 4, kToTheEnd), "9456789");
  EXPECT_EQ(read("big", kToTheEnd, 11), std::string(11, '\0'));
  for (unsigned int offset : {10U, kToTheEnd}) {
    EXPECT_EQ(read("ten", offset, kToTheEnd), "readFile VKT offset failed - errno = 0");
  }
  std::string const both = "readFile VKT offset+size failed - errno = 0";
  EXPECT_TRUE(read("ten", 9, 2) == both && read("ten", 9, kToTheEnd - 1) == both);
  EXPECT_EQ(read("big", 10, kToTheEnd), both);  // one more than 32 bits count
}

TEST_F(Cache, APatternRemovalTakesEveryDigestAndNothingElse) {
  for (char const* name : {"main.o", "main.o.1", ".main.o.x", "xmain.o.1", "main_o.1", "x"}) {
    scratch.write(name, "");
  }
  std::filesystem::create_directory(scratch.path("main.o.d"));
  cache.remove(fileName("/usr/src/main.o"), nullptr);  // no entry has a "/"
  EXPECT_EQ(scratch.names().size(), 7U);
  cache.remove(fileName("main\\.o"), nullptr);
  EXPECT_EQ(scratch.names().size(), 6U);
  cache.remove(fileName({"[.x]*\0z", 7}), nullptr);  // a leading "." is like others
  EXPECT_THAT(scratch.names(), ElementsAre("main.o", "main.o.d", "main_o.1", "x"));
}

TEST_F(Cache, TheLimitOfTheAgeWrapsAndALinkIsAsOldAsWhatItLeadsTo) {
  frozenTime = 2000000000;
  for (auto [name, seconds] : {std::pair{"future", -5}, {"stays", 1904}, {"goes", 1905}}) {
    age(scratch.write(name, ""), seconds);
  }
  std::filesystem::create_symlink("stays", scratch.path("link"));
  std::filesystem::create_symlink("nowhere", scratch.path("dangling"));
  cache.remove(1193047U);
  EXPECT_THAT(scratch.names(), ElementsAre("dangling", "future", "link", "stays"));
}

TEST_F(Cache, RemovesAtTheStartByAllHoursOrAllAndThenBySixteenBitsOfTheHours) {
  frozenTime = 2000000000;
  ThreadFronts::clock = kHalfAnHour;
  constexpr int kHour = 3600;
  for (auto [name, seconds] :
       {std::pair{"older", 65584 * kHour + 1}, {"middle", 48 * kHour + 1}, {"young", 48 * kHour}}) {
    age(scratch.write(name, ""), seconds);
  }
  setParameter(scratch.path() + ":65584");
  WatchedCache watched;
  EXPECT_EQ(bytesOf(cacheSetting()), scratch.path() + "/:65584:noflush");
  EXPECT_THAT(scratch.names(), ElementsAre("middle", "young"));
  CacheScratch const other;
  age(other.write("file", ""), 1);
  setParameter(other.path() + ":24:flush");
  TraceCapture capture({TraceFlag::detail});
  WatchedCache flushed;
  EXPECT_EQ(capture.lines().at(0), "remove ** Clearing cache directory " + other.path() + "/");
  EXPECT_EQ(bytesOf(cacheSetting()), other.path() + "/:24:flush");
  EXPECT_TRUE(other.names().empty());
  watched.throwsAt = 1;
  EXPECT_THROW(dispatch(2), std::string);
  dispatch(3);  // goes on behind a failure, and ends with the dispatcher
  EXPECT_THAT(scratch.names(), ElementsAre("young"));
  EXPECT_THAT(watched.removals, ElementsAre(48U, 48U));
  EXPECT_THAT(flushed.removals, ElementsAre(24U, 24U));
  WatchedCache const late;  // has nobody to give its timer to
}

}  // namespace

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>

#include "tests/dbgcache/TestCache.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/TraceCapture.h"

namespace {

// What a parameter says, read as the run's own, which wins, and as the stored setting.
std::string parsed(std::string const& parameter) {
  std::string results[2];
  for (bool stored : {false, true}) {
    setParameter("/nowhere:5");  // stays, where the text gives no hours
    TestCache cache;
    setParameter(stored ? "" : parameter);
    cacheSetting() = text(stored ? parameter : "/elsewhere:3:flush");
    bool flush = true;
    std::string const directory = bytesOf(cache.getCacheParameter(flush, ':'));
    results[stored] = directory + " " + std::to_string(cache.expiryHours) + (flush ? " flush" : "");
  }
  EXPECT_EQ(results[0], results[1]);
  return results[0];
}

TEST(CacheParameter, EveryFieldMayBeMissing) {
  EXPECT_EQ(parsed("/var/tmp/dc"), "/var/tmp/dc 5");
  EXPECT_EQ(parsed("/var/tmp/dc:12"), "/var/tmp/dc 12");
  EXPECT_EQ(parsed("/var/tmp/dc:12:FLUSH"), "/var/tmp/dc 12 flush");
  EXPECT_EQ(parsed("/var/tmp/dc:12:noflush"), "/var/tmp/dc 12");
  EXPECT_EQ(parsed("/var/tmp/dc:12:flush:"), "/var/tmp/dc 12");
  EXPECT_EQ(parsed("/var/tmp/dc::Flush"), "/var/tmp/dc 5 flush");
  EXPECT_EQ(parsed("/var/tmp/dc:0"), "/var/tmp/dc 5");
  EXPECT_EQ(parsed("/var/tmp/dc:abc"), "/var/tmp/dc 5");
  EXPECT_EQ(parsed("/var/tmp/dc: 24h"), "/var/tmp/dc 24");  // blanks, digits, then anything
  EXPECT_EQ(parsed("/var/tmp/dc:-1"), "/var/tmp/dc 4294967295");
  EXPECT_EQ(parsed("/var/tmp/dc:"), "/var/tmp/dc 5");
  EXPECT_EQ(parsed(":6"), " 6");
}

TEST(CacheParameter, WhatIsWrittenBackReadsBackTheSame) {
  Scratch const scratch;
  std::filesystem::create_directory(scratch.path("a:b"));
  ::setenv("HOME", scratch.path("a:b").c_str(), 1);
  struct Row {
    char const *parameter, *setting;
  };
  constexpr Row kRows[] = {
      {"/nowhere/dc", "/nowhere/dc/:48:noflush"},
      {"no/where/:7:FLUSH", "no/where/:7:flush"},
      {":4294967295", ":4294967295:noflush"},  // the default here has the separator in it
  };
  for (auto const& row : kRows) {
    setParameter(row.parameter);
    TestCache const first;
    EXPECT_EQ(bytesOf(cacheSetting()), row.setting);
    setParameter("");
    TestCache const second;
    EXPECT_FALSE(second.cacheDirectory.isEmpty());
    EXPECT_EQ(second.cacheDirectory, first.cacheDirectory);
    EXPECT_EQ(second.expiryHours, first.expiryHours);
    EXPECT_EQ(bytesOf(cacheSetting()), row.setting);
  }
}

TEST(CacheStart, TheHomeDirectory) {
  Scratch const scratch;
  std::string const file = scratch.write("file", ""), good = scratch.path("home");
  std::string const slash = good + "/", made = slash + ".vexcorlz/";
  std::filesystem::create_directory(good);
  setParameter("");
  auto const start = [](char const* home, char const* password) {
    ::unsetenv("HOME");
    if (home != nullptr) ::setenv("HOME", home, 1);
    passwordHome = password;
    cacheSetting().clear();
    std::string const directory = bytesOf(TestCache().cacheDirectory);
    EXPECT_EQ(cacheSetting().isEmpty(), directory.empty());
    return directory;
  };
  EXPECT_EQ(start(good.c_str(), "/nowhere"), made);
  EXPECT_EQ(start(slash.c_str(), nullptr), made);
  EXPECT_EQ(start("", good.c_str()), made);
  EXPECT_EQ(start(nullptr, good.c_str()), made);
  EXPECT_EQ(start(file.c_str(), good.c_str()), "");
  EXPECT_EQ(start("/no/where", good.c_str()), "");
  EXPECT_EQ(start(nullptr, "/no/where") + start(nullptr, ""), "");
  EXPECT_EQ(std::filesystem::status(made).permissions(), std::filesystem::perms::owner_all);
  std::filesystem::create_directory_symlink(good, scratch.path("link"));
  EXPECT_TRUE(DbgCacheUnix::dirExists(scratch.path("link").c_str()));
  EXPECT_EQ(inChild([&] {  // the real user counts, and the password database does not know it
              return ::setresuid(54321, 0, 0) != 0 || start(nullptr, good.c_str()).empty();
            }),
            1);
}

TEST(CacheStart, TwoFirstStartsAtOnceAndAFileInTheWay) {
  Scratch const scratch;
  ::setenv("HOME", scratch.path().c_str(), 1);
  setParameter("");
  {
    FaultPlan const plan({"mkdir"}, 1, EEXIST, FaultPlan::kFailsAfter);  // the other was faster
    EXPECT_EQ(bytesOf(TestCache().cacheDirectory), scratch.path(".vexcorlz/"));
    EXPECT_TRUE(plan.fired());
  }
  std::filesystem::remove(scratch.path(".vexcorlz"));
  cacheSetting().clear();
  scratch.write(".vexcorlz", "");
  EXPECT_TRUE(TestCache().cacheDirectory.isEmpty());
}

TEST(CacheStart, AnUnusableCacheSaysSoInThreeWays) {
  ::setenv("HOME", "/no/where", 1);
  setParameter("");
  TraceCapture capture({TraceFlag::detail, TraceFlag::error, TraceFlag::vkt, TraceFlag::warning});
  DbgCache& cache = *DbgCache::instance();
  EXPECT_EQ(&cache, DbgCache::instance());
  MD5 const digest;
  FileName const file = fileName("main.o");
  EXPECT_EQ(cache.readFile(file, &digest, 0, 1), nullptr);
  cache.addFile(content("x"), file, &digest);
  cache.remove(file, nullptr);
  cache.remove(5U);
  EXPECT_TRUE(cache.actualName(file, &digest).isEmpty());
  EXPECT_THAT(capture.lines(),
              testing::ElementsAre("addFile VKT Invalid cache", "remove VKT Invalid cache",
                                   "remove ERROR Invalid cache directory",
                                   "actualName ERROR Invalid cache"));
}

}  // namespace

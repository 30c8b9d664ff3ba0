#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>

#include "tests/dbgcache/TestCache.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/TraceCapture.h"

namespace {

TEST(CacheParameter, EveryFieldMayBeMissing) {
  struct Row {
    int line;
    char const* parameter;
    char const* directory;
    unsigned int hours;
    bool flush;
  };
  constexpr Row kRows[] = {
      {__LINE__, "/var/tmp/dc", "/var/tmp/dc", 48, false},
      {__LINE__, "/var/tmp/dc:12", "/var/tmp/dc", 12, false},
      {__LINE__, "/var/tmp/dc:12:FLUSH", "/var/tmp/dc", 12, true},
      {__LINE__, "/var/tmp/dc:12:noflush", "/var/tmp/dc", 12, false},
      {__LINE__, "/var/tmp/dc:12:flushed", "/var/tmp/dc", 12, false},
      {__LINE__, "/var/tmp/dc:12:flush:", "/var/tmp/dc", 12, false},
      {__LINE__, "/var/tmp/dc::Flush", "/var/tmp/dc", 48, true},
      {__LINE__, "/var/tmp/dc:0", "/var/tmp/dc", 48, false},
      {__LINE__, "/var/tmp/dc:abc", "/var/tmp/dc", 48, false},
      {__LINE__, "/var/tmp/dc:24h", "/var/tmp/dc", 24, false},  // digits, then anything
      {__LINE__, "/var/tmp/dc: 7", "/var/tmp/dc", 7, false},
      {__LINE__, "/var/tmp/dc:-1", "/var/tmp/dc", 4294967295, false},
      {__LINE__, "/var/tmp/dc:", "/var/tmp/dc", 48, false},
      {__LINE__, ":6", "", 6, false},
      {__LINE__, "::flush", "", 48, true},
  };
  for (auto const& row : kRows) {
    SCOPED_TRACE(row.line);
    // As the run's own parameter, which wins, and as the stored setting.
    for (bool stored : {false, true}) {
      setParameter("/nowhere");
      TestCache cache;
      setParameter(stored ? "" : row.parameter);
      cacheSetting() = text(stored ? row.parameter : "/elsewhere:3:flush");
      bool flush = !row.flush;
      EXPECT_EQ(bytesOf(cache.getCacheParameter(flush, ':')), row.directory);
      EXPECT_EQ(cache.expiryHours, row.hours);
      EXPECT_EQ(flush, row.flush);
    }
  }
}

TEST(CacheParameter, WhatIsWrittenBackReadsBackTheSame) {
  struct Row {
    char const *parameter, *setting;
  };
  constexpr Row kRows[] = {
      {"/nowhere/dc", "/nowhere/dc/:48:noflush"},
      {"relative/:7:FLUSH", "relative/:7:flush"},
      {"/:4294967295", "/:4294967295:noflush"},
  };
  for (auto const& row : kRows) {
    setParameter(row.parameter);
    TestCache const first;
    EXPECT_EQ(bytesOf(cacheSetting()), row.setting);
    setParameter("");
    TestCache const second;
    EXPECT_EQ(second.cacheDirectory, first.cacheDirectory);
    EXPECT_EQ(second.expiryHours, first.expiryHours);
    EXPECT_EQ(bytesOf(cacheSetting()), row.setting);
  }
}

TEST(CacheStart, ADefaultDirectoryWithTheSeparatorInItIsNotWrittenBack) {
  Scratch const scratch;
  std::filesystem::create_directory(scratch.path("a:b"));
  ::setenv("HOME", scratch.path("a:b").c_str(), 1);
  setParameter("");
  TestCache const cache;
  EXPECT_EQ(bytesOf(cacheSetting()), ":48:noflush");
  TestCache const next;
  EXPECT_EQ(bytesOf(next.cacheDirectory), scratch.path("a:b/.vexcorlz/"));
}

TEST(CacheStart, TheHomeDirectory) {
  Scratch const scratch;
  std::string const good = scratch.path("home");
  std::filesystem::create_directory(good);
  scratch.write("file", "");
  struct Row {
    int line;
    char const* home;
    char const* password;
    std::string directory;
  };
  std::string const file = scratch.path("file"), slash = good + "/", made = good + "/.vexcorlz/";
  Row const rows[] = {
      {__LINE__, good.c_str(), "/nowhere", made}, {__LINE__, slash.c_str(), nullptr, made},
      {__LINE__, "", good.c_str(), made},         {__LINE__, nullptr, good.c_str(), made},
      {__LINE__, file.c_str(), good.c_str(), ""}, {__LINE__, "/no/where", good.c_str(), ""},
      {__LINE__, nullptr, "/no/where", ""},       {__LINE__, nullptr, "", ""},
  };
  setParameter("");
  for (auto const& row : rows) {
    SCOPED_TRACE(row.line);
    ::unsetenv("HOME");
    if (row.home != nullptr) ::setenv("HOME", row.home, 1);
    passwordHome = row.password;
    cacheSetting().clear();
    TraceCapture capture({TraceFlag::error, TraceFlag::vkt, TraceFlag::warning});
    TestCache const cache;
    EXPECT_EQ(bytesOf(cache.cacheDirectory), row.directory);
    EXPECT_EQ(cacheSetting().isEmpty(), row.directory.empty());
    EXPECT_THAT(capture.lines(), testing::IsEmpty());
  }
  auto const mode = std::filesystem::status(made).permissions();
  EXPECT_EQ(mode, std::filesystem::perms::owner_all);
}

TEST(CacheStart, TwoFirstStartsAtOnceAndAFileInTheWay) {
  Scratch const scratch;
  ::setenv("HOME", scratch.path().c_str(), 1);
  setParameter("");
  {
    FaultPlan const plan({"mkdir"}, 1, EEXIST, FaultPlan::kFailsAfter);  // the other was faster
    TestCache const cache;
    EXPECT_TRUE(plan.fired());
    EXPECT_EQ(bytesOf(cache.cacheDirectory), scratch.path(".vexcorlz/"));
  }
  std::filesystem::remove(scratch.path(".vexcorlz"));
  cacheSetting().clear();
  {
    FaultPlan const plan({"mkdir"}, 1, EACCES);
    EXPECT_TRUE(TestCache().cacheDirectory.isEmpty());
  }
  scratch.write(".vexcorlz", "");
  EXPECT_TRUE(TestCache().cacheDirectory.isEmpty());
}

TEST(CacheStart, AnUnusableCacheSaysSoInThreeWays) {
  ::setenv("HOME", "/no/where", 1);
  setParameter("");
  DbgCache& cache = *DbgCache::instance();
  EXPECT_EQ(&cache, DbgCache::instance());
  TraceCapture capture({TraceFlag::detail, TraceFlag::error, TraceFlag::vkt});
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

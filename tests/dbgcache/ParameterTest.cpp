#include <cstdlib>

#include "tests/dbgcache/TestCache.h"

namespace {

// What a parameter of this run says, whatever the stored setting does.
std::string parsed(std::string const& parameter) {
  setParameter("/nowhere:5");  // stays, where the text gives no hours
  TestCache cache;
  setParameter(parameter);
  cacheSetting() = text("/elsewhere:3:flush");
  bool flush = true;
  std::string const directory = bytesOf(cache.getCacheParameter(flush, ':'));
  return directory + " " + std::to_string(cache.expiryHours) + (flush ? " flush" : "");
}

TEST(CacheParameter, EveryFieldMayBeMissing) {
  EXPECT_EQ(parsed("/var/tmp/dc"), "/var/tmp/dc 5");
  EXPECT_EQ(parsed("/var/tmp/dc:12:FLUSH"), "/var/tmp/dc 12 flush");
  EXPECT_EQ(parsed("/var/tmp/dc:12:flush:"), "/var/tmp/dc 12");
  EXPECT_EQ(parsed("/var/tmp/dc:flush"), "/var/tmp/dc 5");
  EXPECT_EQ(parsed("/var/tmp/dc:0"), "/var/tmp/dc 5");
  EXPECT_EQ(parsed("/var/tmp/dc: 24h"), "/var/tmp/dc 24");  // blanks, digits, then anything
  EXPECT_EQ(parsed("/var/tmp/dc:-1"), "/var/tmp/dc 4294967295");
  EXPECT_EQ(parsed("::Flush"), " 5 flush");
}

TEST(CacheParameter, WhatIsWrittenBackReadsBackTheSame) {
  setParameter("no/where/");
  EXPECT_EQ(TestCache().expiryHours, 48U);
  EXPECT_EQ(bytesOf(cacheSetting()), "no/where/:48:noflush");
  Scratch const scratch;
  std::filesystem::create_directory(scratch.path("a:b"));  // the separator in the default
  ::setenv("HOME", scratch.path("a:b").c_str(), 1);
  for (char const* parameter : {":4294967295", ""}) {
    setParameter(parameter);
    EXPECT_EQ(bytesOf(TestCache().cacheDirectory), scratch.path("a:b/.vexcorlz/"));
    EXPECT_EQ(bytesOf(cacheSetting()), ":4294967295:noflush");
  }
}

TEST(CacheStart, TheHomeDirectory) {
  Scratch const scratch;
  std::string const good = scratch.path("home"), slash = good + "/", made = slash + ".vexcorlz/";
  std::filesystem::create_directory(good);
  setParameter("");
  auto const start = [](char const* home, char const* password) {
    home == nullptr ? ::unsetenv("HOME") : ::setenv("HOME", home, 1);
    passwordHome = password;
    cacheSetting().clear();
    return bytesOf(TestCache().cacheDirectory);
  };
  EXPECT_EQ(start(good.c_str(), "/nowhere"), made);
  EXPECT_EQ(start(slash.c_str(), nullptr), made);
  EXPECT_EQ(start("", good.c_str()), made);
  EXPECT_EQ(start(nullptr, good.c_str()), made);
  EXPECT_EQ(start("/no/where", good.c_str()), "");
  EXPECT_EQ(start(nullptr, ""), "");
  EXPECT_EQ(std::filesystem::status(made).permissions(), std::filesystem::perms::owner_all);
  EXPECT_EQ(inChild([&] {  // the real user counts, and the password database does not know it
              return ::setresuid(54321, 0, 0) != 0 || start(nullptr, good.c_str()).empty();
            }),
            1);
  std::filesystem::create_directory_symlink(good, scratch.path("link"));
  EXPECT_EQ(start(scratch.path("link").c_str(), nullptr), scratch.path("link/.vexcorlz/"));
  std::filesystem::remove(made);
  EXPECT_FALSE(DbgCacheUnix::dirExists(scratch.write("home/.vexcorlz", "").c_str()));
  EXPECT_EQ(start(good.c_str(), nullptr), "");
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
  cache.addFile(ByteString("x", 1), file, &digest);
  cache.remove(file, nullptr);
  cache.remove(5U);
  EXPECT_TRUE(cache.actualName(file, &digest).isEmpty());
  EXPECT_THAT(capture.lines(),
              testing::ElementsAre("addFile VKT Invalid cache", "remove VKT Invalid cache",
                                   "remove ERROR Invalid cache directory",
                                   "actualName ERROR Invalid cache"));
}

}  // namespace

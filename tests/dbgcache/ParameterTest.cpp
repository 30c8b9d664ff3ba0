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
  constexpr char const* kRows[][2] = {
      {"/var/tmp/dc", "/var/tmp/dc 5"},
      {"/var/tmp/dc:12:FLUSH", "/var/tmp/dc 12 flush"},
      {"/var/tmp/dc:12:flush:", "/var/tmp/dc 12"},
      {"/var/tmp/dc:flush", "/var/tmp/dc 5"},
      {"/var/tmp/dc:0", "/var/tmp/dc 5"},
      {"/var/tmp/dc: 24h", "/var/tmp/dc 24"},  // blanks, digits, then anything
      {"/var/tmp/dc:-1", "/var/tmp/dc 4294967295"},
      {"::Flush", " 5 flush"},
  };
  for (auto const& [parameter, expected] : kRows) EXPECT_EQ(parsed(parameter), expected);
}

TEST(CacheParameter, ADefaultWithTheSeparatorInItIsNotWrittenBack) {
  Scratch const scratch;
  std::filesystem::create_directory(scratch.path("a:b"));
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
  std::string const link = scratch.path("link");
  std::filesystem::create_directory(good);
  std::filesystem::create_directory_symlink(good, link);
  setParameter("");
  auto const start = [](char const* home, char const* password) {
    home == nullptr ? ::unsetenv("HOME") : ::setenv("HOME", home, 1);
    passwordHome = password;
    cacheSetting().clear();
    return bytesOf(TestCache().cacheDirectory);
  };
  std::string const rows[][3] = {{good, "/nowhere", made},
                                 {slash, "", made},
                                 {"", good, made},
                                 {"/no/where", good, ""},
                                 {link, "", link + "/.vexcorlz/"}};
  for (auto const& [home, password, directory] : rows) {
    EXPECT_EQ(start(home.c_str(), password.c_str()), directory) << home;
  }
  EXPECT_EQ(start(nullptr, good.c_str()), made);
  EXPECT_EQ(start(nullptr, ""), "");
  EXPECT_EQ(std::filesystem::status(made).permissions(), std::filesystem::perms::owner_all);
  EXPECT_EQ(inChild([&] {  // the real user counts, and the password database does not know it
              return ::setresuid(54321, 0, 0) != 0 || start(nullptr, good.c_str()).empty();
            }),
            1);
  std::filesystem::remove(made);
  scratch.write("home/.vexcorlz", "");
  EXPECT_EQ(start(good.c_str(), nullptr), "");
}

TEST(CacheStart, AnUnusableCacheSaysSoInThreeWays) {
  ::setenv("HOME", "/no/where", 1);
  setParameter("");
  TraceCapture capture({TraceFlag::detail, TraceFlag::error, TraceFlag::vkt, TraceFlag::warning});
  DbgCache& cache = *DbgCache::instance();
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

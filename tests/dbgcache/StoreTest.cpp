#include <cerrno>

#include "tests/dbgcache/TestCache.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class Store : public testing::Test {
 protected:
  void add(std::string const& bytes, FileName const& name, MD5 const* with) {
    cache.addFile(ByteString(bytes.data(), static_cast<unsigned int>(bytes.size())), name, with);
  }

  CacheScratch scratch;
  TestCache cache;
  FileName const file = fileName("main.o");
  MD5 const digest{"data", 4};
  std::string const digestName = "main.o.8d777f385d3dfec8815d20f7496026dc";
};

TEST_F(Store, ACopyIsNamedByShortNameAndDigestAndHoldsTheBytesAlone) {
  FileName const longName = fileName(std::string("/usr/src/prog/main.o\0x", 22));
  add("something longer that was there before", longName, &digest);
  timespec const old[] = {{1, 0}, {1, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, scratch.path(digestName).c_str(), old, 0), 0);
  add(std::string("a\0\n\xFF", 4), longName, &digest);
  add("", fileName("d/a(b)"), nullptr);
  EXPECT_THAT(scratch.names(), ElementsAre("a(b)", digestName));
  EXPECT_EQ(scratch.read(digestName), std::string("a\0\n\xFF", 4));
  struct stat state;
  ASSERT_EQ(::stat(scratch.path(digestName).c_str(), &state), 0);
  EXPECT_EQ(state.st_mode, S_IFREG | 0600U);
  EXPECT_GT(state.st_atime, 1);  // it is young again
  EXPECT_EQ(bytesOf(cache.actualName(file, &digest)), scratch.path(digestName));
  std::filesystem::create_symlink("nowhere", scratch.path("other"));
  EXPECT_TRUE(cache.actualName(fileName("other"), nullptr).isEmpty());
}

TEST_F(Store, ReadsRanges) {
  scratch.write("ten", "0123456789");
  scratch.write("empty", "");
  ASSERT_EQ(::truncate(scratch.write("big", "").c_str(), (1L << 32) + 10), 0);
  std::string const offset = "readFile VKT offset failed - errno = 0";
  std::string const offsetAndSize = "readFile VKT offset+size failed - errno = 0";
  struct Row {
    char const* name;
    unsigned int offset, size;
    std::string outcome;
  } const rows[] = {
      {"ten", 9, 1, "9"},
      {"ten", 4, 0xFFFFFFFF, "456789"},
      {"ten", 1, 0, ""},
      {"ten", 10, 0, offset},
      {"ten", 0xFFFFFFFF, 0xFFFFFFFF, offset},
      {"ten", 9, 2, offsetAndSize},
      {"ten", 9, 0xFFFFFFFE, offsetAndSize},  // wraps to 7 in 32 bits
      {"empty", 0, 0, offset},
      {"big", 0xFFFFFFFF, 11, std::string(11, '\0')},
      {"big", 0xFFFFFFFF, 12, offsetAndSize},
      {"big", 10, 0xFFFFFFFF, offsetAndSize},  // one more than 32 bits count
  };
  for (auto const& row : rows) {
    TraceCapture capture({TraceFlag::vkt});
    errno = 0;
    std::unique_ptr<ByteString> const bytes(
        cache.readFile(fileName(row.name), nullptr, row.offset, row.size));
    EXPECT_EQ(bytes == nullptr ? capture.lines().at(0) : bytesOf(*bytes), row.outcome);
  }
}

TEST_F(Store, APatternRemovalTakesEveryDigestAndNothingElse) {
  for (char const* name : {"main.o", ".main.o.x", "xmain.o.1", "main_o.1"}) {
    scratch.write(name, "");
  }
  add("data", file, &digest);
  std::filesystem::create_directory(scratch.path("main.o.d"));
  TraceCapture capture({TraceFlag::detail, TraceFlag::error, TraceFlag::vkt});
  cache.remove(fileName("/usr/src/main.o"), nullptr);  // no entry has a "/"
  EXPECT_THAT(capture.lines(), IsEmpty());
  cache.remove(fileName("main\\.o"), nullptr);
  EXPECT_THAT(
      capture.lines(),
      UnorderedElementsAre("removeFile ** File " + scratch.path(digestName) + " removed from cache",
                           "removeFile ERROR errno = 21 when removing file " +
                               scratch.path("main.o.d") + " from cache"));
  cache.remove(fileName(std::string("[.x]*\0z", 7)), nullptr);  // a leading "." is like others
  EXPECT_THAT(scratch.names(), ElementsAre("main.o", "main.o.d", "main_o.1"));
}

struct Overriding : TestCache {
  using DbgCacheUnix::remove;
  void remove(FileName const& name, MD5 const*) override { removed = name; }
  EncodedString removed;
};

TEST_F(Store, OnAFullDiskTheIncompleteIsRemovedByTheVirtualOperation) {
  Overriding overriding;
  std::filesystem::create_symlink("/dev/full", scratch.path(digestName));
  overriding.addFile(ByteString("data", 4), file, &digest);
  EXPECT_EQ(overriding.removed, file);
}

}  // namespace

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
  // The bytes read, or "(null)".
  std::string read(FileName const& name, MD5 const* with, unsigned int offset = 0,
                   unsigned int size = DbgCache::kToTheEnd) {
    std::unique_ptr<ByteString> const bytes(cache.readFile(name, with, offset, size));
    return bytes == nullptr ? "(null)" : bytesOf(*bytes);
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
  auto const outcome = [&](char const* name, unsigned int offset, unsigned int size) {
    TraceCapture capture({TraceFlag::vkt});
    errno = 0;
    std::string const bytes = read(fileName(name), nullptr, offset, size);
    return bytes == "(null)" ? capture.lines().at(0) : bytes;
  };
  std::string const offset = "readFile VKT offset failed - errno = 0";
  std::string const offsetAndSize = "readFile VKT offset+size failed - errno = 0";
  EXPECT_EQ(outcome("ten", 9, 1), "9");
  EXPECT_EQ(outcome("ten", 4, 0xFFFFFFFF), "456789");
  EXPECT_EQ(outcome("ten", 1, 0), "");
  EXPECT_EQ(outcome("ten", 10, 0), offset);
  EXPECT_EQ(outcome("ten", 0xFFFFFFFF, 0xFFFFFFFF), offset);
  EXPECT_EQ(outcome("ten", 9, 2), offsetAndSize);
  EXPECT_EQ(outcome("ten", 9, 0xFFFFFFFE), offsetAndSize);  // wraps to 7 in 32 bits
  EXPECT_EQ(outcome("empty", 0, 0), offset);
  EXPECT_EQ(outcome("big", 0xFFFFFFFF, 11), std::string(11, '\0'));
  EXPECT_EQ(outcome("big", 0xFFFFFFFF, 12), offsetAndSize);
  EXPECT_EQ(outcome("big", 10, 0xFFFFFFFF), offsetAndSize);  // one more than 32 bits count
}

TEST_F(Store, NothingButAFileIsReadOrWrittenAndNothingBlocks) {
  ASSERT_EQ(::mkfifo(scratch.path("fifo").c_str(), 0600), 0);
  std::filesystem::create_directory(scratch.path("dir"));
  TraceCapture capture({TraceFlag::vkt});
  errno = 0;
  for (char const* name : {"fifo", "dir", "/no/where"}) {
    EXPECT_EQ(read(fileName(name), nullptr, 0, 1), "(null)");
    add("", fileName(name), nullptr);
  }
  cache.remove(file, &digest);
  EXPECT_THAT(capture.lines(), ElementsAre("readFile VKT offset failed - errno = 0",
                                           "addFile VKT ::open failed - errno = 6",
                                           "readFile VKT ::read failed - errno = 21",
                                           "addFile VKT ::open failed - errno = 21",
                                           "readFile VKT ::open failed - errno = 2",
                                           "remove VKT ::unlink failed - errno = 2"));
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
  add("data", file, &digest);
  capture.lines();
  cache.remove(file, &digest);  // which is no news
  EXPECT_THAT(capture.lines(), IsEmpty());
}

struct Overriding : TestCache {
  using DbgCacheUnix::remove;
  void remove(FileName const& name, MD5 const*) override { removed = name; }
  EncodedString removed;
};

TEST_F(Store, OnAFullDiskTheIncompleteIsRemovedByTheVirtualOperation) {
  Overriding overriding;
  TraceCapture capture({TraceFlag::vkt});
  std::filesystem::create_symlink("/dev/full", scratch.path(digestName));
  overriding.addFile(ByteString("data", 4), file, &digest);
  EXPECT_EQ(overriding.removed, file);
  EXPECT_THAT(capture.lines(), ElementsAre("addFile VKT ::write failed - errno = 28"));
}

}  // namespace

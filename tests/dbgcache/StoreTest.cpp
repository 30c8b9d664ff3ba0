#include <gmock/gmock.h>
#include <sys/resource.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <thread>
#include <vector>

#include "tests/dbgcache/TestCache.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/TraceCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class Store : public testing::Test {
 protected:
  Store() {
    setParameter(scratch.path());
    cache = std::make_unique<TestCache>();
  }

  static std::string nameOf(FileName const& file, MD5 const* digest) {
    return bytesOf(DbgCache::makeFileName(file, digest));
  }

  Scratch scratch;
  std::unique_ptr<TestCache> cache;
  FileName const file = fileName("main.o");
  MD5 const digest{"data", 4};
  std::string const digestName = "main.o.8d777f385d3dfec8815d20f7496026dc";
};

TEST_F(Store, ACopyIsNamedByShortNameAndDigestAndHoldsTheBytesAlone) {
  std::string const bytes("a\0\n\xFF", 4);
  FileName const longName = fileName("/usr/src/prog/main.o");
  cache->addFile(content("something longer that was there before"), longName, &digest);
  cache->addFile(content(bytes), longName, &digest);
  cache->addFile(content(""), longName, nullptr);
  EXPECT_THAT(scratch.names(), ElementsAre("main.o", digestName));
  EXPECT_EQ(scratch.read(digestName), bytes);
  EXPECT_EQ(std::filesystem::status(scratch.path(digestName)).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_EQ(bytesOf(cache->actualName(file, &digest)), scratch.path(digestName));
  EXPECT_TRUE(cache->actualName(fileName("other"), &digest).isEmpty());
  std::filesystem::create_directory(scratch.path("other"));
  EXPECT_EQ(bytesOf(cache->actualName(fileName("other"), nullptr)), scratch.path("other"));
}

TEST_F(Store, AGoodStoreIsYoungAndKeepsItsModificationTime) {
  cache->addFile(content("data"), file, &digest);
  timespec const old[] = {{1, 0}, {1, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, scratch.path(digestName).c_str(), old, 0), 0);
  FaultPlan const plan({"futimens"}, 2, EPERM);  // the second one fails, silently
  TraceCapture capture({TraceFlag::vkt, TraceFlag::error});
  cache->addFile(content("data"), file, &digest);
  struct stat state;
  ASSERT_EQ(::stat(scratch.path(digestName).c_str(), &state), 0);
  EXPECT_GT(state.st_atime, 1);
  EXPECT_GT(state.st_mtime, 1);
  cache->addFile(content("more"), file, &digest);
  EXPECT_TRUE(plan.fired());
  EXPECT_EQ(cache->read(file, &digest), "more");
  EXPECT_THAT(capture.lines(), IsEmpty());
}

TEST_F(Store, ReadsRanges) {
  std::string bytes(100, '\0');
  for (unsigned int i = 0; i < 100; ++i) bytes[i] = static_cast<char>(i * 7);
  cache->addFile(content(bytes), file, &digest);
  scratch.write("empty", "");
  struct Row {
    char const* name;
    unsigned int offset, size;
    char const* failed;
  };
  constexpr Row kRows[] = {
      {"main.o", 99, 1, nullptr},
      {"main.o", 0, 100, nullptr},
      {"main.o", 40, 0xFFFFFFFF, nullptr},
      {"main.o", 10, 0, nullptr},
      {"main.o", 100, 1, "offset"},
      {"main.o", 100, 0, "offset"},
      {"main.o", 0xFFFFFFFF, 0xFFFFFFFF, "offset"},
      {"main.o", 90, 20, "offset+size"},
      {"main.o", 90, 0xFFFFFFFE, "offset+size"},  // wraps to 88 in 32 bits
      {"missing", 0, 1, "::open"},
  };
  for (auto const& row : kRows) {
    TraceCapture capture({TraceFlag::vkt});
    errno = 0;
    std::string const expected =
        row.failed == nullptr ? bytes.substr(row.offset, row.size) : "(null)";
    EXPECT_EQ(cache->read(fileName(row.name), &digest, row.offset, row.size), expected);
    std::string const error = row.failed == nullptr || row.failed[0] != ':' ? "0" : "2";
    if (row.failed == nullptr) {
      EXPECT_THAT(capture.lines(), IsEmpty());
    } else {
      EXPECT_THAT(capture.lines(), ElementsAre("readFile VKT " + std::string(row.failed) +
                                               " failed - errno = " + error));
    }
  }
  EXPECT_EQ(cache->read(fileName("empty"), nullptr, 0, 0), "(null)");
}

TEST_F(Store, RangesBeyond32Bits) {
  std::string const path = scratch.write("big", "");
  ASSERT_EQ(::truncate(path.c_str(), (1L << 32) + 10), 0);
  FileName const big = fileName("big");
  TraceCapture capture({TraceFlag::vkt});
  EXPECT_EQ(cache->read(big, nullptr, 0xFFFFFFFF, 11), std::string(11, '\0'));
  EXPECT_EQ(cache->read(big, nullptr, 0xFFFFFFFF, 12), "(null)");
  EXPECT_EQ(cache->read(big, nullptr, 10), "(null)");  // one more than 32 bits hold
  EXPECT_THAT(capture.lines(),
              testing::Each(testing::StartsWith("readFile VKT offset+size failed")));
}

TEST_F(Store, NothingButAFileIsReadOrWrittenAndNothingBlocks) {
  ASSERT_EQ(::mkfifo(scratch.path("fifo").c_str(), 0600), 0);
  std::filesystem::create_directory(scratch.path("dir"));
  TraceCapture capture({TraceFlag::vkt});
  errno = 0;
  EXPECT_EQ(cache->read(fileName("fifo"), nullptr), "(null)");
  cache->addFile(content("x"), fileName("fifo"), nullptr);
  EXPECT_EQ(cache->read(fileName("dir"), nullptr, 0, 1), "(null)");
  cache->addFile(content("x"), fileName("dir"), nullptr);
  cache->remove(fileName("missing"), &digest);
  EXPECT_THAT(capture.lines(), ElementsAre("readFile VKT offset failed - errno = 0",
                                           "addFile VKT ::open failed - errno = 6",
                                           "readFile VKT ::read failed - errno = 21",
                                           "addFile VKT ::open failed - errno = 21",
                                           "remove VKT ::unlink failed - errno = 2"));
}

TEST_F(Store, ARelativeDirectoryIsResolvedAtEachCall) {
  setParameter("sub");
  TestCache relative;
  for (char const* place : {"here", "there"}) {
    std::filesystem::create_directories(scratch.path(place) + "/sub");
    std::filesystem::current_path(scratch.path(place));
    relative.addFile(content(place), file, nullptr);
    EXPECT_EQ(scratch.read(std::string(place) + "/sub/main.o"), place);
  }
}

TEST_F(Store, APatternRemovalTakesEveryDigestAndNothingElse) {
  for (char const* name : {"main.o", "main.o.1", "main.o.", ".main.o.x", "xmain.o.1", "main_o.1"}) {
    scratch.write(name, "");
  }
  TraceCapture capture({TraceFlag::detail, TraceFlag::error, TraceFlag::vkt});
  cache->remove(fileName("/usr/src/main.o"), nullptr);  // no entry has a "/"
  EXPECT_THAT(capture.lines(), IsEmpty());
  std::filesystem::create_directory(scratch.path("main.o.dir"));
  cache->remove(file, nullptr);
  std::string const path = scratch.path();
  EXPECT_THAT(capture.lines(),
              UnorderedElementsAre("removeFile ** File " + path + "/main.o.1 removed from cache",
                                   "removeFile ** File " + path + "/main.o. removed from cache",
                                   "removeFile ERROR errno = 21 when removing file " + path +
                                       "/main.o.dir from cache"));
  cache->remove(fileName("[.x]*"), nullptr);  // a pattern character is one, a leading "." is not
  EXPECT_THAT(scratch.names(), ElementsAre("main.o", "main.o.dir", "main_o.1"));
  setParameter("/no/where");
  TestCache().remove(file, nullptr);
  capture.lines();
  cache->addFile(content("data"), file, &digest);
  cache->remove(file, &digest);
  EXPECT_THAT(capture.lines(), IsEmpty());  // the removal of one copy is not news
}

// Whichever call fails: one line, nothing left open, and no file that is not whole.
TEST_F(Store, EveryCallOfReadAndStoreFailsOnce) {
  for (int nth = 1;; ++nth) {
    cache->addFile(content("data"), file, &digest);
    unsigned int const descriptors = openDescriptors();
    TraceCapture capture({TraceFlag::vkt});
    FaultPlan const plan({"open", "fstat", "lseek", "read"}, nth, EIO);
    std::string const bytes = cache->read(file, &digest, 1, 2);
    EXPECT_EQ(bytes, plan.fired() ? "(null)" : "at");
    if (!plan.fired()) break;
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_THAT(capture.lines(),
                ElementsAre("readFile VKT ::" + plan.call() + " failed - errno = 5"));
  }
  struct Row {
    int line;
    char const* call;
    FaultPlan::Outcome outcome;
    char const* traced;
  };
  constexpr Row kRows[] = {
      {__LINE__, "open", FaultPlan::kFails, "::open failed - errno = 5"},
      {__LINE__, "write", FaultPlan::kFails, "::write failed - errno = 5"},
      {__LINE__, "write", FaultPlan::kOneShort, "::write failed - errno = 0"},
      {__LINE__, "close", FaultPlan::kFailsAfter, "::write failed - errno = 5"}};
  for (auto const& row : kRows) {
    SCOPED_TRACE(row.line);
    for (MD5 const* with : {&digest, static_cast<MD5 const*>(nullptr)}) {
      std::filesystem::remove(scratch.path(nameOf(file, with)));
      scratch.write("main.o.other", "");
      unsigned int const descriptors = openDescriptors();
      TraceCapture capture({TraceFlag::vkt, TraceFlag::error});
      errno = ENOENT;  // which a short write does not touch
      FaultPlan const plan({row.call}, 1, EIO, row.outcome);
      cache->addFile(content("data"), file, with);
      EXPECT_TRUE(plan.fired());
      EXPECT_EQ(openDescriptors(), descriptors);
      EXPECT_THAT(capture.lines(), ElementsAre("addFile VKT " + std::string(row.traced)));
      bool const otherStays = with != nullptr || row.call == std::string("open");
      EXPECT_EQ(scratch.names(),
                otherStays ? std::set<std::string>{"main.o.other"} : std::set<std::string>{});
    }
  }
}

TEST_F(Store, AFullDiskAndAFileSizeLimit) {
  TraceCapture capture({TraceFlag::vkt, TraceFlag::detail});
  std::filesystem::create_symlink("/dev/full", scratch.path("main.o"));
  cache->addFile(content("data"), file, nullptr);
  EXPECT_THAT(capture.lines(),
              ElementsAre("addFile VKT ::write failed - errno = 28",
                          "removeFile ** File " + scratch.path("main.o") + " removed from cache"));
  int const left = inChild([&] {
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit const limit{1000, 1000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    cache->addFile(content(std::string(1001, 'x')), file, &digest);
    return static_cast<int>(capture.lines().size() * 10 + scratch.names().size());
  });
  EXPECT_EQ(left, 10);
}

struct Overriding : TestCache {
  void remove(FileName const& file, MD5 const* digest) override {
    removed = makeFileName(file, digest);
  }
  using DbgCacheUnix::remove;
  EncodedString removed;
};

TEST_F(Store, AFailedStoreRemovesThroughTheVirtualOperation) {
  Overriding overriding;
  FaultPlan const plan({"write"}, 1, EIO);
  overriding.addFile(content("data"), file, &digest);
  EXPECT_EQ(bytesOf(overriding.removed), digestName);
}

TEST_F(Store, ThreadsShareNothingButTheFileSystem) {
  cache->addFile(content(std::string(100000, 'r')), file, &digest);
  std::atomic<unsigned int> wrong{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this, i, &wrong] {
      FileName const own = fileName("own" + std::to_string(i));
      for (unsigned int turn = 0; turn < 200; ++turn) {
        std::string const bytes(turn * 50, static_cast<char>('a' + i));
        cache->addFile(content(bytes), own, &digest);
        if (turn != 0 && cache->read(own, &digest) != bytes) ++wrong;
        if (cache->read(file, &digest, turn, 500) != std::string(500, 'r')) ++wrong;
        cache->remove(own, turn % 2 == 0 ? &digest : nullptr);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0U);
  EXPECT_THAT(scratch.names(), ElementsAre(digestName));
}

}  // namespace

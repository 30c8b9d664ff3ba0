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

class Store : public CacheTest {
 protected:
  FileName const file = fileName("main.o");
  MD5 const digest{"data", 4};
  std::string const digestName = "main.o.8d777f385d3dfec8815d20f7496026dc";
};

TEST_F(Store, ACopyIsNamedByShortNameAndDigestAndHoldsTheBytesAlone) {
  std::string const bytes("a\0\n\xFF", 4);
  FileName const longName = fileName(std::string("/usr/src/prog/main.o\0x", 22));
  cache->addFile(content("something longer that was there before"), longName, &digest);
  timespec const old[] = {{1, 0}, {1, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, scratch.path(digestName).c_str(), old, 0), 0);
  cache->addFile(content(bytes), longName, &digest);
  cache->addFile(content(""), longName, nullptr);
  EXPECT_THAT(scratch.names(), ElementsAre("main.o", digestName));
  EXPECT_EQ(scratch.read(digestName), bytes);
  struct stat state;
  ASSERT_EQ(::stat(scratch.path(digestName).c_str(), &state), 0);
  EXPECT_EQ(state.st_mode, S_IFREG | 0600U);
  EXPECT_GT(state.st_atime, 1);  // it is young again
  EXPECT_GT(state.st_mtime, 1);
  EXPECT_EQ(bytesOf(cache->actualName(file, &digest)), scratch.path(digestName));
  std::filesystem::create_symlink("nowhere", scratch.path("other"));
  EXPECT_TRUE(cache->actualName(fileName("other"), nullptr).isEmpty());
  EXPECT_EQ(bytesOf(DbgCache::makeFileName(fileName("d/a(b)"), nullptr)), "a(b)");
}

TEST_F(Store, ReadsRanges) {
  std::string bytes(100, '\0');
  for (unsigned int i = 0; i < 100; ++i) bytes[i] = static_cast<char>(i * 7);
  cache->addFile(content(bytes), file, &digest);
  scratch.write("empty", "");
  ASSERT_EQ(::truncate(scratch.write("big", "").c_str(), (1L << 32) + 10), 0);
  TraceCapture capture({TraceFlag::vkt});
  auto const outcome = [&](char const* name, unsigned int offset, unsigned int size) {
    errno = 0;
    MD5 const* const with = name == std::string("main.o") ? &digest : nullptr;
    std::string const read = cache->read(fileName(name), with, offset, size);
    auto const lines = capture.lines();
    if (read == "(null)" && lines.size() == 1) return lines[0];
    EXPECT_THAT(lines, IsEmpty());
    bool const same = read == (with == nullptr ? std::string(read.size(), '\0')
                                               : bytes.substr(offset, read.size()));
    return (same ? "" : "wrong ") + std::to_string(read.size());
  };
  std::string const offset = "readFile VKT offset failed - errno = 0";
  std::string const offsetAndSize = "readFile VKT offset+size failed - errno = 0";
  EXPECT_EQ(outcome("main.o", 99, 1), "1");
  EXPECT_EQ(outcome("main.o", 0, 100), "100");
  EXPECT_EQ(outcome("main.o", 40, 0xFFFFFFFF), "60");
  EXPECT_EQ(outcome("main.o", 10, 0), "0");
  EXPECT_EQ(outcome("main.o", 100, 0), offset);
  EXPECT_EQ(outcome("main.o", 0xFFFFFFFF, 0xFFFFFFFF), offset);
  EXPECT_EQ(outcome("main.o", 90, 20), offsetAndSize);
  EXPECT_EQ(outcome("main.o", 90, 0xFFFFFFFE), offsetAndSize);  // wraps to 88 in 32 bits
  EXPECT_EQ(outcome("empty", 0, 0), offset);
  EXPECT_EQ(outcome("missing", 0, 1), "readFile VKT ::open failed - errno = 2");
  EXPECT_EQ(outcome("big", 0xFFFFFFFF, 11), "11");
  EXPECT_EQ(outcome("big", 0xFFFFFFFF, 12), offsetAndSize);
  EXPECT_EQ(outcome("big", 10, 0xFFFFFFFF), offsetAndSize);  // one more than 32 bits count
}

TEST_F(Store, NothingButAFileIsReadOrWrittenAndNothingBlocks) {
  ASSERT_EQ(::mkfifo(scratch.path("fifo").c_str(), 0600), 0);
  std::filesystem::create_directory(scratch.path("dir"));
  {
    TraceCapture errors({TraceFlag::error});
    DbgCacheUnix::removeFile(scratch.path("dir").c_str());
    EXPECT_THAT(errors.lines(), ElementsAre("removeFile ERROR errno = 21 when removing file " +
                                            scratch.path("dir") + " from cache"));
  }
  TraceCapture capture({TraceFlag::vkt});
  errno = 0;
  EXPECT_EQ(cache->read(fileName("fifo"), nullptr), "(null)");
  cache->addFile(content("x"), fileName("fifo"), nullptr);
  EXPECT_EQ(cache->read(fileName("dir"), nullptr, 0, 1), "(null)");
  cache->addFile(content("x"), fileName("dir"), nullptr);
  cache->remove(fileName("missing"), &digest);
  EXPECT_EQ(bytesOf(cache->actualName(fileName("dir"), nullptr)), scratch.path("dir"));
  EXPECT_THAT(capture.lines(), ElementsAre("readFile VKT offset failed - errno = 0",
                                           "addFile VKT ::open failed - errno = 6",
                                           "readFile VKT ::read failed - errno = 21",
                                           "addFile VKT ::open failed - errno = 21",
                                           "remove VKT ::unlink failed - errno = 2"));
}

TEST_F(Store, APatternRemovalTakesEveryDigestAndNothingElse) {
  for (char const* name : {"main.o", "main.o.1", ".main.o.x", "xmain.o.1", "main_o.1"}) {
    scratch.write(name, "");
  }
  cache->addFile(content("data"), file, &digest);
  TraceCapture capture({TraceFlag::detail, TraceFlag::error, TraceFlag::vkt});
  cache->remove(file, &digest);                         // which is no news
  cache->remove(fileName("/usr/src/main.o"), nullptr);  // no entry has a "/"
  EXPECT_THAT(capture.lines(), IsEmpty());
  {
    FaultPlan const plan({"opendir"}, 1, EMFILE);
    cache->remove(file, nullptr);  // nothing is removed, and nothing told
  }
  cache->remove(fileName("main\\.o"), nullptr);
  EXPECT_THAT(capture.lines(), ElementsAre("removeFile ** File " + scratch.path("main.o.1") +
                                           " removed from cache"));
  cache->remove(fileName("[.x]*"), nullptr);  // a pattern character is one, a leading "." is not
  EXPECT_THAT(scratch.names(), ElementsAre("main.o", "main_o.1"));
}

// Whichever call fails: one line, nothing left open, and no file that is not whole.
TEST_F(Store, EveryCallOfAReadFailsOnce) {
  cache->addFile(content("data"), file, &digest);
  unsigned int const descriptors = openDescriptors();
  for (int nth = 1;; ++nth) {
    TraceCapture capture({TraceFlag::vkt});
    FaultPlan const plan({"open", "fstat", "lseek", "read"}, nth, EIO);
    std::string const bytes = cache->read(file, &digest, 1, 2);
    EXPECT_EQ(bytes, plan.fired() ? "(null)" : "at");
    EXPECT_EQ(openDescriptors(), descriptors);
    if (!plan.fired()) break;
    EXPECT_THAT(capture.lines(),
                ElementsAre("readFile VKT ::" + plan.call() + " failed - errno = 5"));
    EXPECT_EQ(openFlags, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  }
  TraceCapture capture({TraceFlag::vkt});
  FaultPlan const plan({"read"}, 1, EIO, FaultPlan::kOneShort);
  EXPECT_EQ(cache->read(file, &digest, 1, 2), "(null)");
  EXPECT_THAT(capture.lines(), ElementsAre("readFile VKT ::read failed - errno = 0"));
}

TEST_F(Store, EveryCallOfAStoreFailsOnce) {
  struct Row {
    char const* call;
    FaultPlan::Outcome outcome;
    char const* traced;  // null: the store is good all the same
  };
  constexpr Row kRows[] = {{"open", FaultPlan::kFails, "::open failed - errno = 5"},
                           {"write", FaultPlan::kFails, "::write failed - errno = 5"},
                           {"write", FaultPlan::kOneShort, "::write failed - errno = 0"},
                           {"futimens", FaultPlan::kFails, nullptr},
                           {"close", FaultPlan::kFailsAfter, "::write failed - errno = 5"}};
  unsigned int const descriptors = openDescriptors();
  for (auto const& row : kRows) {
    for (MD5 const* with : {&digest, static_cast<MD5 const*>(nullptr)}) {
      std::string const name = bytesOf(DbgCache::makeFileName(file, with));
      std::filesystem::remove(scratch.path(name));
      scratch.write("main.o.other", "");
      TraceCapture capture({TraceFlag::vkt, TraceFlag::error});
      errno = ENOENT;  // which a short write does not touch
      FaultPlan const plan({row.call}, 1, EIO, row.outcome);
      cache->addFile(content("data"), file, with);
      EXPECT_TRUE(plan.fired());
      EXPECT_EQ(openFlags, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK);
      EXPECT_EQ(openDescriptors(), descriptors);
      auto const lines = capture.lines();
      ASSERT_EQ(lines.size(), row.traced == nullptr ? 0 : 1) << row.call;
      EXPECT_TRUE(lines.empty() || lines[0] == std::string("addFile VKT ") + row.traced);
      bool const othersGo = with == nullptr && row.traced != nullptr && row.traced[2] != 'o';
      EXPECT_EQ(scratch.names().count("main.o.other"), othersGo ? 0U : 1U) << row.call;
      EXPECT_EQ(scratch.names().count(name), row.traced == nullptr ? 1U : 0U) << row.call;
    }
  }
}

struct Overriding : TestCache {
  using DbgCacheUnix::remove;
  void remove(FileName const& file, MD5 const* digest) override {
    removed = makeFileName(file, digest);
  }
  EncodedString removed;
};

TEST_F(Store, AFullDiskAndAFileSizeLimit) {
  Overriding overriding;  // the removal of what is incomplete goes through the virtual operation
  TraceCapture capture({TraceFlag::vkt, TraceFlag::detail});
  std::filesystem::create_symlink("/dev/full", scratch.path(digestName));
  overriding.addFile(content("data"), file, &digest);
  EXPECT_EQ(bytesOf(overriding.removed), digestName);
  EXPECT_THAT(capture.lines(), ElementsAre("addFile VKT ::write failed - errno = 28"));
  cache->remove(file, &digest);
  int const left = inChild([&] {
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit const limit{1000, 1000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    cache->addFile(content(std::string(1001, 'x')), file, &digest);
    return static_cast<int>(capture.lines().size() * 10 + scratch.names().size());
  });
  EXPECT_EQ(left, 10);
}

TEST_F(Store, ThreadsShareNothingButTheFileSystem) {
  cache->addFile(content(std::string(100000, 'r')), file, &digest);
  std::atomic<unsigned int> wrong{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this, i, &wrong] {
      FileName const own = fileName("own" + std::to_string(i));
      for (unsigned int turn = 1; turn <= 200; ++turn) {
        std::string const bytes(turn * 50, static_cast<char>('a' + i));
        cache->addFile(content(bytes), own, &digest);
        if (cache->read(own, &digest) != bytes) ++wrong;
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

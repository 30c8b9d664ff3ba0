#include <limits>

#include "tests/files/TestFile.h"

namespace {

struct File : testing::Test {
  char const* map(long offset, long length) {
    return static_cast<char const*>(file.createMemoryMap(offset, length));
  }
  // How many maps are left then.
  unsigned int unmap(char const* address) {
    EXPECT_EQ(file.removeMemoryMap(const_cast<char*>(address)), 0);
    return file.maps();
  }

  Scratch scratch;
  TestFile file{scratch.write("four", "data")};
  char bytes[16] = {};
};

TEST_F(File, KnowsItsPositionOrThatItDoesNot) {
  ByteString out("old", 3);
  struct stat state;
  TestFile wanted("four");
  struct Row {
    std::function<long()> operation;
    long result, position;
  } const rows[] = {
      {[&] { return file.read(bytes, 4, -1) + file.lseek(0, CUL_Api::kFromStart); }, -2, -1},
      {[&] { return TestFile("none").find(text("/proc")) + TestFile("none").open(); }, -1, -1},
      {[&] { return TestFile("none").fstat(state); }, -1, -1},
      {[&] { return TestFile("none").timeDateStamp().isKnown(); }, 0, -1},
      {[&] { return TestFile("none", 9999).timeDateStamp().isKnown(); }, 0, -1},
      {[&] { return wanted.find(text("/proc:" + scratch.path())) == 0 && wanted.open(); }, 1, -1},
      {[&] { return file.open(); }, 1, 0},
      {[&] { return file.read(bytes, 10, 0) + file.read(bytes, 0, 4); }, 4, 4},
      {[&] { return file.read(bytes, 10, -1); }, 0, 4},
      {[&] { return ::lseek(file.fd, 3, SEEK_SET); }, 3, 4},
      {[&] { return file.lseek(4, CUL_Api::kFromStart); }, 4, 4},  // is there already, as it thinks
      {[&] { return file.read(bytes, 10, -1); }, 1, 5},
      {[&] { return file.lseek(-1, CUL_Api::kFromStart); }, -1, -1},
      {[&] { return file.read(bytes, 1, -1); }, 0, -1},  // stands at the end, and nobody knows it
      {[&] { return file.lseek(4, CUL_Api::kFromStart); }, 4, 4},
      {[&] { return file.lseek(-1, CUL_Api::kFromEnd); }, 3, 3},
      {[&] { return file.lseek(-2, CUL_Api::kFromCurrent); }, 1, 1},
      {[&] { return file.open() + file.filesize() + file.timeDateStamp().isKnown(); }, 6, 1},
      {[&] { return file.read(out, 1000, -1) == 3 && bytesOf(out) == "ata"; }, 1, 4},
      {[&] { return file.read(out, 2, 1) == 2 && bytesOf(out) == "at"; }, 1, 3},
      {[&] { return file.read(out, 0, 3); }, 0, 3},
      {[&] { return file.read(bytes, -1, 0) + file.read(out, -5, 0); }, -2, 3},
      {[&] { return file.find(text(scratch.path())); }, -1, 3},
      {[&] { return file.close(), file.close(), file.fd; }, -1, -1},
  };
  for (auto const& row : rows) {
    EXPECT_EQ(row.operation(), row.result) << &row - rows;
    EXPECT_EQ(file.position, row.position) << &row - rows;
  }
  int const descriptor = ::open(file.data(), O_RDONLY);
  {
    TestFile handedOver("any", descriptor);
    EXPECT_EQ(handedOver.position, -1);
    EXPECT_EQ(handedOver.read(bytes, 9, -1) + handedOver.position, 3);
  }
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);  // went with the file
}

TEST_F(File, AFailedReadLosesThePositionUnlessFlagged) {
  TestFile folder(scratch.path());  // can be opened and not be read
  for (auto const& [before, flag, after] : {std::tuple{3, 0, -1}, {3, 1, 2}, {-1, 1, -1}}) {
    ASSERT_TRUE(folder.open() && folder.readFlag == 0);
    folder.position = before;
    folder.readFlag = flag != 0;
    EXPECT_EQ(folder.read(bytes, 1, -1), -1);
    EXPECT_EQ(folder.position, after);
    folder.close();
  }
}

TEST_F(File, OneMapServesWhatLiesWhollyInItTheNewestFirst) {
  scratch.write("four", std::string(904, 'a') + "here" + std::string(20000, 'z'));
  ASSERT_TRUE(file.open());
  EXPECT_EQ(file.removeMemoryMap(nullptr), 1);
  char const* const first = map(904, 100);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(std::string(first, 5), "herez");
  EXPECT_TRUE(map(904, 50) == first && map(0, 1004) == first - 904);
  EXPECT_EQ(map(950, 100), nullptr);  // sticks out behind
  char const* const second = map(4096, 10);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(map(4000, 100), nullptr);  // sticks out in front
  EXPECT_EQ(map(4096, 0), nullptr);    // outside of every map, and nothing to map
  EXPECT_EQ(map(4100, 0), second + 4);
  int const other = ::open(file.data(), O_RDONLY);
  void* const own = file.mapManager->createMap(0, 100, other);  // each descriptor has its own
  EXPECT_TRUE(own != nullptr && own != first - 904);
  ::close(other);
  EXPECT_EQ(map(0, 100), first - 904);
  EXPECT_EQ(unmap(second + 9) + unmap(second + 10), 6U);  // that is behind it
  EXPECT_EQ(unmap(second), 2U);
  for (unsigned int i = 0; i < 4; ++i) EXPECT_EQ(unmap(first - 904 + i), i < 3 ? 2U : 1U);
  file.close();
  EXPECT_EQ(file.mapManager, nullptr);
}

TEST_F(File, AMapThatCannotBeDescribedIsRefusedBeforeItIsMade) {
  constexpr long kMost = std::numeric_limits<long>::max(), kLong = (1L << 32) - 1;
  EXPECT_EQ(map(0, 10), nullptr);  // closed, but maps can be asked for from now on
  EXPECT_EQ(unmap(nullptr), 0U);
  ASSERT_TRUE(file.open());
  constexpr std::pair<long, long> kRows[] = {{-1, 10},   {-4096, 10},     {0, -1},
                                             {1, kLong}, {4095, kLong},   {0, kLong + 1},
                                             {kMost, 1}, {kMost - 10, 20}};
  for (auto const& [offset, length] : kRows) EXPECT_EQ(map(offset, length), nullptr) << offset;
  EXPECT_EQ(file.maps(), 0U);
  EXPECT_TRUE(map(4095, kLong - 4095) != nullptr && map(0, kLong) != nullptr);  // just fit
  EXPECT_NE(map((1L << 32) + 5, 3), nullptr);  // behind the end there is nothing to read
}

}  // namespace

#include <gtest/gtest.h>

#include "tests/files/TestFile.h"

namespace {

class File : public testing::Test {
 protected:
  Scratch scratch;
  TestFile file{scratch.write("four", "data")};
  char bytes[16] = {};
};

TEST_F(File, StaysOpenWhenItIsMeasuredOrOpenedAgain) {
  ASSERT_TRUE(file.open());
  EXPECT_EQ(file.lseek(2, CUL_Api::kFromStart), 2);
  EXPECT_TRUE(file.open());
  EXPECT_EQ(file.filesize(), 4);
  EXPECT_TRUE(file.timeDateStamp().isKnown());
  EXPECT_EQ(file.position, 2);
  for (int i = 0; i < 2; ++i) file.close();
  EXPECT_EQ(file.position, -1);
  CUL_File again(fileName(file.data()), ::open(file.data(), O_RDONLY));
  EXPECT_EQ(again.read(bytes, 9, -1), 4);
  TestFile const handedOver("any", ::open(file.data(), O_RDONLY));
  EXPECT_EQ(handedOver.position, -1);
  struct stat state;
  EXPECT_EQ(handedOver.fstat(state) + file.fstat(state), -1);
}

TEST_F(File, KnowsItsPositionOrThatItDoesNot) {
  ByteString out("old", 3);
  EXPECT_EQ(file.read(bytes, 4, -1) + file.read(out, 8, -1) + file.read(bytes, 4, 0), -3);
  EXPECT_EQ(file.lseek(0, CUL_Api::kFromStart), -1);
  ASSERT_TRUE(file.open());
  EXPECT_EQ(file.read(bytes, 10, 0), 4);
  EXPECT_EQ(file.position, 4);
  EXPECT_EQ(file.read(bytes, 10, -1), 0);
  ::lseek(file.fd, 3, SEEK_SET);
  EXPECT_EQ(file.lseek(4, CUL_Api::kFromStart), 4);  // is there already, as it thinks
  EXPECT_EQ(file.read(bytes, 10, -1), 1);
  EXPECT_EQ(file.lseek(-1, CUL_Api::kFromStart), -1);
  EXPECT_EQ(file.position, -1);
  EXPECT_EQ(file.read(bytes, 1, -1), 0);  // the descriptor stands at the end
  EXPECT_EQ(file.position, -1);           // and nobody knows it
  EXPECT_EQ(file.lseek(-1, CUL_Api::kFromEnd), 3);
  EXPECT_EQ(file.lseek(-2, CUL_Api::kFromCurrent), 1);
  EXPECT_EQ(file.read(out, 1000, -1), 3);
  EXPECT_EQ(bytesOf(out), "ata");
  EXPECT_EQ(file.read(out, 2, 1), 2);
  EXPECT_EQ(bytesOf(out), "at");
  EXPECT_EQ(file.read(bytes, -1, 0) + file.read(out, -5, 0), -2);
  EXPECT_EQ(file.position, 3);
}

TEST_F(File, AFailedReadLosesThePositionUnlessFlagged) {
  constexpr long kRows[][3] = {{3, 0, -1}, {3, 1, 2}, {-1, 1, -1}, {-1, 0, -1}};
  TestFile folder(scratch.path());  // can be opened and not be read
  for (auto const& [before, flag, after] : kRows) {
    ASSERT_TRUE(folder.open());
    EXPECT_EQ(folder.readFlag, 0);
    folder.position = before;
    folder.readFlag = flag != 0;
    EXPECT_EQ(folder.read(bytes, 1, -1), -1);
    EXPECT_EQ(folder.position, after);
    folder.close();
    EXPECT_EQ(folder.readFlag, flag);
  }
}

TEST_F(File, IsFoundAlongAPath) {
  TestFile wanted("four");
  EXPECT_EQ(wanted.find(text("/nowhere:/proc")), -1);
  EXPECT_EQ(wanted.find(text("/nowhere:" + scratch.path())), 0);
  EXPECT_EQ(bytesOf(wanted.directory()), scratch.path() + "/");
  ASSERT_TRUE(wanted.open());
  EXPECT_EQ(wanted.find(text(scratch.path())), -1);
}

}  // namespace

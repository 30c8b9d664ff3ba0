#include <gtest/gtest.h>

#include <limits>

#include "cul/files/UNIX_MemoryMap.h"
#include "tests/files/TestFile.h"

namespace {

class Map : public testing::Test {
 protected:
  Map() { EXPECT_TRUE(file.open()); }

  static std::string pages(unsigned int count) {
    std::string content;
    for (unsigned int i = 0; i < count * 1024; ++i) content += std::to_string(1000 + i % 9000);
    return content;
  }
  char const* map(long offset, long length) {
    return static_cast<char const*>(file.createMemoryMap(offset, length));
  }
  void unmap(char const* address) {
    EXPECT_EQ(file.removeMemoryMap(const_cast<char*>(address)), 0);
  }

  Scratch scratch;
  std::string const content = pages(20);
  TestFile file{scratch.write("pages", content)};
};

TEST_F(Map, OneMappingServesWhatLiesWhollyInIt) {
  EXPECT_EQ(file.removeMemoryMap(nullptr), 1);
  char const* const first = map(904, 100);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(std::string(first, 100), content.substr(904, 100));
  EXPECT_EQ(map(904, 50), first);
  EXPECT_EQ(map(0, 1004), first - 904);
  EXPECT_EQ(map(950, 100), nullptr);  // sticks out behind
  EXPECT_EQ(file.maps(), 1U);
  char const* const second = map(4096, 10);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(file.maps(), 2U);
  EXPECT_EQ(map(4000, 100), nullptr);  // sticks out in front
  EXPECT_EQ(map(4096, 0), nullptr);    // outside of every mapping, and nothing to map
  EXPECT_EQ(map(4100, 0), second + 4);
  unmap(second + 9);
  unmap(second + 10);  // is behind it
  EXPECT_EQ(file.maps(), 2U);
  unmap(second);
  EXPECT_EQ(file.maps(), 1U);
  for (int i = 0; i < 3; ++i) unmap(first - 904 + i);
  EXPECT_EQ(file.maps(), 0U);
  unmap(first);
}

TEST_F(Map, TheNewestIsAskedFirstAndEachDescriptorHasItsOwn) {
  char const* const first = map(0, 100);
  int const other = ::open(file.data(), O_RDONLY);
  void* const own = file.mapManager->createMap(0, 100, other);
  EXPECT_TRUE(own != nullptr && own != first);
  EXPECT_EQ(map(0, 100), first);
  EXPECT_EQ(file.maps(), 2U);
  char const* const wide = map(4096, 8192);
  EXPECT_EQ(map(8192, 1), wide + 4096);
  ::close(other);
  file.close();
  EXPECT_EQ(file.mapManager, nullptr);
}

TEST_F(Map, WhatTheModelCannotHoldIsRefusedBeforeAnyMapping) {
  constexpr long kMost = std::numeric_limits<long>::max();
  constexpr long kLong = (1L << 32) - 1;
  struct Row {
    long offset, length;
  };
  constexpr Row kRows[] = {{-1, 10},       {-4096, 10},          {0, -1},    {0, kLong + 1},
                           {1, kLong},     {4095, kLong - 4094}, {kMost, 1}, {kMost - 10, 20},
                           {kMost, kMost}, {4096, kMost}};
  for (auto const& row : kRows) EXPECT_EQ(map(row.offset, row.length), nullptr) << row.offset;
  EXPECT_EQ(file.maps(), 0U);
  EXPECT_NE(map(4095, kLong - 4095), nullptr);  // just fits
  EXPECT_NE(map((1L << 32) + 5, 3), nullptr);   // behind the end there is nothing to read
  TestFile closed(scratch.path("pages"));
  EXPECT_EQ(closed.createMemoryMap(0, 10), nullptr);
  EXPECT_EQ(closed.removeMemoryMap(nullptr), 0);
}

}  // namespace

#include "quonutil/digest/MD5.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "tests/support/Scratch.h"

namespace {

std::vector<std::string> md5sum(std::string const& files) {
  std::FILE* const program = ::popen(("md5sum " + files).c_str(), "r");
  std::vector<std::string> digests;
  char digest[33];
  while (std::fscanf(program, "%32s%*[^\n]", digest) == 1) digests.push_back(digest);
  EXPECT_EQ(::pclose(program), 0);
  return digests;
}

std::string hex(MD5 const& md5) { return bytesOf(md5.asString(MD5::kHexadecimal)); }

// Every digest is read before the sequence goes on.
TEST(MD5Test, AgreesWithMd5sumOnEveryLengthHoweverItIsCut) {
  constexpr unsigned int kLongest = 300;
  std::mt19937 random(1321);
  std::string all(kLongest, '\0');
  for (char& byte : all) byte = static_cast<char>(random());
  Scratch const scratch;
  for (auto n = 0u; n <= kLongest; ++n) scratch.write(std::to_string(1000 + n), all.substr(0, n));
  auto const expected = md5sum(scratch.path("*"));
  ASSERT_EQ(expected.size(), kLongest + 1);

  for (auto cut = 0u; cut <= kLongest; ++cut) {
    MD5 const front(all.data(), cut);
    for (auto end = cut; end <= kLongest; ++end) {
      MD5 whole = front;
      whole.update(all.data() + cut, end - cut);
      ASSERT_EQ(hex(whole), expected[end]) << end << " bytes, cut behind " << cut;
    }
    ASSERT_EQ(hex(front), expected[cut]);
  }
}

TEST(MD5Test, CountsBeyond32Bits) {
  std::string const zeros((1 << 20) + 1, '\0');
  MD5 md5;
  for (int piece = 0; piece < 4096; ++piece) md5.update(zeros.data(), zeros.size());
  // head -c 4294971392 /dev/zero | md5sum, which takes longer than all the rest
  EXPECT_EQ(hex(md5), "ab3c2a743cdf0eba712e437d9a343464");
}

}  // namespace

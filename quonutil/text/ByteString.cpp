#include "quonutil/text/ByteString.h"

#include <limits>
#include <stdexcept>

namespace {

unsigned int sum(unsigned int first, unsigned int second, unsigned int third) {
  unsigned long long const total = 0ULL + first + second + third;
  if (total > std::numeric_limits<unsigned int>::max()) {
    throw std::length_error("ByteString: longer than 32 bits can count");
  }
  return static_cast<unsigned int>(total);
}

}  // namespace

ByteString::ByteString(void const* bytes, unsigned int count)
    : StringBuffer(static_cast<unsigned char const*>(bytes), count) {}

ByteString::ByteString(void const* first, unsigned int firstCount, void const* second,
                       unsigned int secondCount, void const* third, unsigned int thirdCount) {
  reserve(sum(firstCount, secondCount, thirdCount));
  append(static_cast<unsigned char const*>(first), firstCount);
  append(static_cast<unsigned char const*>(second), secondCount);
  append(static_cast<unsigned char const*>(third), thirdCount);
}

ByteString::~ByteString() = default;

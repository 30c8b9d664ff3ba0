#include "quonutil/text/ByteString.h"

ByteString::ByteString(void const* bytes, unsigned int count)
    : StringBuffer(static_cast<unsigned char const*>(bytes), count) {}

ByteString::ByteString(void const* first, unsigned int firstCount, void const* second,
                       unsigned int secondCount, void const* third, unsigned int thirdCount) {
  reserve(counted(std::size_t{firstCount} + secondCount + thirdCount));
  append(static_cast<unsigned char const*>(first), firstCount);
  append(static_cast<unsigned char const*>(second), secondCount);
  append(static_cast<unsigned char const*>(third), thirdCount);
}

ByteString::~ByteString() = default;

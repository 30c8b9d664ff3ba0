#pragma once

#include "quonutil/text/StringBuffer.h"

/// Bytes with an unsigned 32-bit length: file contents, converted texts, what system calls take.
///
/// A zero byte stands behind the last one and is not counted. Failures, threads and large
/// contents: see StringBuffer.
class QUONUTIL_EXPORT ByteString : public StringBuffer<unsigned char> {
 public:
  ByteString() noexcept = default;

  /// `count` bytes of unspecified contents, none of them touched.
  explicit ByteString(unsigned int count) { makeBuffer(count); }

  /// A copy of `count` bytes.
  ByteString(void const* bytes, unsigned int count);

  /// A copy of up to three ranges, one behind the other. An empty range may be null.
  ByteString(void const* first, unsigned int firstCount, void const* second,
             unsigned int secondCount, void const* third, unsigned int thirdCount);

  ByteString(ByteString const&) = default;
  ByteString(ByteString&&) noexcept = default;
  ByteString& operator=(ByteString const&) = default;
  ByteString& operator=(ByteString&&) noexcept = default;
  virtual ~ByteString();

  /// The bytes as a C string; it ends early at a zero byte among them. Borrowed, as `data()` is.
  char const* text() const noexcept { return reinterpret_cast<char const*>(data()); }
};

#pragma once

#include <cstddef>
#include <cstdint>

#include "quonutil/text/EncodedString.h"

/// An MD5 digest (RFC 1321) and its text. It tells contents apart; it protects nothing.
///
/// Bytes may come in any number of pieces, up to 2^61 bytes in all; the digest is that of all bytes
/// so far. A copy goes on by itself. One thread at a time; reading an object that nobody changes
/// is free to any number of threads.
class QUONUTIL_EXPORT MD5 {
 public:
  static constexpr unsigned int kBytes = 16;  ///< of a digest

  /// The forms of the text.
  enum OutputString : int {
    kHexadecimal = 0,  ///< 32 lowercase hexadecimal digits, as md5sum prints them
  };

  /// The digest of no bytes.
  MD5() noexcept;
  /// The digest of `count` bytes.
  MD5(void const* bytes, std::size_t count) noexcept;

  /// Takes in `count` bytes more.
  void update(void const* bytes, std::size_t count) noexcept;

  /// Stores the digest of all bytes so far, without ending the sequence.
  void digest(unsigned char (&out)[kBytes]) const noexcept;

  /// The digest as text. Every kind is hexadecimal here.
  EncodedString asString(OutputString kind) const;

 private:
  std::uint32_t state_[4];     // after the whole blocks so far
  std::uint64_t length_ = 0;   // bytes so far
  unsigned char pending_[64];  // the last length_ % 64 of them, which are not in state_ yet
};

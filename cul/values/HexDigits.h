#pragma once

#include <emmintrin.h>

#include <cstring>

// Hexadecimal digits, a register of sixteen at a time; every x86-64 has SSE2.

constexpr unsigned int kDigitsAtOnce = 16;  // of an unsigned long

/// Writes the sixteen digits of `value`, the highest first. `ten` is 'A' or 'a'.
inline void writeSixteenDigits(unsigned long value, char ten, char* digits) noexcept {
  __m128i const low = _mm_set1_epi8(0x0F);
  __m128i const bytes = _mm_cvtsi64_si128(static_cast<long>(__builtin_bswap64(value)));
  __m128i const values =
      _mm_unpacklo_epi8(_mm_and_si128(_mm_srli_epi16(bytes, 4), low), _mm_and_si128(bytes, low));
  __m128i const isLetter = _mm_cmpgt_epi8(values, _mm_set1_epi8(9));
  __m128i const toLetter = _mm_and_si128(isLetter, _mm_set1_epi8(static_cast<char>(ten - '9' - 1)));
  __m128i const text = _mm_add_epi8(_mm_add_epi8(values, _mm_set1_epi8('0')), toLetter);
  std::memcpy(digits, &text, sizeof text);
}

/// Reads sixteen digits of either case, the highest first. False when one of them is no digit.
inline bool readSixteenDigits(char const* digits, unsigned long& value) noexcept {
  __m128i text;
  std::memcpy(&text, digits, sizeof text);
  // As unsigned bytes: what lies below '0' or 'a' wraps around to more than any digit's value.
  __m128i const figures = _mm_sub_epi8(text, _mm_set1_epi8('0'));
  __m128i const letters = _mm_sub_epi8(_mm_or_si128(text, _mm_set1_epi8(' ')), _mm_set1_epi8('a'));
  __m128i const isFigure = _mm_cmpeq_epi8(_mm_min_epu8(figures, _mm_set1_epi8(9)), figures);
  __m128i const isLetter = _mm_cmpeq_epi8(_mm_min_epu8(letters, _mm_set1_epi8(5)), letters);
  if (_mm_movemask_epi8(_mm_or_si128(isFigure, isLetter)) != 0xFFFF) return false;
  __m128i const values =
      _mm_or_si128(_mm_and_si128(isFigure, figures),
                   _mm_and_si128(isLetter, _mm_add_epi8(letters, _mm_set1_epi8(10))));
  // Two digits side by side become the byte in the lower half of their 16 bits.
  __m128i const pairs = _mm_and_si128(
      _mm_or_si128(_mm_slli_epi16(values, 4), _mm_srli_epi16(values, 8)), _mm_set1_epi16(0xFF));
  auto const bytes = static_cast<unsigned long>(_mm_cvtsi128_si64(_mm_packus_epi16(pairs, pairs)));
  value = __builtin_bswap64(bytes);
  return true;
}

/// `text` without the "0x" or "0X" that it may begin with.
inline char const* withoutPrefix(char const* text) noexcept {
  return text[0] == '0' && (text[1] == 'x' || text[1] == 'X') ? text + 2 : text;
}

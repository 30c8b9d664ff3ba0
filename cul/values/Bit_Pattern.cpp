#include "cul/values/Bit_Pattern.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "cul/values/HexDigits.h"
#include "quonutil/text/StringPoolManager.h"

namespace {

constexpr unsigned int kBytesAtOnce = kDigitsAtOnce / 2;

unsigned int bytesFor(unsigned int bits) {
  return std::max(static_cast<unsigned int>((std::size_t{bits} + 7) / 8), 1U);
}

unsigned char* takeBuffer(unsigned int bytes) {
  return static_cast<unsigned char*>(StringPoolManager::instance()->getBuffer(bytes));
}

void giveBack(unsigned char* buffer, unsigned int bytes) {
  StringPoolManager::instance()->freeBuffer(buffer, bytes);
}

// Writes the digits of up to eight bytes, the last byte's first, and returns where they end.
template <class Character>
inline Character* writeSome(unsigned char const* bytes, unsigned int count, Character* out) {
  unsigned long value = 0;
  std::memcpy(&value, bytes, count);
  char digits[kDigitsAtOnce];
  writeSixteenDigits(value, 'A', digits);
  return std::copy(std::end(digits) - 2 * count, std::end(digits), out);
}

template <class Character>
void writeDigits(unsigned char const* bytes, unsigned int count, Character* out) {
  unsigned int const odd = count % kBytesAtOnce;
  count -= odd;
  out = writeSome(bytes + count, odd, out);
  for (; count != 0; count -= kBytesAtOnce) {
    out = writeSome(bytes + count - kBytesAtOnce, kBytesAtOnce, out);
  }
}

// Stores `count` digits, the last of them lowest. False when one is no digit.
bool readDigits(char const* digits, std::size_t count, unsigned char* bytes) {
  unsigned long value;
  for (; count >= kDigitsAtOnce; count -= kDigitsAtOnce, bytes += kBytesAtOnce) {
    if (!readSixteenDigits(digits + count - kDigitsAtOnce, value)) return false;
    std::memcpy(bytes, &value, kBytesAtOnce);
  }
  char filled[kDigitsAtOnce];
  std::memset(filled, '0', sizeof filled);
  std::memcpy(std::end(filled) - count, digits, count);
  if (!readSixteenDigits(filled, value)) return false;
  std::memcpy(bytes, &value, (count + 1) / 2);
  return true;
}

}  // namespace

// In two steps, so that the buffer is given back when reading runs out of memory.
Bit_Pattern::Bit_Pattern(unsigned int bits, char const* text) : Bit_Pattern(bits) {
  if (bits == 0 || read(text)) return;
  reallocate(0);
  *data = 0;
}

Bit_Pattern::Bit_Pattern(Bit_Pattern const& other)
    : data(takeBuffer(other.byte_count)), bit_count(other.bit_count), byte_count(other.byte_count) {
  std::memcpy(data, other.data, byte_count);
}

Bit_Pattern::~Bit_Pattern() { giveBack(data, byte_count); }

Bit_Pattern& Bit_Pattern::operator=(Bit_Pattern const& other) {
  if (this == &other) return *this;
  reallocate(other.bit_count);
  std::memcpy(data, other.data, byte_count);
  return *this;
}

void Bit_Pattern::allocate(unsigned int bits) {
  unsigned int const bytes = bytesFor(bits);
  data = takeBuffer(bytes);
  std::memset(data, 0, bytes);
  bit_count = bits;
  byte_count = bytes;
}

void Bit_Pattern::reallocate(unsigned int bits) {
  unsigned int const bytes = bytesFor(bits);
  if (bytes != byte_count) {
    unsigned char* const replaced = std::exchange(data, takeBuffer(bytes));
    giveBack(replaced, byte_count);
    byte_count = bytes;
  }
  bit_count = bits;
}

// Fills a pattern whose bytes are all 0. False when the text is not good for it.
bool Bit_Pattern::read(char const* text) {
  text = withoutPrefix(text);
  std::size_t count = std::strlen(text);
  std::string packed;
  if (std::string_view(text, count).find(' ') != std::string_view::npos) {
    packed.assign(text, count);
    std::erase(packed, ' ');
    text = packed.data();
    count = packed.size();
  }
  for (; count > 1 && *text == '0'; --count) ++text;
  if (count > std::size_t{byte_count} * 2 || !readDigits(text, count, data)) return false;
  // A value that fits leaves the highest byte's bits above the pattern clear.
  unsigned int const used = bit_count % 8;
  return used == 0 || data[byte_count - 1] >> used == 0;
}

CharString& Bit_Pattern::format(CharString& out) const {
  out.makeBuffer(byte_count * 2);
  writeDigits(data, byte_count, out.data());
  return out;
}

EncodedString& Bit_Pattern::format(EncodedString& out) const {
  EncodedString text;
  text.makeBuffer(byte_count * 2);
  writeDigits(data, byte_count, text.data());
  return out = std::move(text);
}

bool Bit_Pattern::is_zero() const {
  return std::all_of(data, data + byte_count, [](unsigned char byte) { return byte == 0; });
}

Bit_Pattern::operator unsigned long() const {
  if (byte_count != 1 && byte_count != 2 && byte_count != 4 && byte_count != 8) return 0;
  unsigned long value = 0;
  std::memcpy(&value, data, byte_count);
  return value;
}

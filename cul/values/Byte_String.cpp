#include "cul/values/Byte_String.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr unsigned int kShownBytes = 16;
constexpr unsigned int kGroupBytes = 4;
constexpr char kDigits[] = "0123456789abcdef";

unsigned char* newBuffer(unsigned int bytes) {
  return bytes == 0 ? nullptr : new unsigned char[bytes];
}

// The ranges may overlap. For no bytes there need be no buffer.
void copy(unsigned char* to, void const* from, unsigned int count) {
  if (count != 0) std::memmove(to, from, count);
}

char printable(unsigned char byte) {
  return byte >= 0x20 && byte <= 0x7F ? static_cast<char>(byte) : '.';
}

}  // namespace

Byte_String::Byte_String(void const* bytes, unsigned int n)
    : Byte_String(bytes == nullptr ? 0 : n) {
  copy(data, bytes, capacity);
  setLength(capacity);
}

Byte_String::Byte_String(void* bytes, unsigned int n, int) noexcept
    : data(static_cast<unsigned char*>(bytes)), capacity(n), length(0), borrowed(1) {
  setLength(n);
}

Byte_String::Byte_String(Byte_String const& other) : Byte_String(other.data, other.length) {}

Byte_String::Byte_String(unsigned int n)
    : data(newBuffer(n)), capacity(n), length(0), borrowed(0) {}

Byte_String::Byte_String(unsigned int n, char fill) : Byte_String(n) {
  std::fill_n(data, n, static_cast<unsigned char>(fill));
  setLength(n);
}

Byte_String::~Byte_String() {
  if (borrowed == 0) delete[] data;
}

Byte_String& Byte_String::operator=(Byte_String const& other) {
  if (this == &other) return *this;
  if (other.length != 0) return assign(other.data, other.length);
  length = 0;
  return *this;
}

void Byte_String::extend(unsigned int n) { grow(n, length); }

// Makes room for `n` bytes, the first `kept` of which stay. Returns the buffer that the string
// owned until now, if it gave one up: the source of a copy may lie in it.
std::unique_ptr<unsigned char[]> Byte_String::grow(unsigned int n, unsigned int kept) {
  if (n <= capacity) return nullptr;
  unsigned char* const larger = newBuffer(n);
  if (data != nullptr) copy(larger, data, kept);  // null may have been lent
  std::unique_ptr<unsigned char[]> replaced(borrowed != 0 ? nullptr : data);
  data = larger;
  capacity = n;
  borrowed = 0;
  return replaced;
}

Byte_String& Byte_String::assign(void const* bytes, unsigned int n) {
  if (bytes == nullptr) return *this;
  auto const replaced = grow(n, 0);
  copy(data, bytes, n);
  setLength(n);
  return *this;
}

Byte_String& Byte_String::overlay_with(void const* bytes, unsigned int n, unsigned int offset) {
  if (bytes == nullptr || n == 0 || offset > length) return *this;
  unsigned int const end = offset + n;
  auto const replaced = grow(end, length);
  copy(data + offset, bytes, n);
  if (end > length) setLength(end);
  return *this;
}

Byte_String& Byte_String::operator+=(Byte_String const& other) {
  unsigned int const added = other.length;
  auto const replaced = grow(length + added, length);
  copy(data + length, other.data, added);  // of the string itself, this is the new buffer
  setLength(length + added);
  return *this;
}

bool Byte_String::operator==(Byte_String const& other) const { return !(*this != other); }

int Byte_String::operator!=(Byte_String const& other) const {
  if (length != other.length) return 1;
  return length == 0 ? 0 : std::memcmp(data, other.data, length);
}

void Byte_String::clear() {
  length = 0;
  if (borrowed != 0) return;
  delete[] data;
  data = nullptr;
  capacity = 0;
}

EncodedString Byte_String::diagFormat() const {
  if (length == 0) return EncodedString();
  char text[kShownBytes * 2 + kShownBytes / kGroupBytes + 2 + kShownBytes + 2];
  char* next = text;
  unsigned char const* const end = data + std::min<unsigned int>(length, kShownBytes);
  for (unsigned char const* byte = data; byte != end; ++byte) {
    *next++ = kDigits[*byte >> 4];
    *next++ = kDigits[*byte & 0x0F];
    if ((byte - data) % kGroupBytes == kGroupBytes - 1) *next++ = ' ';
  }
  next = std::copy_n("  \"", 3, next);
  next = std::transform<unsigned char const*>(data, end, next, printable);
  *next++ = '"';
  return EncodedString(text, static_cast<unsigned int>(next - text), EncodedString::kLibraryText);
}

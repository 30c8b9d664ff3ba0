#include "quonutil/text/CharString.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <limits>
#include <utility>

namespace {

constexpr wchar_t kByteEscape = 0xDC00;  // plus a byte from 0x80 up
constexpr wchar_t kReplacement = 0xFFFD;

struct Decoded {
  wchar_t character;
  unsigned int bytes;  // 0: not valid UTF-8
};

struct Form {
  unsigned char leadMask, lead;  // which lead bytes begin it
  wchar_t first;                 // the first character that needs this many bytes
};
constexpr Form kForms[] = {{0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}};

constexpr bool isSurrogate(wchar_t character) { return character >= 0xD800 && character <= 0xDFFF; }

// The character that two to four of the `available` bytes make (RFC 3629, table 3-7 of Unicode:
// neither overlong forms nor surrogates nor anything above U+10FFFF).
Decoded decodeLong(unsigned char const* bytes, unsigned int available) {
  for (unsigned int extra = 1; extra <= 3; ++extra) {
    Form const& form = kForms[extra - 1];
    if ((bytes[0] & form.leadMask) != form.lead) continue;
    if (available <= extra) break;
    wchar_t character = bytes[0] & static_cast<unsigned char>(~form.leadMask);
    for (unsigned int i = 1; i <= extra; ++i) {
      if ((bytes[i] & 0xC0) != 0x80) return {0, 0};
      character = (character << 6) | (bytes[i] & 0x3F);
    }
    if (character < form.first || character > 0x10FFFF || isSurrogate(character)) break;
    return {character, extra + 1};
  }
  return {0, 0};
}

constexpr unsigned int kLongestForm = 4;

// Writes the bytes of one character and returns how many they are.
unsigned int encodeOne(wchar_t character, char* out) {
  if (character >= 0 && character < 0x80) {
    out[0] = static_cast<char>(character);
    return 1;
  }
  if (character >= kByteEscape + 0x80 && character <= kByteEscape + 0xFF) {
    out[0] = static_cast<char>(character - kByteEscape);
    return 1;
  }
  if (character < 0 || character > 0x10FFFF || isSurrogate(character)) character = kReplacement;
  unsigned int const extra = character < kForms[1].first ? 1 : character < kForms[2].first ? 2 : 3;
  out[0] = static_cast<char>(kForms[extra - 1].lead | (character >> (6 * extra)));
  for (unsigned int i = 1; i <= extra; ++i) {
    out[i] = static_cast<char>(0x80 | ((character >> (6 * (extra - i))) & 0x3F));
  }
  return extra + 1;
}

}  // namespace

CharString::CharString(wchar_t const* text) : StringBuffer(text, counted(std::wcslen(text))) {}

void CharString::loadFrom(char const* bytes, unsigned int length,
                          EncodedString::Encoding /*encoding*/) {
  CharString text;
  text.makeBuffer(length);  // no character has fewer than one byte
  auto const* next = reinterpret_cast<unsigned char const*>(bytes);
  auto const* const end = next + length;
  wchar_t* out = text.data();
  while (next != end) {
    if (*next < 0x80) {
      *out++ = *next++;
      continue;
    }
    Decoded const decoded = decodeLong(next, static_cast<unsigned int>(end - next));
    *out++ = decoded.bytes != 0 ? decoded.character : kByteEscape + *next;
    next += std::max(decoded.bytes, 1U);
  }
  text.cut(static_cast<unsigned int>(out - text.data()));
  *this = std::move(text);
}

EncodedString CharString::encoded() const {
  wchar_t const* next = data();
  wchar_t const* const end = next + length();
  EncodedString text;
  text.makeBuffer(length());  // nearly always it is as many bytes as characters
  char* out = text.data();
  while (next != end && *next >= 0 && *next < 0x80) *out++ = static_cast<char>(*next++);
  text.cut(static_cast<unsigned int>(out - text.data()));
  char form[kLongestForm];
  for (; next != end; ++next) text.append(form, encodeOne(*next, form));
  return text;
}

CharString CharString::firstToken(wchar_t const* separators) {
  wchar_t const* const begin = data();
  wchar_t const* const separator =
      std::find_first_of(begin, begin + length(), separators, separators + std::wcslen(separators));
  auto const tokenLength = static_cast<unsigned int>(separator - begin);
  CharString token;
  token.assign(begin, tokenLength);
  unsigned int const taken = std::min(tokenLength + 1, length());
  assign(begin + taken, length() - taken);
  return token;
}

void CharString::change(CharString const& from, CharString const& to, unsigned int start) {
  if (from.isEmpty() || start > length()) return;
  CharString changed;
  wchar_t const* const end = data() + length();
  wchar_t const* kept = data();  // what is not copied yet begins here
  wchar_t const* next = data() + (start == 0 ? 0 : start - 1);
  while ((next = std::search(next, end, from.data(), from.data() + from.length())) != end) {
    changed.append(kept, static_cast<unsigned int>(next - kept));
    changed.append(to.data(), to.length());
    next += from.length();
    kept = next;
  }
  if (kept == data()) return;
  changed.append(kept, static_cast<unsigned int>(end - kept));
  *this = std::move(changed);
}

CharString CharString::makeFromNumeric(unsigned int number) {
  wchar_t digits[std::numeric_limits<unsigned int>::digits10 + 1];
  wchar_t* const end = std::end(digits);
  wchar_t* first = end;
  do {
    *--first = L'0' + static_cast<wchar_t>(number % 10);
    number /= 10;
  } while (number != 0);
  CharString text;
  text.assign(first, static_cast<unsigned int>(end - first));
  return text;
}

#include <cinttypes>
#include <cstdint>
#include <cstdio>

#include "Parts.h"
#include "Text.h"
#include "cul/values/Bit_Pattern.h"
#include "cul/values/Byte_String.h"
#include "cul/values/Unsigned_Bits.h"

namespace {

void showNumber(Parts& parts, std::uint64_t number) {
  Unsigned_Bits const bits(number);
  EncodedString compact, wide, narrow, decimal;
  bits.format(compact);
  bits.hex_format(wide, 8);
  bits.hex_format(narrow, 4);
  bits.dec_format(decimal);
  std::string const ours =
      std::string(compact.data()) + ' ' + wide.data() + ' ' + narrow.data() + ' ' + decimal.data();
  char theirs[100];
  std::snprintf(theirs, sizeof theirs, "%" PRIx64 " %016" PRIX64 " %08" PRIX32 " %" PRIu64, number,
                number, static_cast<std::uint32_t>(number), number);
  Unsigned_Bits again;
  bool const isRead = again.assign(compact, 16) && again.value() == number;
  parts.display.line("ours   %s", ours.c_str());
  parts.display.line("printf %s", theirs);
  parts.checks.expect(isRead && ours == theirs, "a number as text: " + ours);
}

void showPattern(Parts& parts, unsigned bits, char const* text) {
  EncodedString digits;
  Bit_Pattern const pattern(bits, text);
  pattern.format(digits);
  parts.display.line("%u bits of \"%s\": %s", bits, text,
                     pattern.bits() == 0 ? "no such pattern" : digits.data());
}

}  // namespace

void showValues(Parts& parts) {
  parts.display.heading("Values as text, beside printf's");
  auto const brokenBefore = parts.checks.broken().size();
  for (std::uint64_t number : {0UL, 255UL, (1UL << 32) + 255, ~0UL}) showNumber(parts, number);
  showPattern(parts, 100, "0xF FFFF0000 12345678 9abcdef0");
  showPattern(parts, 12, "1FFF");
  showPattern(parts, 8, "1G");
  std::string const bytes = "Bytes: \x01\xFE and more";
  Byte_String const string(bytes.data(), static_cast<unsigned>(bytes.size()));
  parts.display.line("%s", string.diagFormat().data());
  parts.checks.confirm(parts.checks.broken().size() == brokenBefore,
                       "each number is what printf makes of it");
}

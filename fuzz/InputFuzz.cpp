// Texts of any bytes, as wide characters, as file names, as hexadecimal digits and as cache
// parameters: nothing is lost, the parts of a name make up the name, a folded path folds no
// further, a pattern reads what it writes, and what the cache writes back of a parameter reads back
// as the same cache.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>

#include "cul/dbgcache/DbgCacheUnix.h"
#include "cul/values/Bit_Pattern.h"
#include "quonutil/settings/DebuggerParameters.h"
#include "quonutil/settings/DebuggerSettings.h"

namespace {

struct Cache final : DbgCacheUnix {
  using DbgCacheUnix::cacheDirectory;
  using DbgCacheUnix::expiryHours;
};

void require(bool holds) {
  if (!holds) std::abort();
}

void checkSplitAndJoin(EncodedString const& text) {
  CharString rest;
  rest.loadFrom(text.data(), text.length(), EncodedString::kSystemText);
  require(rest.encoded() == text);
  EncodedString joined;
  while (!rest.isEmpty()) {
    joined += rest.firstToken(L":").encoded();
    if (joined.length() < text.length()) joined.append(":", 1);
  }
  require(joined == text);
}

void checkName(EncodedString const& text) {
  FileName name(text);
  unsigned int const member = name.member().length();
  require(name.directory() + name.short_name() == text);
  require(name.base().length() + (member == 0 ? 0 : member + 2) == name.short_name().length());
  name.rationalizePath(EncodedString("/d", EncodedString::kSystemText));
  EncodedString const folded = name;
  name.rationalizePath(EncodedString());
  require(name == folded && (text.isEmpty() || folded.data()[0] == '/'));
}

void checkDigits(EncodedString const& text) {
  for (unsigned int bits : {5U, 131U}) {
    Bit_Pattern const pattern(bits, text.data());
    EncodedString digits, again;
    pattern.format(digits);
    require(Bit_Pattern(bits, digits.data()).format(again).length() == (bits + 7) / 8 * 2);
    require(pattern.bits() == 0 ? pattern.is_zero() : digits == again);
  }
}

// A cache may remove what lies in the directory that it is given. Below one that does not exist
// the system finds nothing, whatever the bytes say, ".." included.
void checkParameter(EncodedString const& end) {
  EncodedString const text = EncodedString("/no/where/", EncodedString::kSystemText) + end;
  auto* const parameters = DebuggerParameters::instance();
  auto& setting =
      DebuggerSettings::instance()->setting(DebuggerSettings::kDebugInformationCache).value;
  setting.clear();
  parameters->setParm(DebuggerParameters::kCacheParameter, text);
  Cache const given;
  require(given.expiryHours != 0 && given.cacheDirectory.indexOf(':', 1) == 0);
  parameters->setParm(DebuggerParameters::kCacheParameter, EncodedString());
  EncodedString const written = setting;
  Cache const again;
  require(again.cacheDirectory == given.cacheDirectory && again.expiryHours == given.expiryHours);
  require(setting == written);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  EncodedString const text(reinterpret_cast<char const*>(bytes), static_cast<unsigned int>(size),
                           EncodedString::kSystemText);
  checkSplitAndJoin(text);
  checkName(text);
  checkDigits(text);
  checkParameter(text);
  return 0;
}

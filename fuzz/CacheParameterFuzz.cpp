// A cache parameter of any bytes: it never fails, and what the cache writes back reads back as the
// same cache.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "cul/dbgcache/DbgCacheUnix.h"
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

void setParameter(EncodedString const& text) {
  DebuggerParameters::instance()->setParm(DebuggerParameters::kCacheParameter, text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  ::setenv("HOME", "/nowhere", 1);  // an empty directory field then means an unusable cache
  EncodedString const text(reinterpret_cast<char const*>(bytes), static_cast<unsigned int>(size),
                           EncodedString::kLibraryText);
  auto& setting =
      DebuggerSettings::instance()->setting(DebuggerSettings::kDebugInformationCache).value;
  setting.clear();
  setParameter(text);
  Cache const given;
  require(given.expiryHours != 0);
  require(given.cacheDirectory.indexOf(':', 1) == 0);
  if (given.cacheDirectory.isEmpty()) return 0;
  setParameter(EncodedString());
  EncodedString const written = setting;
  Cache const again;
  require(again.cacheDirectory == given.cacheDirectory);
  require(again.expiryHours == given.expiryHours);
  require(setting == written);
  return 0;
}

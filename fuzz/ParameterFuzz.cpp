// Cache parameters: what the cache writes back of one reads back as the same cache.

#include "cul/dbgcache/DbgCacheUnix.h"
#include "cul/events/CUL_Dispatcher.h"
#include "fuzz/Harness.h"
#include "quonutil/settings/DebuggerParameters.h"
#include "quonutil/settings/DebuggerSettings.h"

namespace {

struct Cache final : DbgCacheUnix {
  using DbgCacheUnix::cacheDirectory;
  using DbgCacheUnix::expiryHours;
};

// A cache may remove what lies in the directory that it is given. Below one that does not exist
// the system finds nothing, whatever the bytes say, ".." included.
constexpr char const* kNowhere = "/no/where/";

}  // namespace

void check(std::string const& bytes) {
  ::setenv("HOME", kNowhere, 1);
  CUL_Dispatcher::instance()->destroy();  // takes no timers, which nobody would run
  auto* const parameters = DebuggerParameters::instance();
  auto& setting =
      DebuggerSettings::instance()->setting(DebuggerSettings::kDebugInformationCache).value;
  setting.clear();
  parameters->setParm(DebuggerParameters::kCacheParameter, text(kNowhere + bytes));
  Cache const given;
  require(given.expiryHours != 0 && given.cacheDirectory.indexOf(':', 1) == 0);
  parameters->setParm(DebuggerParameters::kCacheParameter, EncodedString());
  EncodedString const written = setting;
  Cache const again;
  require(again.cacheDirectory == given.cacheDirectory && again.expiryHours == given.expiryHours);
  require(setting == written);
}

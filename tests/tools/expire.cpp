// expire DIRECTORY PARAMETER-REST: makes the cache over a directory, which removes what is old.
#include <string>

#include "cul/dbgcache/DbgCache.h"
#include "quonutil/settings/DebuggerParameters.h"

int main(int, char** argv) {
  std::string const parameter = std::string(argv[1]) + argv[2];
  if (parameter.find("/cul-test-") == std::string::npos) return 2;  // only over a test's own
  DebuggerParameters::instance()->setParm(
      DebuggerParameters::kCacheParameter,
      EncodedString(parameter.c_str(), EncodedString::kSystemText));
  DbgCache::instance();
}

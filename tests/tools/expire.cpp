// expire DIRECTORY PARAMETER-REST: makes the cache over a directory, which removes what is old.
// The directory must be one of a test's own.

#include <string_view>

#include "cul/dbgcache/DbgCache.h"
#include "quonutil/settings/DebuggerParameters.h"

int main(int argc, char** argv) {
  if (argc != 3 || std::string_view(argv[1]).find("/cul-test-") == std::string_view::npos) return 2;
  EncodedString parameter(argv[1], EncodedString::kSystemText);
  parameter += EncodedString(argv[2], EncodedString::kSystemText);
  DebuggerParameters::instance()->setParm(DebuggerParameters::kCacheParameter, parameter);
  DbgCache::instance();
}

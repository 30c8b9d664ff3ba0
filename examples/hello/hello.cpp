// The smallest useful host: stores a file in the debug-information cache and reads a part back.

#include <cstdio>
#include <memory>

#include "cul/dbgcache/DbgCache.h"
#include "cul/platform/CUL_Api.h"
#include "quonutil/settings/DebuggerParameters.h"
#include "quonutil/trace/TraceImplementation.h"

int main(int argc, char** argv) {
  traceImplementation().setFlag(TraceFlag::vkt, true);  // failed steps, on standard error
  DebuggerParameters::instance()->setParm(  // the default directory, at most 12 hours unread
      DebuggerParameters::kCacheParameter, EncodedString(":12", EncodedString::kLibraryText));

  FileName const file(
      EncodedString(argc > 1 ? argv[1] : "/proc/self/exe", EncodedString::kSystemText));
  ByteString content;
  TimeDateStamp stamp;
  if (CUL_Api::read(file, content, stamp, nullptr) != 0) return 1;
  MD5 const digest(content.data(), content.length());

  DbgCache* const cache = DbgCache::instance();
  cache->addFile(content, file, &digest);
  std::unique_ptr<ByteString> const bytes(cache->readFile(file, &digest, 1, 3));
  if (bytes == nullptr) return 1;
  std::printf("%s\nbytes 1 to 3: %s\n", cache->actualName(file, &digest).data(), bytes->text());
}

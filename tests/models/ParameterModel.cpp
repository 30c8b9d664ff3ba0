// Cache parameters: what the cache writes back of one reads back as the same cache.

#include "cul/events/CUL_Dispatcher.h"
#include "tests/dbgcache/TestCache.h"
#include "tests/models/Model.h"

void check(std::string const& bytes) {
  // A cache may remove what lies in the directory that it is given. Below one that does not exist
  // the system finds nothing, whatever the bytes say, ".." included.
  std::string const nowhere = "/no/where/";
  ::setenv("HOME", nowhere.c_str(), 1);
  CUL_Dispatcher::instance()->destroy();  // takes no timers, which nobody would run
  cacheSetting().clear();
  setParameter(nowhere + bytes);
  TestCache const given;
  require(given.expiryHours != 0 && given.cacheDirectory.indexOf(':', 1) == 0);
  setParameter("");
  EncodedString const written = cacheSetting();
  TestCache const again;
  require(again.cacheDirectory == given.cacheDirectory && again.expiryHours == given.expiryHours);
  require(cacheSetting() == written);
}

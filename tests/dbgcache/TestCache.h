#pragma once

#include "cul/dbgcache/DbgCacheUnix.h"
#include "quonutil/settings/DebuggerParameters.h"
#include "quonutil/settings/DebuggerSettings.h"
#include "tests/support/CallFronts.h"
#include "tests/support/TraceCapture.h"

inline void setParameter(std::string const& parameter) {
  DebuggerParameters::instance()->setParm(DebuggerParameters::kCacheParameter, text(parameter));
}

inline EncodedString& cacheSetting() {
  return DebuggerSettings::instance()->setting(DebuggerSettings::kDebugInformationCache).value;
}

/// A cache that may be destroyed and whose fields may be seen.
struct TestCache : DbgCacheUnix {
  virtual ~TestCache() = default;
  using DbgCacheUnix::cacheDirectory;
  using DbgCacheUnix::dirExists;
  using DbgCacheUnix::expiryHours;
};

/// A directory that caches made from now on take for theirs.
struct CacheScratch : Scratch {
  CacheScratch() { setParameter(path()); }
};

#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "cul/dbgcache/DbgCacheUnix.h"
#include "quonutil/settings/DebuggerParameters.h"
#include "quonutil/settings/DebuggerSettings.h"
#include "tests/support/Scratch.h"

// The engine knows these by their numbers.
static_assert(DebuggerParameters::kCacheParameter == 6);
static_assert(DebuggerSettings::kDebugInformationCache == 21);

/// A cache that may be destroyed and whose fields may be seen.
class TestCache : public DbgCacheUnix {
 public:
  virtual ~TestCache() = default;

  using DbgCacheUnix::cacheDirectory;
  using DbgCacheUnix::expiryHours;

  /// The bytes read, or "(null)".
  std::string read(FileName const& file, MD5 const* digest, unsigned int offset = 0,
                   unsigned int size = kToTheEnd) {
    std::unique_ptr<ByteString> const bytes(readFile(file, digest, offset, size));
    return bytes == nullptr ? "(null)" : bytesOf(*bytes);
  }
};

inline void setParameter(std::string const& parameter) {
  DebuggerParameters::instance()->setParm(DebuggerParameters::kCacheParameter, text(parameter));
}

inline EncodedString& cacheSetting() {
  return DebuggerSettings::instance()->setting(DebuggerSettings::kDebugInformationCache).value;
}

inline ByteString content(std::string const& bytes) {
  return ByteString(bytes.data(), static_cast<unsigned int>(bytes.size()));
}

/// A cache in a scratch directory.
class CacheTest : public testing::Test {
 protected:
  CacheTest() {
    setParameter(scratch.path());
    cache = std::make_unique<TestCache>();
  }

  Scratch scratch;
  std::unique_ptr<TestCache> cache;
};

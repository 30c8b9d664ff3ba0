#include "cul/dbgcache/DbgCache.h"

#include <cstdio>

#include "cul/dbgcache/DbgCacheRemovalTimer.h"
#include "cul/dbgcache/DbgCacheUnix.h"
#include "quonutil/settings/DebuggerParameters.h"
#include "quonutil/settings/DebuggerSettings.h"

namespace {

constexpr unsigned int kDefaultHours = 48;

DebuggerSettings::Setting& cacheSetting() {
  return DebuggerSettings::instance()->setting(DebuggerSettings::kDebugInformationCache);
}

bool contains(EncodedString const& text, char character) { return text.indexOf(character, 1) != 0; }

}  // namespace

DbgCache::DbgCache() : expiryHours(kDefaultHours) {}

DbgCache::~DbgCache() = default;

DbgCache* DbgCache::instance() {
  static DbgCache* cache = nullptr;
  if (cache == nullptr) cache = new DbgCacheUnix;
  return cache;
}

EncodedString DbgCache::getCacheParameter(bool& flush, char separator) {
  flush = false;
  unsigned int const hoursBefore = expiryHours;
  EncodedString text = DebuggerParameters::instance()->parm(DebuggerParameters::kCacheParameter);
  if (text.isEmpty()) text = cacheSetting().value;
  if (!contains(text, separator)) return text;

  auto const mark = static_cast<unsigned char>(separator);
  EncodedString directory = text.allBefore(mark);
  EncodedString const rest = text.allAfter(mark);
  EncodedString const hours = rest.allBefore(mark);
  flush = compareCaseInsensitive("flush", rest.allAfter(mark));
  // By sscanf's rule: blanks in front, then digits, then anything.
  if (!hours.isEmpty()) static_cast<void>(std::sscanf(hours.data(), "%u", &expiryHours));
  if (expiryHours == 0) expiryHours = hoursBefore;
  return directory;
}

EncodedString DbgCache::makeFileName(FileName const& file, MD5 const* digest) {
  EncodedString name = file.short_name();
  name.cutAtZero();  // or the digest would stand where the system does not look
  if (digest == nullptr) return name;
  EncodedString const text = digest->asString(MD5::kHexadecimal);
  name.reserve(name.length() + 1 + text.length());
  name.append(".", 1);
  name += text;
  return name;
}

void DbgCache::startRemovalTimer(bool flush, char separator) {
  char fields[sizeof ":4294967295:noflush"];
  std::snprintf(fields, sizeof fields, "%c%u%c%s", separator, expiryHours, separator,
                flush ? "flush" : "noflush");
  EncodedString parameter;
  if (!contains(cacheDirectory, separator)) parameter = cacheDirectory;
  parameter += EncodedString(fields, EncodedString::kLibraryText);
  DebuggerSettings::instance()->store(cacheSetting(), parameter);
  remove(flush ? 0 : expiryHours);
  DbgCacheRemovalTimer::start(this, static_cast<unsigned short>(expiryHours));
}

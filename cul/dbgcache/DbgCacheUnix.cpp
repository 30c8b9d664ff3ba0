#include "cul/dbgcache/DbgCacheUnix.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <memory>

#include "cul/base/Descriptor.h"
#include "cul/base/DirectoryStream.h"
#include "cul/base/Tracing.h"
#include "cul/dbgcache/AgeRemoval.h"
#include "cul/dbgcache/DefaultDirectory.h"

namespace {

constexpr char kSeparator = ':';
constexpr mode_t kOwnerOnlyFile = 0600;

// Descriptors close on exec, and a FIFO that somebody put there does not hold the engine up.
constexpr int kOpenFlags = O_CLOEXEC | O_NONBLOCK;

EncodedString libraryText(char const* text) {
  return EncodedString(text, EncodedString::kLibraryText);
}

}  // namespace

DbgCacheUnix::DbgCacheUnix() {
  bool flush = false;
  cacheDirectory = getCacheParameter(flush, kSeparator);
  cacheDirectory.cutAtZero();  // or the directory's own path would stand for every copy's
  if (cacheDirectory.isEmpty()) {
    cacheDirectory = defaultDirectory();
  } else if (cacheDirectory.data()[cacheDirectory.length() - 1] != '/') {
    cacheDirectory += libraryText("/");
  }
  if (!cacheDirectory.isEmpty()) startRemovalTimer(flush, kSeparator);
}

DbgCacheUnix::~DbgCacheUnix() = default;

bool DbgCacheUnix::dirExists(char const* path) {
  struct stat state;
  return ::stat(path, &state) == 0 && S_ISDIR(state.st_mode);
}

EncodedString DbgCacheUnix::pathOf(FileName const& file, MD5 const* digest) const {
  return cacheDirectory + makeFileName(file, digest);
}

EncodedString DbgCacheUnix::actualName(FileName const& file, MD5 const* digest) const {
  if (cacheDirectory.isEmpty()) {
    if (auto* trace = tracing(TraceFlag::error)) {
      trace->taggedTrace("actualName", __LINE__, "ERROR", "Invalid cache");
    }
    return {};
  }
  EncodedString path = pathOf(file, digest);
  struct stat state;
  if (::stat(path.data(), &state) != 0) return {};
  return path;
}

// ---- store -----------------------------------------------------------------------------------

namespace {

constexpr char const* kOpenStep = "::open";
constexpr char const* kWriteStep = "::write";

bool writeWhole(Descriptor& copy, ByteString const& content) {
  errno = 0;  // a write that comes short, on a full disk, leaves it as it was
  if (::write(copy.get(), content.data(), content.length()) != content.length()) return false;
  // Neither truncating nor writing touches the access time, and a copy just written is not old.
  timespec const times[] = {{0, UTIME_NOW}, {0, UTIME_OMIT}};
  static_cast<void>(::futimens(copy.get(), times));
  return copy.closeAndCheck();  // a full disk behind a network may speak up only here
}

}  // namespace

void DbgCacheUnix::addFile(ByteString const& content, FileName const& file, MD5 const* digest) {
  if (cacheDirectory.isEmpty()) {
    if (auto* trace = tracing(TraceFlag::vkt)) {
      trace->taggedTrace("addFile", __LINE__, "VKT", "Invalid cache");
    }
    return;
  }
  EncodedString const path = pathOf(file, digest);
  char const* failed = nullptr;
  Descriptor copy(::open(path.data(), O_WRONLY | O_CREAT | O_TRUNC | kOpenFlags, kOwnerOnlyFile));
  if (!copy.isOpen()) {
    failed = kOpenStep;
  } else if (!writeWhole(copy, content)) {
    failed = kWriteStep;
  }
  if (failed == nullptr) return;
  int const error = errno;
  if (auto* trace = tracing(TraceFlag::vkt)) {
    trace->taggedTrace("addFile", __LINE__, "VKT", "%s failed - errno = %d", failed, error);
  }
  if (failed == kOpenStep) return;
  copy.reset();
  remove(file, digest);
  // Without a digest that took away the copies with one, but not the incomplete file itself.
  if (digest == nullptr) removeFile(path.data());
}

// ---- read ------------------------------------------------------------------------------------

namespace {

// The part of a copy that a reader wants, in bytes.
struct Range {
  unsigned int offset;
  unsigned int size;
};

// Each step gives null, or the name under which it failed.

char const* openCopy(char const* path, Descriptor& copy) {
  copy.reset(::open(path, O_RDONLY | kOpenFlags));
  return copy.isOpen() ? nullptr : kOpenStep;
}

char const* fitRange(Descriptor const& copy, Range& range) {
  struct stat state;
  if (::fstat(copy.get(), &state) != 0) return "::fstat";
  long const left = state.st_size - long{range.offset};
  if (left <= 0) return "offset";
  if (range.size == DbgCache::kToTheEnd) {
    if (left > long{std::numeric_limits<unsigned int>::max()}) return "offset+size";
    range.size = static_cast<unsigned int>(left);
  }
  return long{range.size} > left ? "offset+size" : nullptr;
}

char const* readRange(Descriptor const& copy, Range const& range,
                      std::unique_ptr<ByteString>& bytes) {
  if (::lseek(copy.get(), range.offset, SEEK_SET) != off_t{range.offset}) return "::lseek";
  bytes = std::make_unique<ByteString>(range.size);
  errno = 0;  // a read that comes short, of a copy that is being written, leaves it as it was
  if (::read(copy.get(), bytes->data(), range.size) != ssize_t{range.size}) return "::read";
  return nullptr;
}

}  // namespace

ByteString* DbgCacheUnix::readFile(FileName const& file, MD5 const* digest, unsigned int offset,
                                   unsigned int size) {
  if (cacheDirectory.isEmpty()) return nullptr;
  EncodedString const path = pathOf(file, digest);  // outlives the reading of errno
  Range range{offset, size};
  Descriptor copy;
  std::unique_ptr<ByteString> bytes;
  char const* failed = openCopy(path.data(), copy);
  if (failed == nullptr) failed = fitRange(copy, range);
  if (failed == nullptr) failed = readRange(copy, range, bytes);
  if (failed == nullptr) return bytes.release();
  int const error = errno;
  if (auto* trace = tracing(TraceFlag::vkt)) {
    trace->taggedTrace("readFile", __LINE__, "VKT", "%s failed - errno = %d", failed, error);
  }
  return nullptr;
}

// ---- remove ----------------------------------------------------------------------------------

void DbgCacheUnix::remove(FileName const& file, MD5 const* digest) {
  if (cacheDirectory.isEmpty()) {
    if (auto* trace = tracing(TraceFlag::vkt)) {
      trace->taggedTrace("remove", __LINE__, "VKT", "Invalid cache");
    }
    return;
  }
  if (digest == nullptr) {
    EncodedString pattern = file;
    pattern.cutAtZero();
    pattern += libraryText(".*");
    removeMatching(pattern);
    return;
  }
  EncodedString const path = pathOf(file, digest);
  if (::unlink(path.data()) == 0) return;
  int const error = errno;
  if (auto* trace = tracing(TraceFlag::vkt)) {
    trace->taggedTrace("remove", __LINE__, "VKT", "%s failed - errno = %d", "::unlink", error);
  }
}

void DbgCacheUnix::removeMatching(EncodedString const& pattern) const {
  DirectoryStream directory(cacheDirectory.data());
  if (!directory.isOpen()) return;
  while (char const* const name = directory.next()) {
    if (::fnmatch(pattern.data(), name, 0) != 0) continue;
    removeFile((cacheDirectory + libraryText(name)).data());
  }
}

void DbgCacheUnix::removeFile(char const* path) {
  if (::unlink(path) == 0) {
    if (auto* trace = tracing(TraceFlag::detail)) {
      trace->taggedTrace("removeFile", __LINE__, "**", "File %s removed from cache", path);
    }
    return;
  }
  int const error = errno;
  if (auto* trace = tracing(TraceFlag::error)) {
    trace->taggedTrace("removeFile", __LINE__, "ERROR",
                       "errno = %d when removing file %s from cache", error, path);
  }
}

void DbgCacheUnix::remove(unsigned int hours) {
  if (cacheDirectory.isEmpty()) {
    if (auto* trace = tracing(TraceFlag::error)) {
      trace->taggedTrace("remove", __LINE__, "ERROR", "Invalid cache directory");
    }
    return;
  }
  removeOldFiles(cacheDirectory, hours);
}

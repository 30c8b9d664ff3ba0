#include "cul/dbgcache/DbgCacheUnix.h"

#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "cul/base/Descriptor.h"
#include "cul/base/DirectoryStream.h"
#include "cul/base/Tracing.h"
#include "cul/dbgcache/AgeRemoval.h"
#include "cul/dbgcache/CopyFile.h"
#include "cul/dbgcache/DefaultDirectory.h"

namespace {

constexpr char kSeparator = ':';

EncodedString libraryText(char const* text) {
  return EncodedString(text, EncodedString::kLibraryText);
}

void traceInvalid(TraceFlag flag, char const* operation, char const* tag,
                  unsigned int line = __builtin_LINE()) {
  if (auto* trace = tracing(flag)) trace->taggedTrace(operation, line, tag, "Invalid cache");
}

void traceFailure(char const* operation, char const* step, unsigned int line = __builtin_LINE()) {
  int const error = errno;
  if (auto* trace = tracing(TraceFlag::vkt)) {
    trace->taggedTrace(operation, line, "VKT", "%s failed - errno = %d", step, error);
  }
}

// A copy that could not be written whole. It does not stay, even when memory runs out while its
// end is being traced and arranged.
class IncompleteCopy {
 public:
  explicit IncompleteCopy(char const* path) noexcept : path_(path) {}
  IncompleteCopy(IncompleteCopy const&) = delete;
  IncompleteCopy& operator=(IncompleteCopy const&) = delete;
  ~IncompleteCopy() {
    if (path_ != nullptr) ::unlink(path_);
  }

  void isDealtWith() noexcept { path_ = nullptr; }

 private:
  char const* path_;
};

}  // namespace

DbgCacheUnix::DbgCacheUnix() {
  bool flush = false;
  cacheDirectory = getCacheParameter(flush, kSeparator);
  cacheDirectory.cutAtZero();  // or the directory's own path would stand for every copy's
  if (cacheDirectory.isEmpty()) {
    cacheDirectory = defaultDirectory();
  } else {
    cacheDirectory.endIn('/');
  }
  if (!cacheDirectory.isEmpty()) startRemovalTimer(flush, kSeparator);
}

DbgCacheUnix::~DbgCacheUnix() = default;

bool DbgCacheUnix::dirExists(char const* path) { return directoryExists(path); }

EncodedString DbgCacheUnix::pathOf(FileName const& file, MD5 const* digest) const {
  return cacheDirectory + makeFileName(file, digest);
}

EncodedString DbgCacheUnix::actualName(FileName const& file, MD5 const* digest) const {
  if (cacheDirectory.isEmpty()) {
    traceInvalid(TraceFlag::error, "actualName", "ERROR");
    return {};
  }
  EncodedString path = pathOf(file, digest);
  struct stat state;
  if (::stat(path.data(), &state) != 0) return {};
  return path;
}

void DbgCacheUnix::addFile(ByteString const& content, FileName const& file, MD5 const* digest) {
  if (cacheDirectory.isEmpty()) return traceInvalid(TraceFlag::vkt, "addFile", "VKT");
  EncodedString const path = pathOf(file, digest);
  Descriptor copy;
  if (char const* const failed = openNewCopy(path.data(), copy)) {
    return traceFailure("addFile", failed);
  }
  char const* const failed = writeCopy(copy, content);
  if (failed == nullptr) return;
  IncompleteCopy incomplete(path.data());
  traceFailure("addFile", failed);
  copy.reset();
  remove(file, digest);
  // Without a digest that took away the copies with one, but not the incomplete file itself.
  if (digest == nullptr) removeFile(path.data());
  incomplete.isDealtWith();
}

ByteString* DbgCacheUnix::readFile(FileName const& file, MD5 const* digest, unsigned int offset,
                                   unsigned int size) {
  if (cacheDirectory.isEmpty()) return nullptr;
  EncodedString const path = pathOf(file, digest);  // outlives the reading of errno
  std::unique_ptr<ByteString> bytes;
  if (char const* const failed = readCopy(path.data(), offset, size, bytes)) {
    traceFailure("readFile", failed);
    return nullptr;
  }
  return bytes.release();
}

void DbgCacheUnix::remove(FileName const& file, MD5 const* digest) {
  if (cacheDirectory.isEmpty()) return traceInvalid(TraceFlag::vkt, "remove", "VKT");
  if (digest == nullptr) {
    EncodedString pattern = file;
    pattern.cutAtZero();
    pattern += libraryText(".*");
    removeMatching(pattern);
    return;
  }
  EncodedString const path = pathOf(file, digest);
  if (::unlink(path.data()) != 0) traceFailure("remove", "::unlink");
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
  if (!cacheDirectory.isEmpty()) return removeOldFiles(cacheDirectory, hours);
  if (auto* trace = tracing(TraceFlag::error)) {
    trace->taggedTrace("remove", __LINE__, "ERROR", "Invalid cache directory");
  }
}

#include "cul/dbgcache/CopyFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>

#include "cul/dbgcache/DbgCache.h"

namespace {

constexpr mode_t kOwnerOnly = 0600;

// Descriptors close on exec, and a FIFO that somebody put there does not hold the engine up.
constexpr int kOpenFlags = O_CLOEXEC | O_NONBLOCK;

char const* open(char const* path, int flags, Descriptor& copy) {
  copy.reset(::open(path, flags | kOpenFlags, kOwnerOnly));
  return copy.isOpen() ? nullptr : "::open";
}

// Checks that the copy has the bytes that are asked for, and settles how many "to the end" are.
char const* fitSize(Descriptor const& copy, unsigned int offset, unsigned int& size) {
  struct stat state;
  if (::fstat(copy.get(), &state) != 0) return "::fstat";
  long const left = state.st_size - long{offset};
  if (left <= 0) return "offset";
  if (size == DbgCache::kToTheEnd) {
    if (left > long{std::numeric_limits<unsigned int>::max()}) return "offset+size";
    size = static_cast<unsigned int>(left);
  }
  return long{size} > left ? "offset+size" : nullptr;
}

char const* readBytes(Descriptor const& copy, unsigned int offset, unsigned int size,
                      std::unique_ptr<ByteString>& bytes) {
  if (::lseek(copy.get(), offset, SEEK_SET) != off_t{offset}) return "::lseek";
  bytes = std::make_unique<ByteString>(size);
  errno = 0;  // a read that comes short, of a copy that is being written, leaves it as it was
  return ::read(copy.get(), bytes->data(), size) == ssize_t{size} ? nullptr : "::read";
}

}  // namespace

char const* openNewCopy(char const* path, Descriptor& copy) {
  return open(path, O_WRONLY | O_CREAT | O_TRUNC, copy);
}

char const* writeCopy(Descriptor& copy, ByteString const& content) {
  constexpr char const* kFailed = "::write";
  errno = 0;  // a write that comes short, on a full disk, leaves it as it was
  if (::write(copy.get(), content.data(), content.length()) != content.length()) return kFailed;
  // Neither truncating nor writing touches the access time, and a copy just written is not old.
  timespec const times[] = {{0, UTIME_NOW}, {0, UTIME_OMIT}};
  static_cast<void>(::futimens(copy.get(), times));
  // A full disk behind a network may speak up only now.
  return copy.closeAndCheck() ? nullptr : kFailed;
}

char const* readCopy(char const* path, unsigned int offset, unsigned int size,
                     std::unique_ptr<ByteString>& bytes) {
  Descriptor copy;
  char const* failed = open(path, O_RDONLY, copy);
  if (failed == nullptr) failed = fitSize(copy, offset, size);
  if (failed == nullptr) failed = readBytes(copy, offset, size, bytes);
  return failed;
}

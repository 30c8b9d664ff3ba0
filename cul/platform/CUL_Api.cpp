#include "cul/platform/CUL_Api.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "cul/base/Descriptor.h"
#include "cul/platform/LINUX_Api.h"
#include "cul/platform/UNIX_ApiFailure.h"
#include "quonutil/text/EBCDICtableStore.h"

namespace {

constexpr int kSucceeded = 0;
constexpr int kFailed = 1;

int status(bool succeeded) { return succeeded ? kSucceeded : kFailed; }

ByteString systemBytes(EncodedString const& text) {
  return text.convert(EncodedString::kSystemText, nullptr);
}

int origin(CUL_Api::Whence whence) {
  switch (whence) {
    case CUL_Api::kFromStart: return SEEK_SET;
    case CUL_Api::kFromCurrent: return SEEK_CUR;
    case CUL_Api::kFromEnd: return SEEK_END;
  }
  return SEEK_SET;
}

}  // namespace

int CUL_Api::open(EncodedString const& path, int& fd) {
  fd = ::open(systemBytes(path).text(), O_RDONLY);
  return status(fd != -1);
}

int CUL_Api::close(int fd) { return status(::close(fd) == 0); }

int CUL_Api::read(int fd, void* buf, unsigned int size, int& count) {
  // The kernel moves less than 2^31 bytes a call, so the count fits.
  count = static_cast<int>(::read(fd, buf, size));
  return status(count != -1);
}

int CUL_Api::read(FileName const& name, ByteString& content, TimeDateStamp& stamp,
                  ByteString const* /*compare*/) {
  // Nobody outside sees this descriptor, so a child that is started meanwhile need not have it.
  Descriptor const file(::open(systemBytes(name).text(), O_RDONLY | O_CLOEXEC));
  if (!file.isOpen()) return kFailed;
  struct stat state;
  if (::fstat(file.get(), &state) != 0) return kFailed;
  if (state.st_size > std::numeric_limits<unsigned int>::max()) return kFailed;

  auto const size = static_cast<unsigned int>(state.st_size);
  ByteString bytes(size);
  ssize_t const count = ::read(file.get(), bytes.data(), size);
  // Only what the read left is blanked: a file read whole has each byte touched once.
  unsigned int const filled = count < 0 ? 0 : static_cast<unsigned int>(count);
  std::memset(bytes.data() + filled, ' ', size - filled);
  content = std::move(bytes);
  if (count != state.st_size) return kFailed;
  stamp = TimeDateStamp(state.st_mtime);
  return kSucceeded;
}

int CUL_Api::write(int fd, void const* buf, unsigned int size) {
  ssize_t const count = ::write(fd, buf, size);
  if (count == -1)
    UNIX_ApiFailure::throwException(CUL_ApiFailure::kErrno, static_cast<unsigned int>(errno),
                                    nullptr);
  return static_cast<int>(count);
}

int CUL_Api::lseek(int fd, long& offset, long distance, Whence whence) {
  offset = ::lseek(fd, distance, origin(whence));
  return status(offset != -1);
}

int CUL_Api::fstat(int fd, struct stat* buf) { return status(::fstat(fd, buf) == 0); }

int CUL_Api::filesize(int fd, long& size) {
  struct stat state;
  if (::fstat(fd, &state) != 0) return kFailed;
  size = state.st_size;
  return kSucceeded;
}

int CUL_Api::findFile(FileName const& name, EncodedString const& path, FileName& found) {
  found = FileName::findFile(name, path, false);
  return status(!found.isEmpty());
}

int CUL_Api::getenv(EncodedString const& name, EncodedString& value) {
  char const* const text = std::getenv(systemBytes(name).text());
  if (text == nullptr) return kFailed;
  value = EncodedString(text, EncodedString::kSystemText);
  return kSucceeded;
}

int CUL_Api::getpid() { return ::getpid(); }

int CUL_Api::getpid(int& pid) {
  pid = ::getpid();
  return status(pid != -1);
}

CUL_Api::CUL_Api() : CUL_Api(kDefaultApi, 0) {}

CUL_Api::CUL_Api(ApiType type, int flags) : apiType(type), flag(flags & 1) {}

CUL_Api::~CUL_Api() = default;

CUL_Api* CUL_Api::localApi() {
  static CUL_Api* local = nullptr;
  if (local == nullptr) local = new LINUX_Api(kLocalApi, 0);
  return local;
}

CUL_Api* CUL_Api::defaultApi(CUL_Api* api) { return api != nullptr ? api : localApi(); }

EBCDICtable const* CUL_Api::getEBCDICtable(char const* name) const {
  EBCDICtableStore const& store = *EBCDICtableStore::instance();
  EBCDICtable const* const table = store.find(name);
  return table != nullptr ? table : store.find(nullptr);
}

#include "quonutil/catalog/XPG4MsgServer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "quonutil/catalog/CatalogPaths.h"
#include "quonutil/catalog/CatalogView.h"

namespace {

// A file open for reading. A FIFO that somebody put there does not hold the engine up.
class File {
 public:
  explicit File(char const* path) noexcept : fd_(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  File(File const&) = delete;
  File& operator=(File const&) = delete;
  ~File() {
    if (fd_ >= 0) ::close(fd_);
  }

  // The file's size in bytes, or -1 when it is no ordinary file or too large for a catalog.
  long size() const noexcept {
    struct stat state;
    if (fd_ < 0 || ::fstat(fd_, &state) != 0 || !S_ISREG(state.st_mode)) return -1;
    return state.st_size > std::numeric_limits<unsigned int>::max() ? -1 : state.st_size;
  }

  // Fills `bytes` and returns how many came; what follows a failure is as good as not there.
  unsigned int read(ByteString& bytes) const noexcept {
    unsigned int filled = 0;
    while (filled < bytes.length()) {
      ssize_t const count = ::read(fd_, bytes.data() + filled, bytes.length() - filled);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) break;
      filled += static_cast<unsigned int>(count);
    }
    return filled;
  }

 private:
  int fd_;
};

// True when there is a catalog at `path`, whose bytes are then in `catalog`.
bool readCatalog(char const* path, ByteString& catalog) {
  File const file(path);
  long const size = file.size();
  if (size < 0) return false;
  ByteString bytes(static_cast<unsigned int>(size));
  bytes.cut(file.read(bytes));
  if (!CatalogView(bytes).isWhole()) return false;
  catalog = std::move(bytes);
  return true;
}

bool isPath(char const* name) { return std::strchr(name, '/') != nullptr; }

}  // namespace

XPG4MsgServer::XPG4MsgServer(char const* locale, char const* catalog)
    : name_(catalog, EncodedString::kLibraryText) {
  if (isPath(catalog)) {
    static_cast<void>(readCatalog(catalog, catalog_));
    return;
  }
  if (locale == nullptr) locale = std::setlocale(LC_MESSAGES, nullptr);
  if (isPath(locale)) return;
  CatalogPaths paths(locale, catalog);
  EncodedString path;
  while (paths.next(path)) {
    if (readCatalog(path.data(), catalog_)) return;
  }
}

XPG4MsgServer::~XPG4MsgServer() = default;

bool XPG4MsgServer::isOpen() const { return !catalog_.isEmpty(); }

EncodedString XPG4MsgServer::message(int set, int number) const {
  std::string_view const text = CatalogView(catalog_).find(set, number);
  if (text.data() != nullptr) {
    return EncodedString(text.data(), static_cast<unsigned int>(text.size()),
                         EncodedString::kLibraryText);
  }
  char missing[sizeof ": no message -2147483648 in set -2147483648"];
  std::snprintf(missing, sizeof missing, ": no message %d in set %d", number, set);
  return name_ + EncodedString(missing, EncodedString::kLibraryText);
}

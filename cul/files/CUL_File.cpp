#include "cul/files/CUL_File.h"

#include <cerrno>
#include <limits>
#include <utility>

// Keeps a file open as long as it lives: one that was closed is open for that time only.
class CUL_File::Opened {
 public:
  // All that opening and closing change may change in a constant file too.
  explicit Opened(CUL_File const& file)
      : file_(const_cast<CUL_File&>(file)), wasClosed_(file.fd == -1) {
    if (wasClosed_) file_.open();
  }
  Opened(Opened const&) = delete;
  Opened& operator=(Opened const&) = delete;
  ~Opened() {
    int const error = errno;  // of what failed while it was open
    if (wasClosed_) file_.close();
    errno = error;
  }

 private:
  CUL_File& file_;
  bool wasClosed_;
};

CUL_File::CUL_File(EncodedString const& name, int descriptor)
    : FileName(name), mapManager(nullptr), position(-1), fd(descriptor), readFlag(0) {}

CUL_File::CUL_File(FileName const& name, int descriptor)
    : FileName(name), mapManager(nullptr), position(-1), fd(descriptor), readFlag(0) {}

CUL_File::~CUL_File() {
  delete mapManager;
  mapManager = nullptr;
  close();
}

bool CUL_File::open() {
  if (fd != -1) return true;
  if (CUL_Api::open(*this, fd) != 0) {
    position = -1;
    return false;
  }
  readFlag = 0;
  position = 0;
  return true;
}

void CUL_File::close() {
  if (fd != -1) {
    delete mapManager;
    mapManager = nullptr;
    CUL_Api::close(fd);
    fd = -1;
  }
  position = -1;
}

int CUL_File::find(EncodedString const& path) {
  if (fd != -1) return -1;
  FileName found;
  if (CUL_Api::findFile(*this, path, found) != 0) return -1;
  if (!found.hasFilePart()) return 1;
  FileName::operator=(found);
  return 0;
}

int CUL_File::fstat(struct stat& buf) const {
  return fd != -1 && CUL_Api::fstat(fd, &buf) == 0 ? 0 : -1;
}

long CUL_File::lseek(long distance, CUL_Api::Whence whence) {
  if (fd == -1) return -1;
  if (whence == CUL_Api::kFromStart && position != -1 && position == distance) return position;
  // A failed one sets the position to -1: it is unknown.
  static_cast<void>(CUL_Api::lseek(fd, position, distance, whence));
  return position;
}

long CUL_File::filesize() const {
  Opened const opened(*this);
  long size = -1;
  if (fd != -1 && CUL_Api::filesize(fd, size) != 0) size = -1;
  return size;
}

int CUL_File::read(void* buf, int size, long at) {
  if (size < 0) return -1;
  if (at != -1 && lseek(at, CUL_Api::kFromStart) == -1) return -1;
  if (fd == -1) return -1;
  int count = -1;
  bool const failed = CUL_Api::read(fd, buf, static_cast<unsigned int>(size), count) != 0;
  if (failed && readFlag == 0) position = -1;
  if (position != -1) position += count;
  return count;
}

int CUL_File::read(ByteString& out, int size, long at) {
  if (size < 0) return -1;
  ByteString bytes(static_cast<unsigned int>(size));
  int const count = read(bytes.data(), size, at);
  if (count == -1) return -1;
  auto const length = static_cast<unsigned int>(count);
  if (count < size / 2) {  // the room that was not needed goes
    out = ByteString(bytes.data(), length);
  } else {
    bytes.cut(length);
    out = std::move(bytes);
  }
  return count;
}

TimeDateStamp CUL_File::timeDateStamp() const {
  Opened const opened(*this);
  struct stat state;
  return fstat(state) == 0 ? TimeDateStamp(state.st_mtime) : TimeDateStamp();
}

void* CUL_File::createMemoryMap(long offset, long length) {
  if (mapManager == nullptr) mapManager = MemoryMapManager::create();
  if (length < 0 || length > long{std::numeric_limits<unsigned int>::max()}) return nullptr;
  return mapManager->createMap(offset, static_cast<unsigned int>(length), fd);
}

int CUL_File::removeMemoryMap(void* address) {
  if (mapManager == nullptr) return 1;
  mapManager->removeMap(address);
  return 0;
}

CUL_File::MemoryMapManager::~MemoryMapManager() = default;

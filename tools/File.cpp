#include "File.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "Arguments.h"

File::File(std::string const& path) : path_(path) {
  constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
  fd_ = ::open(path.c_str(), kFlags | O_NOATIME);
  if (fd_ < 0 && errno == EPERM) fd_ = ::open(path.c_str(), kFlags);
  if (fd_ < 0) throw systemFailure(path);
}

File::~File() { ::close(fd_); }

std::size_t File::read(char* bytes, std::size_t size) const {
  ssize_t const count = ::read(fd_, bytes, size);
  if (count < 0) throw systemFailure(path_);
  return static_cast<std::size_t>(count);
}

std::string contentOf(std::string const& path) {
  File const file(path);
  std::string content;
  char piece[65'536];
  while (std::size_t const count = file.read(piece, sizeof piece)) content.append(piece, count);
  return content;
}

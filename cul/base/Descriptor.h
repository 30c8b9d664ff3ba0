#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

/// Owns a file descriptor and closes it on every path, keeping errno.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) noexcept : fd_(fd) {}
  Descriptor(Descriptor const&) = delete;
  Descriptor& operator=(Descriptor const&) = delete;
  ~Descriptor() { reset(); }

  bool operator!() const = delete;  // 0 is a descriptor
  bool isOpen() const noexcept { return fd_ >= 0; }
  int get() const noexcept { return fd_; }

  [[nodiscard]] int release() noexcept { return std::exchange(fd_, -1); }

  void reset(int fd = -1) noexcept {
    int const old = std::exchange(fd_, fd);
    if (old < 0) return;
    int const error = errno;
    // Never again, whatever the result: the number may be another thread's by then.
    static_cast<void>(::close(old));
    errno = error;
  }

  /// Closes and tells the result: for a writer, to whom close may report what write did not.
  [[nodiscard]] bool closeAndCheck() noexcept { return ::close(release()) == 0; }

 private:
  int fd_;
};

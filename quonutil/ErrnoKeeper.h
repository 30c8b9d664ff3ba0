#pragma once

#include <cerrno>

/// Puts errno back to what it was, for the likes of texts and traces, which come between a call
/// that failed and whoever asks why.
class ErrnoKeeper {
 public:
  ErrnoKeeper() noexcept : error_(errno) {}
  ErrnoKeeper(ErrnoKeeper const&) = delete;
  ErrnoKeeper& operator=(ErrnoKeeper const&) = delete;
  ~ErrnoKeeper() { errno = error_; }

 private:
  int error_;
};

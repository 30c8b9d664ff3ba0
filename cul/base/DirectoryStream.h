#pragma once

#include <dirent.h>

/// Owns an open directory and closes it on every path.
class DirectoryStream {
 public:
  explicit DirectoryStream(char const* path) noexcept : stream_(::opendir(path)) {}
  DirectoryStream(DirectoryStream const&) = delete;
  DirectoryStream& operator=(DirectoryStream const&) = delete;
  ~DirectoryStream() {
    if (stream_ != nullptr) ::closedir(stream_);
  }

  bool isOpen() const noexcept { return stream_ != nullptr; }
  int descriptor() const noexcept { return ::dirfd(stream_); }

  /// The next entry's name, "." and ".." included; null at the end and when the directory can be
  /// read no further. Borrowed until the next call.
  char const* next() noexcept {
    dirent const* const entry = ::readdir(stream_);
    return entry == nullptr ? nullptr : entry->d_name;
  }

 private:
  DIR* stream_;
};

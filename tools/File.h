#pragma once

#include <string>

/// A file to be read from its beginning. Its access time stays, where the system lets this user
/// have it so. Failures are thrown.
class File {
 public:
  explicit File(std::string const& path);
  File(File const&) = delete;
  File& operator=(File const&) = delete;
  ~File();

  /// Up to `size` bytes; 0 at the end.
  std::size_t read(char* bytes, std::size_t size) const;

 private:
  std::string path_;
  int fd_;
};

std::string contentOf(std::string const& path);

#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

/// Where the files of a benchmark lie: a directory of its own, removed with the object.
class Scratch {
 public:
  /// On a disk, or on a memory file system.
  enum Place : int { kDisk, kMemory };

  explicit Scratch(Place place)
      : path_(place == kDisk ? "/var/tmp/cul-bench.XXXXXX" : "/dev/shm/cul-bench.XXXXXX") {
    if (::mkdtemp(path_.data()) == nullptr) throw std::system_error(errno, std::generic_category());
  }
  Scratch(Scratch const&) = delete;
  Scratch& operator=(Scratch const&) = delete;
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::string const& path() const { return path_; }

 private:
  std::string path_;
};

#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

/// A directory of our own among the temporary ones, gone with everything in it when this goes.
class Scratch {
 public:
  Scratch() : path_((std::filesystem::temp_directory_path() / "cul-demo.XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) {
      throw std::system_error(errno, std::generic_category(), path_);
    }
  }
  Scratch(Scratch const&) = delete;
  Scratch& operator=(Scratch const&) = delete;
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::string file(char const* name) const { return path_ + '/' + name; }

  /// Makes a directory in it.
  std::string directory(char const* name) const {
    std::filesystem::create_directory(file(name));
    return file(name);
  }

 private:
  std::string path_;
};

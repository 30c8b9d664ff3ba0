#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

/// A directory of our own among the temporary ones. A process of its own, the keeper, makes it, and
/// removes it with everything in it when this object goes, or this process, by whatever signal.
/// Made before any other thread.
class Scratch {
 public:
  Scratch();
  Scratch(Scratch const&) = delete;
  Scratch& operator=(Scratch const&) = delete;
  ~Scratch() { remove(); }

  std::string file(char const* name) const { return path_ + '/' + name; }

  /// Makes a directory in it.
  std::string directory(char const* name) const {
    std::filesystem::create_directory(file(name));
    return file(name);
  }

  /// Has everything removed and waits for it. Returns whether nothing is left.
  bool remove();

 private:
  std::string path_;
  pid_t keeper_;
  int end_;  // our end of the connection with the keeper; -1 when that has gone
};

#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "quonutil/names/FileName.h"

inline EncodedString text(std::string const& bytes) {
  return EncodedString(bytes.data(), static_cast<unsigned int>(bytes.size()),
                       EncodedString::kLibraryText);
}
inline FileName fileName(std::string const& bytes) { return FileName(text(bytes)); }
inline std::string bytesOf(EncodedString const& text) { return {text.data(), text.length()}; }
inline std::string bytesOf(ByteString const& bytes) { return {bytes.text(), bytes.length()}; }

/// A directory that goes with its contents.
class Scratch {
 public:
  Scratch() {
    if (::mkdtemp(path_.data()) == nullptr) std::abort();
  }
  Scratch& operator=(Scratch&&) = delete;  // nor is it copied
  ~Scratch() { std::filesystem::remove_all(path_); }

  std::string path(std::string const& name = "") const {
    return name.empty() ? path_ : path_ + "/" + name;
  }
  std::string write(std::string const& name, std::string const& content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
  }
  std::string read(std::string const& name) const {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::set<std::string> names() const {
    std::set<std::string> found;
    for (auto const& entry : std::filesystem::directory_iterator(path_)) {
      found.insert(entry.path().filename());
    }
    return found;
  }

 private:
  std::string path_ = std::filesystem::temp_directory_path() / "cul-test-XXXXXX";
};

inline unsigned int openDescriptors() {
  auto const all = std::filesystem::directory_iterator("/proc/self/fd");
  return static_cast<unsigned int>(std::distance(begin(all), end(all)));
}

/// Runs `body` in a child, where it may drop rights and set limits, and gives back what it returns.
template <class Body>
int inChild(Body body) {
  pid_t const child = ::fork();
  if (child == 0) ::_exit(body());
  int status = -1;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

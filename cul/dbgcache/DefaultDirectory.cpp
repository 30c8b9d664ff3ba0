#include "cul/dbgcache/DefaultDirectory.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <memory>

namespace {

constexpr std::size_t kPasswordBuffer = 60000;
constexpr mode_t kOwnerOnly = 0700;

EncodedString homeFromPasswordDatabase() {
  std::unique_ptr<char[]> const buffer(new char[kPasswordBuffer]);
  passwd entry;
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.get(), kPasswordBuffer, &found) != 0) return {};
  if (found == nullptr || found->pw_dir == nullptr) return {};
  return EncodedString(found->pw_dir, EncodedString::kSystemText);
}

EncodedString homeDirectory() {
  char const* const home = std::getenv("HOME");
  if (home != nullptr && *home != '\0') return EncodedString(home, EncodedString::kSystemText);
  return homeFromPasswordDatabase();
}

// Two debuggers that start for the first time at once both find it missing: the one whose mkdir
// comes second looks again.
bool existsOrIsMade(char const* path) {
  if (directoryExists(path) || ::mkdir(path, kOwnerOnly) == 0) return true;
  return errno == EEXIST && directoryExists(path);
}

}  // namespace

bool directoryExists(char const* path) {
  struct stat state;
  return ::stat(path, &state) == 0 && S_ISDIR(state.st_mode);
}

EncodedString defaultDirectory() {
  EncodedString directory = homeDirectory();
  if (directory.isEmpty()) return {};
  directory.endIn('/');
  if (!directoryExists(directory.data())) return {};
  directory += EncodedString(".vexcorlz/", EncodedString::kLibraryText);
  if (!existsOrIsMade(directory.data())) return {};
  return directory;
}

#include "CacheDirectory.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include "Arguments.h"

namespace {

// As the cache chooses it, but nothing is made.
std::string defaultDirectory() {
  char const* home = std::getenv("HOME");
  if (home == nullptr || *home == '\0') {
    passwd const* const user = ::getpwuid(::getuid());
    home = user == nullptr ? nullptr : user->pw_dir;
  }
  if (home == nullptr || *home == '\0') throw Failure("there is no home directory");
  return std::string(home) + (std::string_view(home).ends_with('/') ? "" : "/") + ".vexcorlz/";
}

bool isDigest(std::string_view text) {
  return text.size() == 32 && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

}  // namespace

CacheDirectory::CacheDirectory(std::string const& path)
    : path_(path.empty() ? defaultDirectory() : path) {
  if (!path_.ends_with('/')) path_ += '/';
}

bool CacheDirectory::exists() const {
  std::error_code ignored;
  return std::filesystem::is_directory(path_, ignored);
}

std::vector<Entry> CacheDirectory::entries() const {
  std::error_code error;
  std::vector<Entry> entries;
  std::filesystem::directory_iterator files(path_, error);
  for (; !error && files != end(files); files.increment(error)) {
    entries.push_back(entry(files->path().filename()));
  }
  if (error) throw Failure(path_ + ": " + error.message());
  std::sort(entries.begin(), entries.end(),
            [](Entry const& left, Entry const& right) { return left.file < right.file; });
  return entries;
}

std::vector<Entry> CacheDirectory::copies() const {
  auto all = entries();
  std::erase_if(all, [](Entry const& each) { return !each.isThere || each.isDirectory(); });
  return all;
}

Entry CacheDirectory::entry(std::string const& file) const {
  Entry entry{file, file, ""};
  std::size_t const dot = file.rfind('.');
  if (dot != std::string::npos && isDigest(std::string_view(file).substr(dot + 1))) {
    entry.name = file.substr(0, dot);
    entry.digest = file.substr(dot + 1);
  }
  entry.isThere = ::stat((path_ + file).c_str(), &entry.state) == 0;
  return entry;
}

#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

/// What a cache directory has under one name. Links are followed, as the cache follows them.
struct Entry {
  std::string file;          ///< its name in the directory
  std::string name, digest;  ///< of what it is a copy; no digest: none in its name
  bool isThere = false;      ///< false for a link to nothing
  struct stat state = {};

  bool isDirectory() const { return isThere && S_ISDIR(state.st_mode); }
  std::uint64_t size() const { return static_cast<std::uint64_t>(state.st_size); }
};

/// What the removal by age takes at one moment. The limit is a product of 32 bits that wraps, as
/// the library's is.
struct AgeRule {
  explicit AgeRule(std::uint32_t hours)
      : now(std::time(nullptr)), limit(std::uint32_t{hours * 3600}) {}

  bool takes(Entry const& entry) const {
    return entry.isThere && !entry.isDirectory() && ageOf(entry) > limit;
  }
  std::int64_t ageOf(Entry const& entry) const { return now - entry.state.st_atime; }

  std::time_t now;
  std::int64_t limit;  // seconds
};

/// Looks at a cache directory and changes nothing. (Making a DbgCache removes what is old.)
class CacheDirectory {
 public:
  static constexpr std::uint32_t kDefaultHours = 48;

  /// An empty path is the user's own directory. It need not be there.
  explicit CacheDirectory(std::string const& path);

  /// Ends in "/".
  std::string const& path() const { return path_; }
  bool exists() const;

  /// In the order of their names. Throws Failure when the directory cannot be read.
  std::vector<Entry> entries() const;
  /// Those that are no directories, and no links to nothing.
  std::vector<Entry> copies() const;
  Entry entry(std::string const& file) const;

 private:
  std::string path_;
};

#include "quonutil/names/SearchTree.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace {

struct Close {
  void operator()(DIR* stream) const noexcept { ::closedir(stream); }
};
using Stream = std::unique_ptr<DIR, Close>;

// Null when the directory cannot be opened.
Stream openDirectory(int above, char const* name, int flags) {
  int const fd = ::openat(above, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags);
  if (fd < 0) return nullptr;
  Stream stream(::fdopendir(fd));
  if (stream == nullptr) ::close(fd);
  return stream;
}

bool isSelfOrParent(char const* name) {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

// Whether there is a directory of that name, which is no link to one.
bool isDirectory(int above, dirent const& entry) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
  struct stat state;
  return ::fstatat(above, entry.d_name, &state, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(state.st_mode);
}

// Whether there is a file of that name, or a link to one. It is no directory itself.
bool isFile(int above, dirent const& entry) {
  if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK) return true;
  struct stat state;
  return ::fstatat(above, entry.d_name, &state, 0) == 0 && !S_ISDIR(state.st_mode);
}

// Names that are kept side by side, so that a directory with many costs no allocation each.
class Names {
 public:
  unsigned long count() const noexcept { return starts_.size(); }
  unsigned long bytes() const noexcept { return bytes_.size(); }
  char const* operator[](unsigned long index) const { return bytes_.data() + starts_[index]; }

  void add(char const* name) {
    starts_.push_back(bytes_.size());
    bytes_.insert(bytes_.end(), name, name + std::strlen(name) + 1);
  }
  void sortFrom(unsigned long first) {
    std::sort(starts_.begin() + static_cast<long>(first), starts_.end(),
              [this](unsigned long left, unsigned long right) {
                return std::strcmp(&bytes_[left], &bytes_[right]) < 0;
              });
  }
  // Goes back to the first `count` names, which took `bytes` bytes.
  void cut(unsigned long count, unsigned long bytes) {
    starts_.resize(count);
    bytes_.resize(bytes);
  }

 private:
  std::vector<char> bytes_;
  std::vector<unsigned long> starts_;
};

// A walk through a tree, and what it is after: `wants` tells the names, `take` gets the names of
// the files that one directory has of them and tells whether that was all. Levels are kept in a
// list, not on the stack: a tree may be deeper than a thread's stack.
class Walk {
 public:
  explicit Walk(EncodedString const& root) : path_(root) {}
  Walk(Walk const&) = delete;
  Walk& operator=(Walk const&) = delete;
  virtual ~Walk() = default;

  void run() {
    bool over = enter(openDirectory(AT_FDCWD, path_.data(), 0), path_.length());
    while (!over && !levels_.empty()) {
      Level& level = levels_.back();
      if (level.next == level.end) {
        leave();
      } else {
        over = descend(level, below_[level.next++]);
      }
    }
  }

 protected:
  virtual bool wants(std::string_view name) const = 0;
  virtual bool take(Names& names) = 0;

  FileName fullName(char const* name) const {
    EncodedString full = path_;
    full.append(name, static_cast<unsigned int>(std::strlen(name)));
    return full;
  }

 private:
  struct Level {
    Stream stream;
    unsigned long first, bytes;  // what `below_` held before
    unsigned long next, end;     // directories in it that are yet to be visited
    unsigned int pathAbove;      // length of the path of the level above
  };

  // These two are true when the walk is over.
  bool descend(Level const& above, char const* name) {
    Stream stream = openDirectory(::dirfd(above.stream.get()), name, O_NOFOLLOW);
    if (stream == nullptr) return false;
    unsigned int const pathAbove = path_.length();
    path_.append(name, static_cast<unsigned int>(std::strlen(name)));
    path_.append("/", 1);
    return enter(std::move(stream), pathAbove);
  }

  bool enter(Stream stream, unsigned int pathAbove) {
    if (stream == nullptr) return false;
    unsigned long const first = below_.count(), bytes = below_.bytes();
    if (takeFiles(stream.get())) return true;
    below_.sortFrom(first);
    levels_.push_back({std::move(stream), first, bytes, first, below_.count(), pathAbove});
    return false;
  }

  void leave() {
    Level const& level = levels_.back();
    below_.cut(level.first, level.bytes);
    path_.cut(level.pathAbove);
    levels_.pop_back();
  }

  // Takes the files that are wanted, and notes the directories.
  bool takeFiles(DIR* stream) {
    int const descriptor = ::dirfd(stream);
    while (dirent const* const entry = ::readdir(stream)) {
      if (isDirectory(descriptor, *entry)) {
        if (!isSelfOrParent(entry->d_name)) below_.add(entry->d_name);
      } else if (wants(entry->d_name) && isFile(descriptor, *entry)) {
        wanted_.add(entry->d_name);
      }
    }
    bool const over = wanted_.count() != 0 && take(wanted_);
    wanted_.cut(0, 0);
    return over;
  }

  EncodedString path_;         // of the directory that is being visited; ends in "/"
  std::vector<Level> levels_;  // from the root to that directory
  Names below_;                // directories that are yet to be visited, and are being
  Names wanted_;               // files of the directory that is being visited
};

class FirstOfOneName : public Walk {
 public:
  FirstOfOneName(EncodedString const& root, FileName const& name)
      : Walk(root), name_(name.data(), name.length()) {}

  FileName found;

 private:
  bool wants(std::string_view name) const override { return name == name_; }
  bool take(Names& names) override {
    found = fullName(names[0]);
    return true;
  }

  std::string_view name_;
};

class AllOfManyNames : public Walk {
 public:
  AllOfManyNames(EncodedString const& root, List<FileName*> const& wanted, List<FileName*>& found,
                 int& counter)
      : Walk(root), found_(found), counter_(counter) {
    texts_.reserve(wanted.count());
    for (unsigned int i = 0; i < wanted.count(); ++i) texts_.push_back(wanted[i]->short_name());
    for (auto const& text : texts_) names_.emplace_back(text.data(), text.length());
    std::sort(names_.begin(), names_.end());
  }

 private:
  bool wants(std::string_view name) const override {
    return std::binary_search(names_.begin(), names_.end(), name);
  }
  bool take(Names& names) override {
    names.sortFrom(0);
    for (unsigned long i = 0; i != names.count(); ++i) {
      auto name = std::make_unique<FileName>(fullName(names[i]));
      found_.append(name.get());
      static_cast<void>(name.release());
      ++counter_;
    }
    return false;
  }

  List<FileName*>& found_;
  int& counter_;
  std::vector<EncodedString> texts_;
  std::vector<std::string_view> names_;  // sorted
};

}  // namespace

SearchTree::SearchTree(FileName const& root) : root_(root) {
  if (root_.isEmpty()) root_.append(".", 1);
  root_.endIn('/');
}

FileName SearchTree::search(FileName const& wanted) const {
  FirstOfOneName walk(root_, wanted);
  if (!wanted.isEmpty()) walk.run();
  return walk.found;
}

void SearchTree::searchRecursiveComplete(List<FileName*> const& wanted, List<FileName*>& found,
                                         int* counter) const {
  int unasked = 0;
  AllOfManyNames(root_, wanted, found, counter == nullptr ? unasked : *counter).run();
}

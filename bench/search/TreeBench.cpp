// Searching a tree for a name that is not there, so that all of it is visited: two thousand
// directories with fifty thousand files, in the system's cache. Everything is measured in processor
// time, that of a child included. A row fails when its subject does not find a file that is there.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <fts.h>
#include <ftw.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "bench/support/Scratch.h"
#include "llvm/Support/FileSystem.h"
#include "llvm/Support/Path.h"
#include "quonutil/names/SearchTree.h"

namespace {

constexpr int kDirectories = 2'000;
constexpr int kFilesEach = 25;
constexpr int kFanOut = 8;

constexpr char kAbsent[] = "module_00000_99.cpp";

// Directories in directories, five levels of them.
class Tree {
 public:
  explicit Tree(Scratch::Place place) : scratch_(place) {
    std::vector<std::string> directories = {scratch_.path()};
    for (int i = 0; i < kDirectories; ++i) {
      if (i != 0) {
        std::string const& above = directories[static_cast<unsigned>(i - 1) / kFanOut];
        directories.push_back(above + "/part_" + std::to_string(10'000 + i));
        std::filesystem::create_directory(directories.back());
      }
      for (int file = 0; file < kFilesEach; ++file) {
        char name[32];
        std::snprintf(name, sizeof name, "module_%05d_%02d.cpp", i, file);
        last_ = name;
        int const fd = ::open((directories.back() + "/" + name).c_str(),
                              O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0) throw std::runtime_error("cannot make the files");
        ::close(fd);
      }
    }
    directory_ = directories.back();
  }

  std::string const& root() const { return scratch_.path(); }
  std::string const& last() const { return last_; }
  std::string lastFile() const { return directory_ + "/" + last_; }

 private:
  Scratch scratch_;
  std::string directory_;  // made last
  std::string last_;       // the name of a file in it
};

Tree const& tree(Scratch::Place place) {
  if (place == Scratch::kDisk) {
    static Tree const disk(place);
    return disk;
  }
  static Tree const memory(place);
  return memory;
}

// The subjects: each gives the full name of a file called `name`, or nothing.

std::string cul(std::string const& root, std::string const& name) {
  SearchTree const tree(EncodedString(root.c_str(), EncodedString::kSystemText));
  return tree.search(EncodedString(name.c_str(), EncodedString::kSystemText)).data();
}

class ByReaddir {
 public:
  explicit ByReaddir(int fd) : stream_(::fdopendir(fd)) {}
  ByReaddir(ByReaddir const&) = delete;
  ByReaddir& operator=(ByReaddir const&) = delete;
  ~ByReaddir() { ::closedir(stream_); }
  dirent const* next() { return ::readdir(stream_); }

 private:
  DIR* stream_;
};

// One buffer for all: a directory is read to its end before the next is opened.
class ByGetdents {
 public:
  explicit ByGetdents(int fd) : fd_(fd) {}
  ByGetdents(ByGetdents const&) = delete;
  ByGetdents& operator=(ByGetdents const&) = delete;
  ~ByGetdents() { ::close(fd_); }
  dirent64 const* next() {
    if (at_ == end_) {
      at_ = buffer_;
      end_ = buffer_ + std::max(::getdents64(fd_, buffer_, sizeof buffer_), ssize_t{0});
      if (at_ == end_) return nullptr;
    }
    auto const* const entry = reinterpret_cast<dirent64 const*>(at_);
    at_ += entry->d_reclen;
    return entry;
  }

 private:
  alignas(dirent64) inline static char buffer_[256 << 10];
  int fd_;
  char const* at_ = buffer_;
  char const* end_ = buffer_;
};

// What anybody would write who wants the order of ours: first what a directory holds itself, then
// the directories in it, by name.
template <class Entries>
bool walk(int above, char const* directory, std::string& path, std::string const& name) {
  int const fd = ::openat(above, directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return false;
  Entries entries(fd);
  std::vector<std::string> below;
  while (auto const* const entry = entries.next()) {
    char const* const its = entry->d_name;
    if (entry->d_type == DT_DIR) {
      if (std::strcmp(its, ".") != 0 && std::strcmp(its, "..") != 0) below.emplace_back(its);
    } else if (name == its) {
      path += "/" + name;
      return true;
    }
  }
  std::sort(below.begin(), below.end());
  for (auto const& next : below) {
    auto const length = path.size();
    path.append("/").append(next);
    if (walk<Entries>(fd, next.c_str(), path, name)) return true;
    path.resize(length);
  }
  return false;
}

template <class Entries>
std::string byHand(std::string const& root, std::string const& name) {
  std::string path = root;
  return walk<Entries>(AT_FDCWD, root.c_str(), path, name) ? path : std::string();
}

std::string find(std::string const& root, std::string const& name) {
  std::string program = "find", path = root, option = "-name", wanted = name;
  char* arguments[] = {program.data(), path.data(), option.data(), wanted.data(), nullptr};
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return "";
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  pid_t child = 0;
  int const error = ::posix_spawnp(&child, arguments[0], &actions, nullptr, arguments, environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  char line[4096];
  ssize_t const count = error == 0 ? ::read(ends[0], line, sizeof line) : 0;
  ::close(ends[0]);
  if (error == 0) ::waitpid(child, nullptr, 0);
  return count > 0 ? std::string(line, static_cast<unsigned long>(count) - 1) : "";
}

std::string fts(std::string const& root, std::string const& name) {
  std::string path = root, found;
  char* const roots[] = {path.data(), nullptr};
  FTS* const stream = ::fts_open(roots, FTS_PHYSICAL | FTS_NOSTAT | FTS_NOCHDIR, nullptr);
  while (FTSENT const* const entry = ::fts_read(stream)) {
    if (entry->fts_info == FTS_D || entry->fts_info == FTS_DP) continue;
    if (name == entry->fts_name) {
      found = entry->fts_path;
      break;
    }
  }
  ::fts_close(stream);
  return found;
}

std::string nftw(std::string const& root, std::string const& name) {
  static std::string const* wanted;  // it hands nothing on to its function
  static std::string found;
  wanted = &name;
  found.clear();
  auto const visit = [](char const* path, struct stat const*, int type, FTW* at) {
    if (type == FTW_D || *wanted != path + at->base) return 0;
    found = path;
    return 1;
  };
  ::nftw(root.c_str(), visit, 64, FTW_PHYS);
  return found;
}

std::string filesystem(std::string const& root, std::string const& name) {
  std::filesystem::path const wanted = name;
  for (auto const& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (entry.path().filename() == wanted && !entry.is_directory()) return entry.path();
  }
  return "";
}

std::string llvmIterator(std::string const& root, std::string const& name) {
  using llvm::sys::fs::recursive_directory_iterator;
  std::error_code error;
  recursive_directory_iterator entry(root, error, false), end;
  for (; !error && entry != end; entry.increment(error)) {
    if (llvm::sys::path::filename(entry->path()) == name &&
        entry->type() != llvm::sys::fs::file_type::directory_file) {
      return entry->path();
    }
  }
  return "";
}

double cpuSeconds() {
  double seconds = 0;
  for (auto const who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage used = {};
    ::getrusage(who, &used);
    for (timeval const& time : {used.ru_utime, used.ru_stime}) {
      seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    }
  }
  return seconds;
}

using Subject = std::string (*)(std::string const&, std::string const&);

void search(benchmark::State& state, Subject subject, Scratch::Place place) {
  Tree const& files = tree(place);
  if (subject(files.root(), files.last()) != files.lastFile()) {
    state.SkipWithError("does not find what is there");
  }
  for (auto _ : state) {
    double const begin = cpuSeconds();
    std::string const found = subject(files.root(), kAbsent);
    state.SetIterationTime(cpuSeconds() - begin);
    if (!found.empty()) state.SkipWithError("finds what is not there");
  }
}

// Each run by itself, shuffled, so that a shared machine's slow moments fall on all rows alike.
void often(benchmark::internal::Benchmark* row) {
  row->Iterations(1)->Repetitions(21)->UseManualTime()->Unit(benchmark::kMillisecond);
}

// On a disk's file system.
constexpr auto kDisk = Scratch::kDisk;
BENCHMARK_CAPTURE(search, cul, cul, kDisk)->Name("search.disk/cul")->Apply(often);
BENCHMARK_CAPTURE(search, readdir, byHand<ByReaddir>, kDisk)
    ->Name("search.disk/readdir")
    ->Apply(often);
BENCHMARK_CAPTURE(search, getdents, byHand<ByGetdents>, kDisk)
    ->Name("search.disk/getdents")
    ->Apply(often);
BENCHMARK_CAPTURE(search, find, find, kDisk)->Name("search.disk/find")->Apply(often);
BENCHMARK_CAPTURE(search, fts, fts, kDisk)->Name("search.disk/fts")->Apply(often);
BENCHMARK_CAPTURE(search, nftw, nftw, kDisk)->Name("search.disk/nftw")->Apply(often);
BENCHMARK_CAPTURE(search, fs, filesystem, kDisk)->Name("search.disk/fs")->Apply(often);
BENCHMARK_CAPTURE(search, llvm, llvmIterator, kDisk)->Name("search.disk/llvm")->Apply(often);

// On a memory file system, which leaves least to wait for.
constexpr auto kMemory = Scratch::kMemory;
BENCHMARK_CAPTURE(search, cul, cul, kMemory)->Name("search.memory/cul")->Apply(often);
BENCHMARK_CAPTURE(search, readdir, byHand<ByReaddir>, kMemory)
    ->Name("search.memory/readdir")
    ->Apply(often);
BENCHMARK_CAPTURE(search, getdents, byHand<ByGetdents>, kMemory)
    ->Name("search.memory/getdents")
    ->Apply(often);
BENCHMARK_CAPTURE(search, find, find, kMemory)->Name("search.memory/find")->Apply(often);
BENCHMARK_CAPTURE(search, fts, fts, kMemory)->Name("search.memory/fts")->Apply(often);
BENCHMARK_CAPTURE(search, nftw, nftw, kMemory)->Name("search.memory/nftw")->Apply(often);
BENCHMARK_CAPTURE(search, fs, filesystem, kMemory)->Name("search.memory/fs")->Apply(often);
BENCHMARK_CAPTURE(search, llvm, llvmIterator, kMemory)->Name("search.memory/llvm")->Apply(often);

}  // namespace

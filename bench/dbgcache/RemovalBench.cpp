// The removal by age over a directory of a hundred thousand files, held against the system calls
// that nobody can do without, and against what a programmer would reach for instead. Everything is
// measured in processor time, that of a child included: nobody waits for a disk here. A row that
// leaves a file it should remove, or removes one it should leave, fails.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "bench/support/Scratch.h"
#include "cul/dbgcache/DbgCacheUnix.h"
#include "llvm/ADT/StringRef.h"
#include "llvm/Support/CachePruning.h"
#include "quonutil/settings/DebuggerParameters.h"

namespace {

constexpr int kFiles = 100'000;
constexpr unsigned int kHours = 48;

class Cache final : public DbgCacheUnix {};

// A cache of its own, and the files in it. They are called what the one peer insists on.
class Tree {
 public:
  explicit Tree(Scratch::Place place) : scratch_(place) {
    EncodedString const directory(path().c_str(), EncodedString::kSystemText);
    DebuggerParameters::instance()->setParm(DebuggerParameters::kCacheParameter, directory);
    cache_ = std::make_unique<Cache>();
  }

  std::string const& path() const { return scratch_.path(); }
  Cache& cache() const { return *cache_; }

  // Empty files, last accessed and written that many seconds ago.
  void fill(std::time_t age) const {
    timespec const past = {std::time(nullptr) - age, 0};
    timespec const times[] = {past, past};
    for (int i = 0; i < kFiles; ++i) {
      char name[32];
      std::snprintf(name, sizeof name, "/llvmcache-%06d", i);
      int const fd = ::open((path() + name).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
      if (fd < 0 || ::futimens(fd, times) != 0) throw std::runtime_error("cannot make the files");
      ::close(fd);
    }
  }

  std::ptrdiff_t files() const {
    ::unlink((path() + "/llvmcache.timestamp").c_str());  // that peer's own
    std::filesystem::directory_iterator const all(path());
    return std::distance(begin(all), end(all));
  }

 private:
  Scratch scratch_;
  std::unique_ptr<Cache> cache_;
};

// The subjects: each removes what was not accessed for kHours.

void cul(Tree const& tree) { tree.cache().remove(kHours); }

void syscalls(Tree const& tree) {
  std::time_t const limit = std::time(nullptr) - std::time_t{kHours} * 3600;
  int const fd = ::openat(AT_FDCWD, tree.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* const stream = ::fdopendir(fd);
  while (dirent const* const entry = ::readdir(stream)) {
    struct stat state;
    if (::fstatat(fd, entry->d_name, &state, 0) != 0 || S_ISDIR(state.st_mode)) continue;
    if (state.st_atime < limit) ::unlinkat(fd, entry->d_name, 0);
  }
  ::closedir(stream);
}

void find(Tree const& tree) {
  std::string program = "find", path = tree.path(), depth = "-maxdepth", one = "1", no = "!";
  std::string type = "-type", directory = "d", minutes = "-amin", drop = "-delete";
  std::string limit = "+" + std::to_string(kHours * 60);
  char* arguments[] = {program.data(), path.data(), depth.data(),     one.data(),
                       no.data(),      type.data(), directory.data(), minutes.data(),
                       limit.data(),   drop.data(), nullptr};
  pid_t child = 0;
  if (::posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments, environ) != 0) return;
  ::waitpid(child, nullptr, 0);
}

// It does not know the time of the last access: the last modification has to do.
void filesystem(Tree const& tree) {
  auto const limit = std::filesystem::file_time_type::clock::now() - std::chrono::hours(kHours);
  for (auto const& entry : std::filesystem::directory_iterator(tree.path())) {
    if (!entry.is_directory() && entry.last_write_time() < limit) {
      std::filesystem::remove(entry.path());
    }
  }
}

void llvmPrune(Tree const& tree) {
  llvm::CachePruningPolicy policy;
  policy.Interval = std::chrono::seconds(0);
  policy.Expiration = std::chrono::hours(kHours);
  policy.MaxSizePercentageOfAvailableSpace = 0;
  policy.MaxSizeFiles = 0;
  llvm::pruneCache(tree.path(), policy);
}

double cpuSeconds() {
  timespec now = {};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  rusage children = {};
  ::getrusage(RUSAGE_CHILDREN, &children);
  return static_cast<double>(now.tv_sec + children.ru_utime.tv_sec + children.ru_stime.tv_sec) +
         static_cast<double>(now.tv_nsec) / 1e9 +
         static_cast<double>(children.ru_utime.tv_usec + children.ru_stime.tv_usec) / 1e6;
}

using Subject = void (*)(Tree const&);

void measure(benchmark::State& state, Subject subject, Tree const& tree, int remaining) {
  double const begin = cpuSeconds();
  subject(tree);
  state.SetIterationTime(cpuSeconds() - begin);
  if (tree.files() != remaining) state.SkipWithError("removed too much or too little");
}

void allOld(benchmark::State& state, Subject subject) {
  Tree const tree(Scratch::kMemory);
  for (auto _ : state) {
    tree.fill((kHours + 1) * 3600);
    measure(state, subject, tree, 0);
  }
}

void noneOld(benchmark::State& state, Subject subject, Scratch::Place place) {
  static std::map<Scratch::Place, std::unique_ptr<Tree>> trees;
  auto& tree = trees[place];
  if (tree == nullptr) {
    tree = std::make_unique<Tree>(place);
    tree->fill((kHours - 1) * 3600);
  }
  for (auto _ : state) measure(state, subject, *tree, kFiles);
}

// Each run by itself, shuffled, so that a shared machine's slow moments fall on all rows alike.
void once(benchmark::internal::Benchmark* row) {
  row->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
}
void removals(benchmark::internal::Benchmark* row) { row->Repetitions(10)->Apply(once); }
void scans(benchmark::internal::Benchmark* row) { row->Repetitions(15)->Apply(once); }

// What it costs when every file is old. On a memory file system, where the disk takes no part.
BENCHMARK_CAPTURE(allOld, cul, cul)->Name("remove.memory/cul")->Apply(removals);
BENCHMARK_CAPTURE(allOld, syscalls, syscalls)->Name("remove.memory/syscalls")->Apply(removals);
BENCHMARK_CAPTURE(allOld, find, find)->Name("remove.memory/find")->Apply(removals);
BENCHMARK_CAPTURE(allOld, filesystem, filesystem)->Name("remove.memory/fs")->Apply(removals);
BENCHMARK_CAPTURE(allOld, llvm, llvmPrune)->Name("remove.memory/llvm")->Apply(removals);

// What it costs to see that none is: what most removals do.
constexpr auto kMemory = Scratch::kMemory;
BENCHMARK_CAPTURE(noneOld, cul, cul, kMemory)->Name("scan.memory/cul")->Apply(scans);
BENCHMARK_CAPTURE(noneOld, syscalls, syscalls, kMemory)->Name("scan.memory/syscalls")->Apply(scans);
BENCHMARK_CAPTURE(noneOld, find, find, kMemory)->Name("scan.memory/find")->Apply(scans);
BENCHMARK_CAPTURE(noneOld, filesystem, filesystem, kMemory)->Name("scan.memory/fs")->Apply(scans);
BENCHMARK_CAPTURE(noneOld, llvm, llvmPrune, kMemory)->Name("scan.memory/llvm")->Apply(scans);

// The same on a disk whose directory is in the system's cache.
constexpr auto kDisk = Scratch::kDisk;
BENCHMARK_CAPTURE(noneOld, cul, cul, kDisk)->Name("scan.disk/cul")->Apply(scans);
BENCHMARK_CAPTURE(noneOld, syscalls, syscalls, kDisk)->Name("scan.disk/syscalls")->Apply(scans);
BENCHMARK_CAPTURE(noneOld, find, find, kDisk)->Name("scan.disk/find")->Apply(scans);
BENCHMARK_CAPTURE(noneOld, filesystem, filesystem, kDisk)->Name("scan.disk/fs")->Apply(scans);
BENCHMARK_CAPTURE(noneOld, llvm, llvmPrune, kDisk)->Name("scan.disk/llvm")->Apply(scans);

}  // namespace

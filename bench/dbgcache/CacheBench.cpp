// Storing a copy in the cache and reading it back, held against the system calls that nobody can do
// without, and against what a programmer would reach for instead. All store and read the same file,
// and a row that leaves anything but the copy's content in the file or in memory fails.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "bench/support/Scratch.h"
#include "cul/dbgcache/DbgCacheUnix.h"
#include "llvm/Support/FileOutputBuffer.h"
#include "llvm/Support/MemoryBuffer.h"
#include "quonutil/settings/DebuggerParameters.h"

namespace {

class Cache final : public DbgCacheUnix {};

// A cache of its own with one copy in it. The digest is made once, outside of what is measured.
struct Copy {
  Copy(Scratch::Place place, bool withDigest, std::int64_t size)
      : scratch(place), content(static_cast<unsigned int>(size)) {
    for (unsigned int i = 0; i < content.length(); ++i) {
      content.data()[i] = static_cast<unsigned char>(i % 251);
    }
    made.update(content.data(), content.length());
    digest = withDigest ? &made : nullptr;
    EncodedString const directory(scratch.path().c_str(), EncodedString::kSystemText);
    DebuggerParameters::instance()->setParm(DebuggerParameters::kCacheParameter, directory);
    cache = std::make_unique<Cache>();
    cache->addFile(content, file, digest);
    path = cache->actualName(file, digest).data();
  }

  Scratch scratch;
  ByteString content;
  FileName file{EncodedString("/usr/lib/debug/libexample.so.1", EncodedString::kLibraryText)};
  MD5 made;
  MD5 const* digest;
  std::unique_ptr<Cache> cache;
  std::string path;
};

Copy const& copyFor(Scratch::Place place, bool withDigest, std::int64_t size) {
  static std::map<std::tuple<Scratch::Place, bool, std::int64_t>, std::unique_ptr<Copy>> copies;
  auto& copy = copies[{place, withDigest, size}];
  if (copy == nullptr) copy = std::make_unique<Copy>(place, withDigest, size);
  return *copy;
}

// The subjects. `store` and `read` tell whether all went well; `read` shows what came to `look`
// and then lets go of it.

struct Cul {
  static bool store(Copy const& copy) {
    copy.cache->addFile(copy.content, copy.file, copy.digest);
    return true;  // it reports nothing; the file is looked at after the measurement
  }
  template <class Look>
  static bool read(Copy const& copy, Look look) {
    std::unique_ptr<ByteString> const bytes(
        copy.cache->readFile(copy.file, copy.digest, 0, DbgCache::kToTheEnd));
    if (bytes == nullptr) return false;
    look(bytes->text(), bytes->length());
    return true;
  }
};

struct SystemCalls {
  static bool store(Copy const& copy) {
    int const fd =
        ::open(copy.path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0600);
    if (fd < 0) return false;
    bool const written =
        ::write(fd, copy.content.data(), copy.content.length()) == copy.content.length();
    timespec const times[] = {{0, UTIME_NOW}, {0, UTIME_OMIT}};
    ::futimens(fd, times);
    return ::close(fd) == 0 && written;
  }
  template <class Look>
  static bool read(Copy const& copy, Look look) {
    int const fd = ::open(copy.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return false;
    struct stat state = {};
    bool whole = ::fstat(fd, &state) == 0 && ::lseek(fd, 0, SEEK_SET) == 0;
    auto const size = static_cast<std::size_t>(state.st_size);
    auto* const bytes = static_cast<char*>(std::malloc(size));
    whole = whole && bytes != nullptr && ::read(fd, bytes, size) == state.st_size;
    ::close(fd);
    if (whole) look(bytes, size);
    std::free(bytes);
    return whole;
  }
};

struct Stream {
  static bool store(Copy const& copy) {
    std::ofstream out(copy.path, std::ios::binary);
    out.write(copy.content.text(), copy.content.length());
    out.close();
    return out.good();
  }
  template <class Look>
  static bool read(Copy const& copy, Look look) {
    std::ifstream in(copy.path, std::ios::binary | std::ios::ate);
    std::vector<char> bytes(static_cast<std::size_t>(in.tellg()));
    in.seekg(0).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    look(bytes.data(), bytes.size());
    return in.good();
  }
};

// As above, into memory that is not filled with zeros first.
struct StreamArray {
  template <class Look>
  static bool read(Copy const& copy, Look look) {
    std::ifstream in(copy.path, std::ios::binary | std::ios::ate);
    auto const size = static_cast<std::size_t>(in.tellg());
    std::unique_ptr<char[]> const bytes(new char[size]);
    in.seekg(0).read(bytes.get(), static_cast<std::streamsize>(size));
    look(bytes.get(), size);
    return in.good();
  }
};

// Writes to a mapped temporary file that takes the copy's name when it is complete; reads with
// read(2), because a mapped file is not read until somebody looks at its pages.
struct Llvm {
  static bool store(Copy const& copy) {
    auto out = llvm::FileOutputBuffer::create(copy.path, copy.content.length());
    if (!out) return false;
    std::memcpy((*out)->getBufferStart(), copy.content.data(), copy.content.length());
    return !(*out)->commit();
  }
  template <class Look>
  static bool read(Copy const& copy, Look look) {
    auto const bytes = llvm::MemoryBuffer::getFile(copy.path, false, true, /*IsVolatile=*/true);
    if (!bytes) return false;
    look((*bytes)->getBufferStart(), (*bytes)->getBufferSize());
    return true;
  }
};

// Where a row's copy lies, and whether its name has a digest.
struct Case {
  Scratch::Place place;
  bool withDigest;
};
constexpr Case kDisk{Scratch::kDisk, true};
constexpr Case kMemory{Scratch::kMemory, true};
constexpr Case kPlain{Scratch::kMemory, false};

template <class Subject>
bool readsRight(Copy const& copy) {
  bool right = false;
  bool const done = Subject::read(copy, [&](char const* bytes, std::size_t count) {
    right = count == copy.content.length() && std::memcmp(bytes, copy.content.data(), count) == 0;
  });
  return done && right;
}

double cpuSeconds() {
  timespec now = {};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Everything is measured in processor time: the bytes stay in the system's cache, nobody waits for
// a disk, and what else runs on the machine does not count.

// A copy that is not there yet, as a rule what is stored. Overwriting one again and again would
// measure how fast the disk takes what the truncation has pushed out.
template <class Subject, Case kCase>
void store(benchmark::State& state) {
  Copy const& copy = copyFor(kCase.place, kCase.withDigest, state.range(0));
  for (auto _ : state) {
    ::unlink(copy.path.c_str());
    double const start = cpuSeconds();
    bool const done = Subject::store(copy);
    state.SetIterationTime(cpuSeconds() - start);
    if (!done) state.SkipWithError("cannot store");
  }
  if (!readsRight<SystemCalls>(copy)) state.SkipWithError("stored something else");
}

template <class Subject, Case kCase>
void read(benchmark::State& state) {
  Copy const& copy = copyFor(kCase.place, kCase.withDigest, state.range(0));
  if (!readsRight<Subject>(copy)) state.SkipWithError("reads something else");
  for (auto _ : state) {
    bool const done = Subject::read(
        copy, [](char const* bytes, std::size_t /*count*/) { benchmark::DoNotOptimize(bytes); });
    if (!done) state.SkipWithError("cannot read");
  }
}

// Many short runs, shuffled: a shared machine has fast and slow minutes, and each row gets its
// share of both.
// Many short runs, shuffled: a shared machine has fast and slow moments, and each row gets its
// share of both.
void reads(benchmark::internal::Benchmark* row) {
  row->Arg(4 << 10)->Arg(1 << 20)->MinTime(0.005)->Repetitions(200);
}
void stores(benchmark::internal::Benchmark* row) { row->Apply(reads)->UseManualTime(); }
void large(benchmark::internal::Benchmark* row) { row->Arg(64 << 20); }

// What the engine pays for keeping what it has just read from elsewhere.
BENCHMARK(store<Cul, kDisk>)->Name("addFile.disk/cul")->Apply(stores);
BENCHMARK(store<SystemCalls, kDisk>)->Name("addFile.disk/syscalls")->Apply(stores);
BENCHMARK(store<Stream, kDisk>)->Name("addFile.disk/ofstream")->Apply(stores);
BENCHMARK(store<Llvm, kDisk>)->Name("addFile.disk/llvm")->Apply(stores);

// The same where the disk takes no part, which shows our own share best.
BENCHMARK(store<Cul, kMemory>)->Name("addFile.memory/cul")->Apply(stores);
BENCHMARK(store<SystemCalls, kMemory>)->Name("addFile.memory/syscalls")->Apply(stores);
BENCHMARK(store<Stream, kMemory>)->Name("addFile.memory/ofstream")->Apply(stores);
BENCHMARK(store<Llvm, kMemory>)->Name("addFile.memory/llvm")->Apply(stores);

// The same for a copy whose name has no digest: what the digest's text costs is the difference.
BENCHMARK(store<Cul, kPlain>)->Name("addFile.plain/cul")->Apply(stores);
BENCHMARK(store<SystemCalls, kPlain>)->Name("addFile.plain/syscalls")->Apply(stores);

// What the engine pays for a copy that is in the system's cache, into memory of its own.
BENCHMARK(read<Cul, kDisk>)->Name("readFile.disk/cul")->Apply(reads);
BENCHMARK(read<SystemCalls, kDisk>)->Name("readFile.disk/syscalls")->Apply(reads);
BENCHMARK(read<Stream, kDisk>)->Name("readFile.disk/ifstream")->Apply(reads);
BENCHMARK(read<StreamArray, kDisk>)->Name("readFile.disk/ifstream-array")->Apply(reads);
BENCHMARK(read<Llvm, kDisk>)->Name("readFile.disk/llvm")->Apply(reads);

// The same from a memory file system.
BENCHMARK(read<Cul, kMemory>)->Name("readFile.memory/cul")->Apply(reads);
BENCHMARK(read<SystemCalls, kMemory>)->Name("readFile.memory/syscalls")->Apply(reads);
BENCHMARK(read<Stream, kMemory>)->Name("readFile.memory/ifstream")->Apply(reads);
BENCHMARK(read<StreamArray, kMemory>)->Name("readFile.memory/ifstream-array")->Apply(reads);
BENCHMARK(read<Llvm, kMemory>)->Name("readFile.memory/llvm")->Apply(reads);

// The same for a copy whose name has no digest.
BENCHMARK(read<Cul, kPlain>)->Name("readFile.plain/cul")->Apply(reads);
BENCHMARK(read<SystemCalls, kPlain>)->Name("readFile.plain/syscalls")->Apply(reads);

// A copy so large that the page faults count, beside std::ifstream only.
BENCHMARK(read<Cul, kDisk>)->Name("readFile.disk/cul")->Apply(large);
BENCHMARK(read<Stream, kDisk>)->Name("readFile.disk/ifstream")->Apply(large);
BENCHMARK(read<StreamArray, kDisk>)->Name("readFile.disk/ifstream-array")->Apply(large);
BENCHMARK(read<Cul, kMemory>)->Name("readFile.memory/cul")->Apply(large);
BENCHMARK(read<Stream, kMemory>)->Name("readFile.memory/ifstream")->Apply(large);
BENCHMARK(read<StreamArray, kMemory>)->Name("readFile.memory/ifstream-array")->Apply(large);

}  // namespace

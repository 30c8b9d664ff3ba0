// Reading a file of 64 MiB whole, out of the system's cache and into fresh memory. A row whose
// memory does not hold the file's bytes fails.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bench/support/Scratch.h"
#include "cul/platform/CUL_Api.h"

namespace {

constexpr unsigned int kSize = 64U << 20;
constexpr char kByte = 'x';

struct File {
  explicit File(Scratch::Place place)
      : scratch(place),
        path(scratch.path() + "/file"),
        name(EncodedString(path.c_str(), EncodedString::kSystemText)) {
    std::string const content(kSize, kByte);
    std::ofstream(path, std::ios::binary) << content;
  }

  Scratch scratch;
  std::string path;
  FileName name;
};

template <Scratch::Place kPlace>
File const& file() {
  static File const made(kPlace);
  return made;
}

// The subjects: `read` shows the bytes that came to `look`, then lets go of them.

struct Cul {
  template <class Look>
  static void read(File const& file, Look look) {
    ByteString bytes;
    TimeDateStamp stamp;
    if (CUL_Api::read(file.name, bytes, stamp, nullptr) == 0) look(bytes.text());
  }
};

struct Vector {
  template <class Look>
  static void read(File const& file, Look look) {
    std::ifstream in(file.path, std::ios::binary);
    std::vector<char> bytes(kSize);
    if (in.read(bytes.data(), kSize)) look(bytes.data());
  }
};

struct Array {
  template <class Look>
  static void read(File const& file, Look look) {
    std::ifstream in(file.path, std::ios::binary);
    std::unique_ptr<char[]> const bytes(new char[kSize]);
    if (in.read(bytes.get(), kSize)) look(bytes.get());
  }
};

template <class Look>
void readInto(char* bytes, File const& file, Look look) {
  int const fd = ::open(file.path.c_str(), O_RDONLY);
  ssize_t const count = ::read(fd, bytes, kSize);
  ::close(fd);
  if (count == kSize) look(bytes);
}

struct LargePages {
  template <class Look>
  static void read(File const& file, Look look) {
    ByteString bytes(kSize);
    readInto(reinterpret_cast<char*>(bytes.data()), file, look);
  }
};

struct OrdinaryPages {
  template <class Look>
  static void read(File const& file, Look look) {
    std::unique_ptr<char[]> const bytes(new char[kSize]);
    readInto(bytes.get(), file, look);
  }
};

template <class Subject, Scratch::Place kPlace>
void read(benchmark::State& state) {
  bool right = false;
  Subject::read(file<kPlace>(), [&](char const* bytes) {
    right = std::all_of(bytes, bytes + kSize, [](char byte) { return byte == kByte; });
  });
  if (!right) state.SkipWithError("reads something else");
  for (auto _ : state) {
    bool came = false;
    Subject::read(file<kPlace>(), [&](char const* bytes) {
      benchmark::DoNotOptimize(bytes);
      came = true;
    });
    if (!came) state.SkipWithError("cannot read");
  }
}

void ms(benchmark::internal::Benchmark* row) { row->UseRealTime()->Unit(benchmark::kMillisecond); }
// Enough runs to see the worst one too.
void often(benchmark::internal::Benchmark* row) { row->Apply(ms)->Iterations(1)->Repetitions(30); }

constexpr auto kDisk = Scratch::kDisk;
constexpr auto kMemory = Scratch::kMemory;

// What an engine pays for an object file that it reads whole, from a disk's file system.
BENCHMARK(read<Cul, kDisk>)->Name("read.disk/cul")->Apply(ms);
BENCHMARK(read<Vector, kDisk>)->Name("read.disk/ifstream")->Apply(ms);
BENCHMARK(read<Array, kDisk>)->Name("read.disk/ifstream-array")->Apply(ms);

// The same from a memory file system.
BENCHMARK(read<Cul, kMemory>)->Name("read.memory/cul")->Apply(ms);
BENCHMARK(read<Vector, kMemory>)->Name("read.memory/ifstream")->Apply(ms);
BENCHMARK(read<Array, kMemory>)->Name("read.memory/ifstream-array")->Apply(ms);

// Whether asking for large pages is worth it: also in the worst case?
BENCHMARK(read<LargePages, kDisk>)->Name("pages.disk/cul")->Apply(often);
BENCHMARK(read<OrdinaryPages, kDisk>)->Name("pages.disk/ordinary")->Apply(often);
BENCHMARK(read<LargePages, kMemory>)->Name("pages.memory/cul")->Apply(often);
BENCHMARK(read<OrdinaryPages, kMemory>)->Name("pages.memory/ordinary")->Apply(often);

}  // namespace

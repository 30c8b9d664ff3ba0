// Search paths: looking for a file along one, held against the system calls that nobody can do
// without, and taking one apart. A row that finds or gives something else fails.
#include <absl/strings/str_split.h>
#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "bench/support/Scratch.h"
#include "cul/search/UNIX_File_System.h"

namespace {

EncodedString text(std::string const& of) { return {of.c_str(), EncodedString::kSystemText}; }

// A path of so many directories, and a file in the last of them.
struct Path {
  explicit Path(std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) {
      std::string const directory = scratch.path() + "/" + std::to_string(100 + i);
      std::filesystem::create_directory(directory);
      if (i != 0) directories += ":";
      directories += directory;
      candidates.push_back(directory + "/" + name);
    }
    std::ofstream(candidates.back()) << name;
  }

  Scratch scratch{Scratch::kMemory};  // where a call costs least
  std::string name = "example.cpp";
  std::string directories;
  std::vector<std::string> candidates;
};

void findCul(benchmark::State& state) {
  Path const path(state.range(0));
  UNIX_File_System const files;
  FileName const name(text(path.name));
  EncodedString const directories = text(path.directories);
  for (auto _ : state) {
    FileName const found = files.find_file(name, directories);
    if (found.data() != path.candidates.back()) state.SkipWithError("finds something else");
  }
}

void findStat(benchmark::State& state) {
  Path const path(state.range(0));
  for (auto _ : state) {
    std::string const* found = nullptr;
    for (auto const& candidate : path.candidates) {
      struct stat status;
      if (::stat(candidate.c_str(), &status) != 0 || S_ISDIR(status.st_mode)) continue;
      found = &candidate;
      break;
    }
    if (found != &path.candidates.back()) state.SkipWithError("finds something else");
  }
}

// A path of so many entries of 25 characters each.
std::string entries(std::int64_t count) {
  std::string path;
  for (std::int64_t i = 0; i < count; ++i) {
    char entry[32];
    std::snprintf(entry, sizeof entry, "%s/opt/project/source/%05d", i == 0 ? "" : ":",
                  static_cast<int>(i));
    path += entry;
  }
  return path;
}

// The subjects hold a path as they like it best, and give the number of its entries after all of
// them were deleted, and the length of the last.

struct Parsed {
  std::int64_t count;
  unsigned long lastLength;
};

class Cul {
 public:
  explicit Cul(std::string const& path) : path_(text(path)) {}
  Parsed parse() const {
    List<FileName*> names = files_.parseSearchPath(path_);
    unsigned int const count = names.count();
    Parsed const parsed = {count, names[count - 1]->length()};
    names.deleteElements();
    return parsed;
  }

 private:
  UNIX_File_System files_;
  EncodedString path_;
};

class Absl {
 public:
  explicit Absl(std::string path) : path_(std::move(path)) {}
  Parsed parse() const {
    std::vector<std::string> const names = absl::StrSplit(path_, ':');
    return {static_cast<std::int64_t>(names.size()), names.back().size()};
  }

 private:
  std::string path_;
};

template <class Subject, std::int64_t kParts>
void parse(benchmark::State& state) {
  std::int64_t const count = state.range(0) / kParts;
  Subject const subject(entries(count));
  for (auto _ : state) {
    for (std::int64_t i = 0; i < kParts; ++i) {
      Parsed const parsed = subject.parse();
      if (parsed.count != count || parsed.lastLength != 25) {
        state.SkipWithError("gives something else");
      }
    }
  }
}

void often(benchmark::internal::Benchmark* row) { row->MinTime(0.05)->Repetitions(15); }
void directories(benchmark::internal::Benchmark* row) {
  row->Arg(1)->Arg(16)->Arg(256)->Apply(often);
}
void lengths(benchmark::internal::Benchmark* row) { row->Arg(100)->Arg(10'000)->Apply(often); }

// What a search costs when only the last directory has the file.
BENCHMARK(findCul)->Name("find/cul")->Apply(directories);
BENCHMARK(findStat)->Name("find/stat")->Apply(directories);

// What it costs to take a path apart into texts of their own, and to delete these.
BENCHMARK(parse<Cul, 1>)->Name("parse/cul")->Apply(lengths);
BENCHMARK(parse<Absl, 1>)->Name("parse/absl")->Apply(lengths);

// Whether an entry of a long path costs more than one of a short one: ten thousand at once, or in a
// hundred parts.
BENCHMARK(parse<Cul, 1>)->Name("parse.length/cul")->Arg(10'000)->Apply(often);
BENCHMARK(parse<Cul, 100>)->Name("parse.length/parts")->Arg(10'000)->Apply(often);

}  // namespace

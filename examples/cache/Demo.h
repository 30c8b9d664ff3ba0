#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "Checks.h"
#include "DebugFiles.h"
#include "DispatchThread.h"
#include "Display.h"
#include "Scratch.h"
#include "Text.h"
#include "TraceLines.h"
#include "quonutil/digest/MD5.h"
#include "quonutil/names/FileName.h"
#include "quonutil/text/ByteString.h"

/// The cache parameter of this run: the default directory, 24 hours, no flush.
constexpr char const* kParameter = ":24";
constexpr unsigned kHours = 24;

/// A file as it is on disk: what every copy is held against.
struct Original {
  /// Reads the file whole. Throws std::runtime_error when it cannot be had or has no bytes.
  explicit Original(DebugFile const& file);

  std::string digestText() const { return digest.asString(MD5::kHexadecimal).data(); }

  std::string label;
  FileName name;
  ByteString content;
  MD5 digest;
};

/// Where the cache has its copy; empty when it has none.
std::filesystem::path copyOf(Original const& original);

/// The paths of all that lies in the home directory.
std::set<std::filesystem::path> everythingAtHome();

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// What the sections of the demo share.
struct Demo {
  /// Holds when the library has traced no failure since the last time.
  void expectNoTrace() {
    for (auto const& line : trace.take()) checks.expect(false, "nothing is traced: " + line);
  }

  Clock::time_point const start = Clock::now();
  Display display;
  Checks checks{display};
  TraceLines trace;
  std::vector<Original> originals;
  std::uint64_t bytes = 0;  ///< of the originals
  std::size_t ranges = 0;   ///< that were read back and compared
  unsigned removed = 0;     ///< entries that were to go for their age
  unsigned failures = 0;    ///< that were provoked
};

// The sections, in their order.

/// Reads each file whole and stores it under its MD5.
void storeFiles(Demo& demo, std::vector<DebugFile> const& files);

/// Holds the digests against those of the program md5sum.
void checkDigests(Demo& demo);

/// Reads ranges of every copy back from several threads at once and compares them with the
/// originals, while one thread more keeps storing.
void readBack(Demo& demo);

/// A later run of the debugger: this program again, in another process, which is told where the
/// stored settings are and nothing of the cache. Its home directory is an empty one.
void runSecondProcess(Demo& demo, Scratch const& scratch);

/// The first argument of that process, in front of the settings file and the files.
constexpr char const* kSecondProcess = "--second-process";

/// What that process does. `files` are the originals.
void beSecondProcess(Demo& demo, std::string const& settings,
                     std::vector<std::string> const& files);

/// Ages entries of the cache and has the process-wide dispatcher's thread remove what is too old.
void removeByAge(Demo& demo, Scratch const& scratch);

/// Makes operations of the cache fail as they fail in the field, and holds what they do and trace
/// against what they should. It loses a copy: nothing reads the cache after it.
void provokeFailures(Demo& demo);

/// Posts to the alternate dispatcher and to one with levels that are held back, and compares the
/// order in which the events run.
void runInOrder(Demo& demo);

/// Destroys the process-wide dispatcher and its alternate, and looks for what they left behind.
/// `threads` is how many there were when only `dispatch` had been added.
void endDispatching(Demo& demo, DispatchThread& dispatch, std::size_t threads);

/// How many threads this process has.
std::size_t countThreads();

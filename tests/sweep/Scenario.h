#pragma once

#include <cerrno>
#include <functional>
#include <map>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include "cul/platform/CUL_ApiFailure.h"
#include "tests/support/Scratch.h"
#include "tests/sweep/Plan.h"

/// What a world is made of.
enum Part : unsigned int {
  kHome = 1,        ///< a home directory without a cache
  kCache = 2,       ///< a cache directory with a copy
  kCrowd = 4,       ///< and what else may lie there
  kFile = 8,        ///< a file to be read
  kTree = 16,       ///< directories to be searched
  kCatalog = 32,    ///< a message catalog
  kHandsDown = 64,  ///< nothing: the descriptors are for children too
};

/// A directory, with files in it, that can be put back to what it was.
class World {
 public:
  using Files = std::map<std::string, std::string>;

  explicit World(unsigned int parts);
  World(World const&) = delete;
  World& operator=(World const&) = delete;
  ~World();

  /// Everything below the directory. "/" is a directory, "@x" a link to x, "|" a FIFO.
  Files files() const;
  void restore();
  std::string path(std::string const& name) const { return scratch_.path("world/" + name); }
  /// The text with "~" in place of the directory.
  std::string shortened(std::string text) const;

  Files const& original() const { return original_; }
  void write(std::string const& name, std::string const& content) const;
  /// As if it had been accessed last when nobody knows.
  void makeOld(std::string const& name) const;

 private:
  void make(std::string const& name, std::string const& content) const;

  Scratch scratch_;
  Files original_;
};

/// One run of a scenario: the lines that it traces, and what comes out of it.
class Run {
 public:
  Run(World& theWorld, CallWatch& watch) : world(theWorld), watch_(watch) {}

  /// Does something while the watch looks on.
  template <class Operation>
  void attempt(Operation operation) {
    active_ = this;
    errno = 0;
    try {
      Watching const watching(&watch_);
      operation();
      error = errno;
    } catch (std::bad_alloc const&) {
      result += "bad_alloc ";
    } catch (CUL_ApiFailure const& failure) {
      result += "failure " + std::to_string(failure.rc) + " ";
    } catch (std::system_error const& failure) {
      result += "error " + std::to_string(failure.code().value()) + " ";
    }
  }

  Run& operator<<(std::string const& text) {
    result += world.shortened(text);
    return *this;
  }
  Run& operator<<(long number) { return *this << std::to_string(number); }
  void line(std::string const& text) { lines += text + "\n"; }

  /// Sets every trace flag, and has the lines go to the run that is active.
  static void startTracing();
  static inline bool muted = false;  ///< they go nowhere

  World& world;
  std::string lines, result;
  int error = 0;  ///< errno behind the last attempt

 private:
  static void take(void*, char const* line, unsigned int length);
  static inline thread_local Run* active_ = nullptr;

  CallWatch& watch_;
};

/// What is promised of a call that ends in a certain way.
struct Promise {
  char const* call;              ///< how it ends: a pattern for Seen::ending
  char const* line = nullptr;    ///< is traced then; %c is the call, %e the error, %p its path
  char const* result = nullptr;  ///< a pattern for what comes out then; null: nothing changes
  int nth = 0;                   ///< of the calls with that name; 0 is each
  char const* behind = nullptr;  ///< only when a call of this name has failed before
  int error = 0;                 ///< only with this one
};

/// What may become of files whose names match.
struct Change {
  char const* names;
  char const* after;  ///< the content, null when they go
  bool onFailureAlone = false;
};

/// An operation, and what is promised of it.
struct Scenario {
  Scenario(char const* itsName, unsigned int itsParts, std::function<void(Run&)> itsBody)
      : name(itsName), parts(itsParts), body(std::move(itsBody)) {}

  /// Patterns for what comes out without a fault, and when an allocation fails.
  Scenario& gives(char const* pattern, char const* whenMemoryFails) {
    result = pattern;
    withoutMemory = whenMemoryFails;
    return *this;
  }
  Scenario& when(std::vector<Promise> itsPromises) {
    promises = std::move(itsPromises);
    return *this;
  }
  Scenario& changes(std::vector<Change> itsFiles) {
    files = std::move(itsFiles);
    return *this;
  }
  /// The file that others lay hands on, and patterns for what else may be told then.
  Scenario& suffers(char const* itsVictim, std::vector<char const*> patterns = {}) {
    victim = itsVictim;
    beside = std::move(patterns);
    return *this;
  }

  /// The lines, and the pattern of the result, that are promised when the calls ended so.
  std::pair<std::string, std::string> promised(std::vector<Seen> const& calls,
                                               World const& world) const;

  char const* name;
  unsigned int parts;
  std::function<void(Run&)> body;
  char const *result = "", *withoutMemory = "";
  std::vector<Promise> promises;
  std::vector<Change> files;
  char const* victim = nullptr;
  std::vector<char const*> beside;
};

#pragma once

#include <cerrno>
#include <functional>
#include <map>
#include <new>
#include <ostream>
#include <string>
#include <system_error>
#include <vector>

#include "cul/events/EventDispatcherBase.h"
#include "cul/platform/CUL_ApiFailure.h"
#include "tests/dbgcache/TestCache.h"
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

/// What a file is that is not there.
inline constexpr char kGone[] = "gone";

/// A directory, with files in it, that can be put back to what it was.
class World {
 public:
  /// Their contents by name. "/" is a directory, "@x" a link to x, "|" a FIFO.
  using Files = std::map<std::string, std::string>;
  static std::string contentIn(Files const& files, std::string const& name);

  explicit World(unsigned int parts);
  ~World();

  /// Everything below the directory.
  Files files() const;
  void restore() const;
  std::string path(std::string const& name) const { return scratch_.path("world/" + name); }
  /// The text with "~" in place of the directory.
  std::string shortened(std::string text) const;
  void write(std::string const& name, std::string const& content) const {
    scratch_.write("world/" + name, content);
  }
  /// As if it had been accessed last when nobody knows.
  void makeOld(std::string const& name) const;

  Files original;

 private:
  Scratch scratch_;
};

/// One run of a scenario: the lines that it traces, and what comes out of it.
class Run {
 public:
  Run(World const& theWorld, CallWatch& watch) : world(theWorld), watch_(watch) {}

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
  std::string told() const { return lines + result; }

  /// Sets every trace flag, and has the lines go to the run that is active.
  static void startTracing();
  static inline bool muted = false;  ///< they go nowhere

  World const& world;
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

/// An operation, and what is promised of it.
struct Scenario {
  using Patterns = std::vector<char const*>;

  Scenario(char const* theName, unsigned int theParts, std::function<void(Run&)> theBody,
           char const* theResult = "", char const* theOneWithoutMemory = "",
           std::vector<Promise> thePromises = {}, char const* theVictim = nullptr,
           Patterns thoseBeside = {}, char const* theContent = nullptr,
           char const* theCasualty = nullptr)
      : name(theName),
        parts(theParts),
        body(std::move(theBody)),
        result(theResult),
        withoutMemory(theOneWithoutMemory),
        promises(std::move(thePromises)),
        victim(theVictim),
        beside(std::move(thoseBeside)),
        after(theContent),
        casualty(theCasualty) {}

  char const* name;
  unsigned int parts;
  std::function<void(Run&)> body;
  char const* result;         ///< a pattern for what comes out without a fault
  char const* withoutMemory;  ///< and behind "bad_alloc " when an allocation fails
  std::vector<Promise> promises;
  char const* victim;    ///< the file that it is about, and others lay hands on
  Patterns beside;       ///< for what else may be told then
  char const* after;     ///< what becomes of that file, null when it stays
  char const* casualty;  ///< a file that may go when something fails

  /// The lines, and the pattern of the result, that are promised when the calls ended so.
  std::pair<std::string, std::string> promised(std::vector<Seen> const& calls,
                                               World const& world) const;
  friend void PrintTo(Scenario const& scenario, std::ostream* out) { *out << scenario.name; }
};
std::vector<Scenario> cacheScenarios();
std::vector<Scenario> fileScenarios();
std::vector<Scenario> searchScenarios();
std::vector<Scenario> memoryScenarios();

bool fits(std::string const& pattern, std::string const& text);

/// What a dispatcher keeps to itself.
struct Opened : EventDispatcherBase {
  using EventDispatcherBase::_process_event;
  using EventDispatcherBase::_purge;
  using EventDispatcherBase::_waitpop;
  using EventDispatcherBase::pending;
};

/// A cache over the directory of a world, whose own start was over before; what the copy in it is
/// called, and what it is a copy of.
TestCache& cacheOf(World const& world);
inline constexpr char kCopy[] = "cache/main.o.8d777f385d3dfec8815d20f7496026dc";
FileName const& copyFile();
MD5 const& copyDigest();

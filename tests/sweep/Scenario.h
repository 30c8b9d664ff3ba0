#pragma once

#include <map>
#include <new>
#include <ostream>
#include <system_error>

#include "cul/events/EventDispatcherBase.h"
#include "cul/platform/CUL_ApiFailure.h"
#include "tests/dbgcache/TestCache.h"

bool fits(std::string const& pattern, std::string const& text);

/// Contents of files by name. "/" is a directory, "@x" a link to x, "|" a FIFO, kGone no file.
using Files = std::map<std::string, std::string>;
inline constexpr char kGone[] = "gone";
std::string contentIn(Files const& files, std::string const& name);

/// A directory, with files in it, that can be put back to what it was. A file "outside" is added;
/// those that are called "ancient" were last accessed when nobody knows.
class World {
 public:
  explicit World(Files files);
  ~World();

  Files files() const;
  void restore() const;
  void makeOld(std::string const& name) const;
  std::string path(std::string const& name) const { return scratch_.path("world/" + name); }
  /// The text with "~" in place of the directory.
  std::string shortened(std::string text) const;

  Files original;

 private:
  Scratch scratch_;
};

/// One thing that goes wrong.
struct Fault {
  unsigned int point;  ///< the call, counted from 1
  Fate fate;
  bool onwards = false;  ///< so do all that follow, of memory or of the C library
};

/// What can become of such a call, failures first.
std::vector<Fate> fatesOf(Call const& call);

/// "open" when it failed, "+open" when not, "read:part" and "read:none" when it moved less than it
/// was to, "readdir:odd".
std::string endingOf(Call const& call);

inline bool isNew(Call const& call) { return call.name == "new"; }

/// One run of an operation: what is to go wrong, and what comes of it.
class Run : public CallWatch {
 public:
  explicit Run(World const& theWorld, std::vector<Fault> theFaults = {})
      : world(theWorld), faults(std::move(theFaults)) {}

  /// Does something while its calls are looked at.
  template <class Operation>
  void attempt(Operation operation) {
    errno = EDOM;  // an old one, which nobody may take for theirs
    try {
      Watching const watching(this);
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
  /// The same, and gives what that gives, or an empty value.
  template <class Operation>
  auto valueOf(Operation operation) {
    decltype(operation()) value{};
    attempt([&] { value = operation(); });
    return value;
  }
  Run& operator<<(std::string const& text) {
    result += world.shortened(text);
    return *this;
  }
  Run& operator<<(long number) { return *this << std::to_string(number); }

  /// Has what is traced go to the run that looks on.
  static void startTracing();

  World const& world;
  std::vector<Fault> const faults;
  std::function<void(unsigned int point)> onPoint;  ///< before each call of the C library

  std::vector<Call> calls;
  std::string lines, result;  ///< that are traced, and that the operation gives
  int error = 0;              ///< errno behind the last attempt
  long mapped = 0;            ///< bytes that are still mapped
  int badCloses = 0;          ///< of what was not open
  int inheritable = 0;        ///< descriptors that a child would get

 private:
  Fate before(Call const& call) override;
  void after(Call const& call) override;
};

/// The file that an operation is about, and others lay hands on.
struct Victim {
  char const* file = nullptr;
  char const* told = "gone";       ///< a pattern for what else may come out then
  char const* after = nullptr;     ///< what becomes of it, null when it stays
  char const* casualty = nullptr;  ///< another that may go when something fails
};

/// An operation, and what is promised of it. Files in "files" it opens as open(2) does.
struct Scenario {
  using Body = std::function<void(Run&)>;
  char const* name;
  Files files;
  Body body;
  char const* result;  ///< a pattern for what comes out
  /// "before>call#2 => line -> result; ...": when the second call with this ending (a pattern) is
  /// made, and "before" has failed, this line is traced, and this pattern takes the result's place.
  /// All but the call may be left out; the first rule that fits counts. %c is the call, %e the
  /// error, %p its path.
  std::string rules;
  Victim victim;
  friend void PrintTo(Scenario const& scenario, std::ostream* out) { *out << scenario.name; }
};
inline Scenario scenario(char const* name, Files const& files, Scenario::Body const& body,
                         char const* result, std::string const& rules = "",
                         Victim const& victim = {}) {
  return {name, files, body, result, rules, victim};
}
std::vector<Scenario> cacheScenarios();
std::vector<Scenario> otherScenarios();

/// Runs a scenario again and again, each time with something else that goes wrong, holds what comes
/// of it against what is promised, prints how many points there were and gives what is amiss.
std::vector<std::string> sweep(Scenario const& scenario);

/// What a dispatcher keeps to itself.
struct Opened : EventDispatcherBase {
  using EventDispatcherBase::_process_event;
  using EventDispatcherBase::_purge;
  using EventDispatcherBase::_waitpop;
  using EventDispatcherBase::pending;
};

/// A cache over the directory of a world, whose own start was over before; what the copy in it is
/// called, what it is a copy of, and what it holds when one has stored "data" and perhaps another
/// "theirs".
TestCache& cacheOf(World const& world);
inline constexpr char kCopy[] = "cache/main.o.8d777f385d3dfec8815d20f7496026dc";
inline FileName const copyFile = fileName("main.o");
inline MD5 const copyDigest("data", 4);
inline constexpr char kStored[] = "@(data|theirs|datars)";
void store(TestCache& cache, char const* content, MD5 const* digest);

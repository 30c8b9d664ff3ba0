#pragma once

#include <atomic>
#include <string>
#include <utility>

/// What becomes of a call.
struct Fate {
  enum Way {
    kMade,         ///< as if nobody stood in between
    kFails,        ///< it is not made, and fails with `error`
    kFailsBehind,  ///< it is made, and then fails with that
    kMoves,        ///< it moves no more than `bytes`
    kOdd,          ///< it is made, and gives something strange
  };
  Way way = kMade;
  int error = 0;
  unsigned long bytes = 0;
};

/// One call that the libraries make into the C library, or one allocation, whose name is "new".
struct Call {
  std::string name, path;   ///< and the path that it is given
  unsigned long asked = 0;  ///< bytes that it is to move or to map
  int flags = 0;            ///< of an open
  Fate fate = {};
  int error = 0;            ///< that it ended with, 0 for none
  unsigned long moved = 0;  ///< bytes
};

/// Decides about each call that its thread makes, while it is the current one, and hears how it
/// ended. What it calls itself is not looked at.
class CallWatch {
 public:
  virtual ~CallWatch() = default;
  virtual Fate before(Call const& call) = 0;
  virtual void after(Call const& call) = 0;

  /// This thread's; null, and there is no difference.
  static inline thread_local CallWatch* current = nullptr;
};

/// Makes a watch the current one as long as it lives, or none.
class Watching {
 public:
  explicit Watching(CallWatch* watch) : before_(std::exchange(CallWatch::current, watch)) {}
  ~Watching() { CallWatch::current = before_; }

 private:
  CallWatch* const before_;
};

/// What `time` answers while it is not 0.
inline long frozenTime = 0;

/// What the password database answers while it is not null: the home directory of every user.
inline char const* passwordHome = nullptr;

/// Bytes that watched threads have made by new and nobody has deleted; each block counts one more.
inline std::atomic<long> liveMemory = 0;

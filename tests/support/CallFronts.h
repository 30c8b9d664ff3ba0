#pragma once

#include <fcntl.h>

/// One call that the libraries make into the C library, or one allocation, whose name is "new".
struct Call {
  char const* name;
  char const* path = nullptr;  ///< that it names
  unsigned long bytes = 0;     ///< that it is to move
  int flags = 0;               ///< of an open
};

/// What becomes of it.
struct Fate {
  enum Way {
    kMade,         ///< as if nobody stood in between
    kFails,        ///< it is not made, and gives -1 or null and sets `error`
    kFailsBehind,  ///< it is made, and then gives that
    kMoves,        ///< it moves no more than `bytes`
    kOdd,          ///< it is made, and gives something strange
  };
  Way way = kMade;
  int error = 0;
  unsigned long bytes = 0;
};

/// How it ended: the error, 0 for none, and the bytes that were moved.
struct End {
  int error;
  unsigned long moved;
};

/// Looks at each call that its thread makes, while it is the current one. What it calls itself is
/// not looked at.
class CallWatch {
 public:
  virtual ~CallWatch() = default;
  virtual Fate before(Call const& call) = 0;
  virtual void after(Call const& call, Fate const& fate, End const& end) = 0;

  /// This thread's; null, and there is no difference.
  static inline thread_local CallWatch* current = nullptr;
};

/// Makes a watch the current one as long as it lives, or none.
class Watching {
 public:
  explicit Watching(CallWatch* watch) : before_(CallWatch::current) { CallWatch::current = watch; }
  Watching(Watching const&) = delete;
  Watching& operator=(Watching const&) = delete;
  ~Watching() { CallWatch::current = before_; }

 private:
  CallWatch* before_;
};

/// What `time` answers while it is not 0.
inline long frozenTime = 0;

/// What the password database answers while it is not null: the home directory of every user.
inline char const* passwordHome = nullptr;

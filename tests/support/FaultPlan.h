#pragma once

#include <atomic>
#include <initializer_list>
#include <string>
#include <vector>

/// Stands between the libraries and the C library, for this thread and as long as it lives.
///
/// The test program defines the calls themselves; each asks the plan of its thread and then calls
/// the C library's own. No plan, no difference.
class FaultPlan {
 public:
  enum Outcome {
    kFails,       ///< gives -1 (or null) and sets errno, and the call is not made
    kOneShort,    ///< a transfer moves one byte less than asked for
    kFailsAfter,  ///< the call is made, and then gives -1 and sets errno
  };

  /// Strikes at the nth (from 1) of the calls that are named.
  FaultPlan(std::initializer_list<std::string> calls, int nth, int error, Outcome = kFails);
  FaultPlan(FaultPlan const&) = delete;
  FaultPlan& operator=(FaultPlan const&) = delete;
  ~FaultPlan();

  bool fired() const { return !struck_.empty(); }
  std::string const& call() const { return struck_; }

  /// Which way the call goes now. For the calls' definitions only.
  enum Way { kThrough, kFail, kShort, kFailAfter };
  static Way way(char const* call);
  static int error();

 private:
  std::vector<std::string> calls_;
  int left_;
  int error_;
  Outcome outcome_;
  std::string struck_;
};

/// What the last `open` was asked for.
extern std::atomic<int> openFlags;

/// What `time` answers while it is not 0.
extern long frozenTime;

/// What the password database answers while it is not null: the home directory of every user.
extern char const* passwordHome;

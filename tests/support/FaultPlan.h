#pragma once

#include <atomic>
#include <initializer_list>
#include <string>
#include <utility>
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
    kSucceeds,    ///< what becomes of every other call
  };

  /// Strikes at the nth (from 1) of the calls that are named.
  FaultPlan(std::initializer_list<std::string> calls, int nth, int error, Outcome = kFails);
  FaultPlan(FaultPlan const&) = delete;
  FaultPlan& operator=(FaultPlan const&) = delete;
  ~FaultPlan();

  bool fired() const { return !struck_.empty(); }
  std::string const& call() const { return struck_; }

  /// What becomes of a call, and the errno that a failure sets. For the calls' definitions only.
  static std::pair<Outcome, int> strike(char const* call);

 private:
  std::vector<std::string> calls_;
  int left_;
  int error_;
  Outcome outcome_;
  std::string struck_;
};

/// What the last `open` was asked for.
inline std::atomic<int> openFlags = 0;

/// What `time` answers while it is not 0.
inline long frozenTime = 0;

/// What the password database answers while it is not null: the home directory of every user.
inline char const* passwordHome = nullptr;

#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/CallFronts.h"

/// What can go wrong with one call of the C library, or with "new".
struct Kind {
  char const* call;
  std::vector<int> errors;
  Fate odd = {};
  Fate::Way failing = Fate::kFails;
  bool moves = false;  ///< bytes, and may move fewer than it is to

  Fate failure(int error) const { return {failing, error}; }
  bool isNew() const { return std::string_view(call) == "new"; }
};
Kind const& kindOf(std::string const& call);

/// One call as it went.
struct Seen {
  std::string call, path;
  Fate::Way way;
  int error;
  unsigned long asked, moved;

  /// "open" when it failed, "+open" when not, "read:part" and "read:none" when it moved less than
  /// it was to, "lseek:odd".
  std::string ending() const;
};

/// What is to become of the calls of one run, counted from 1, and what became of them.
class Plan : public CallWatch {
 public:
  struct Fault {
    unsigned int point;
    Fate fate;
    bool onwards = false;  ///< so do all that follow, of memory or of the C library
  };

  explicit Plan(std::vector<Fault> planned = {}) : faults(std::move(planned)) {}

  Fate before(Call const& call) override;
  void after(Call const& call, Fate const& fate, End const& end) override;
  std::string description() const;

  std::vector<Fault> faults;
  /// Called before each call of the C library, and when it is over.
  std::function<void(unsigned int point, bool isOver)> onPoint;
  std::vector<Seen> seen;
  long mapped = 0;      ///< bytes that are still mapped
  int badCloses = 0;    ///< of what was not open
  int inheritable = 0;  ///< descriptors that a child would get
};

/// Bytes that watched calls have allocated with operator new and nobody has deleted yet, in all
/// threads; each block counts for one more.
extern std::atomic<long> liveMemory;

#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "Display.h"

/// The comparisons that the demo makes: each states what should hold, and those that do not are
/// remembered.
class Checks {
 public:
  explicit Checks(Display& display) : display_(display) {}

  /// Any thread. Returns `held`.
  bool expect(bool held, std::string const& statement) {
    std::lock_guard const locked(lock_);
    if (!held) broken_.push_back(statement);
    return held;
  }

  /// The same, and shows the outcome either way. Only the thread that has the display.
  bool confirm(bool held, std::string const& statement) {
    display_.line("%s     %s", held ? "ok" : "NO", statement.c_str());
    return expect(held, statement);
  }

  /// What did not hold. When no other thread checks.
  std::vector<std::string> const& broken() const { return broken_; }

 private:
  Display& display_;
  std::mutex lock_;
  std::vector<std::string> broken_;  // guarded by lock_
};

#pragma once

#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "Display.h"

/// The comparisons that a host makes: each states what should hold, and those that do not are
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

  /// Confirms that it held each time, and that there was a time.
  bool confirmAll(std::size_t held, std::size_t times, std::string const& statement) {
    return confirm(held == times && times != 0,
                   std::to_string(held) + " of " + std::to_string(times) + ' ' + statement);
  }

  /// What did not hold. When no other thread checks.
  std::vector<std::string> const& broken() const { return broken_; }

  /// Shows what did not hold, the first of it. 0 when there is nothing to show.
  int exitStatus() const {
    constexpr std::size_t kMostShown = 20;
    if (broken_.empty()) return EXIT_SUCCESS;
    display_.line("%zu did not hold:", broken_.size());
    for (std::size_t i = 0; i < broken_.size() && i < kMostShown; ++i) {
      display_.line("  %s", broken_[i].c_str());
    }
    return EXIT_FAILURE;
  }

 private:
  Display& display_;
  std::mutex lock_;
  std::vector<std::string> broken_;  // guarded by lock_
};

#pragma once

#include <string>
#include <vector>

/// A moment, in seconds from the start.
constexpr long at(long hours, long minutes = 0, long seconds = 0) {
  return (hours * 60 + minutes) * 60 + seconds;
}

/// A file, the moments when an engine wants it, and those when it should leave the cache. What is
/// wanted before the start lies there by then; what is wanted later is read, or stored when the
/// cache lacks it.
struct File {
  char const* name;
  std::vector<long> wanted;
  std::vector<long> leaves;

  bool staysAtTheEnd() const { return leaves.empty() || wanted.back() > leaves.back(); }
};

constexpr long kHoursKept = 48;
constexpr long kEnd = at(72);
constexpr unsigned kRemovals = 121;  ///< one at the start and 120 by timers

/// What is wanted in three days.
std::vector<File> const& files();

/// Lays those files out in `directory` (ends in "/") that are there at the start, and schedules the
/// rest. At the end the process-wide dispatcher is destroyed.
void plan(std::string const& directory);

// cul-timelapse: three days of a cache that keeps its files for 48 hours, in a moment.
//
// The cache, its timers and the dispatcher are the real ones, and so are the files; only time is
// not. It ends with 0 when every file left exactly when the rules say, and the timers were right.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Checks.h"
#include "Display.h"
#include "Host.h"
#include "Plan.h"
#include "Scratch.h"
#include "SimulatedTime.h"
#include "Text.h"
#include "cul/dbgcache/DbgCache.h"
#include "cul/events/CUL_Dispatcher.h"
#include "cul/events/CUL_Timer_Event.h"
#include "quonutil/settings/DebuggerParameters.h"
#include "quonutil/trace/TraceImplementation.h"

namespace {

std::string clockText(long seconds) {
  long const whole = std::abs(seconds);
  char text[32];
  std::snprintf(text, sizeof text, "%s%ld:%02ld:%02ld", seconds < 0 ? "-" : "", whole / 3600,
                whole / 60 % 60, whole % 60);
  return text;
}

std::string clockTexts(std::vector<long> const& times) {
  std::string text;
  for (long each : times) text += (text.empty() ? "" : ", ") + clockText(each);
  return text.empty() ? "-" : text;
}

// What the library traces of its removals, with the time of it.
class Log {
 public:
  Log() {
    traceImplementation().setSink(take, this);
    traceImplementation().setFlag(TraceFlag::detail, true);
  }
  Log(Log const&) = delete;
  Log& operator=(Log const&) = delete;
  ~Log() {
    traceImplementation().setFlag(TraceFlag::detail, false);
    traceImplementation().setSink(nullptr, nullptr);
  }

  std::vector<unsigned long> removals;            // microseconds from the start
  std::map<std::string, std::vector<long>> left;  // by name, in seconds

 private:
  static void take(void* self, char const* bytes, unsigned length) {
    std::string const line(bytes, length), file = "** File ", end = " removed from cache";
    auto& log = *static_cast<Log*>(self);
    if (line.find("** Removing files") != line.npos) log.removals.push_back(SimulatedTime::now());
    auto const name = line.find(file), behind = line.find(end);
    if (name == line.npos || behind == line.npos) return;
    auto const first = name + file.size();
    log.left[line.substr(first, behind - first)].push_back(
        static_cast<long>(SimulatedTime::now() / 1'000'000));
  }
};

// Each timer is armed when its predecessor has run, and runs when it is due: at most the
// millisecond later that a dispatcher's sleep is rounded up by.
void compareTimers(Checks& checks, std::vector<unsigned long> const& removals) {
  constexpr unsigned long kHalfAnHour = 1'800'000'000, kRounding = 1'000;
  std::size_t right = 0;
  for (std::size_t i = 0; i < removals.size(); ++i) {
    unsigned long const due = i == 0   ? 0
                              : i == 1 ? kHalfAnHour
                                       : removals[i - 1] + CUL_Timer_Event::kLongestInterval;
    if (removals[i] >= due && removals[i] <= due + kRounding) ++right;
  }
  checks.confirmAll(right, kRemovals, "removals came when they were due");
  checks.confirm(removals.size() == kRemovals, "and no other");
}

void compareFiles(Display& display, Checks& checks, Log& log, std::string const& directory) {
  std::set<std::string> expected, found;
  std::size_t right = 0;
  display.line("%-18s %-29s %-18s %s", "file", "wanted", "to leave", "left");
  for (auto const& [name, wanted, leaves] : files()) {
    display.line("%-18s %-29s %-18s %s", name, clockTexts(wanted).c_str(),
                 clockTexts(leaves).c_str(), clockTexts(log.left[name]).c_str());
    if (log.left[name] == leaves) ++right;
  }
  for (auto const& file : files()) {
    if (file.staysAtTheEnd()) expected.insert(file.name);
  }
  for (auto const& entry : std::filesystem::directory_iterator(directory)) {
    found.insert(entry.path().filename());
  }
  checks.confirmAll(right, files().size(), "files left when they should, to the second, or stayed");
  checks.confirm(log.left.size() == files().size(), "nothing else left");
  checks.confirm(found == expected, "the directory holds what stayed, and nothing else");
}

int run() {
  auto const start = std::chrono::steady_clock::now();
  Display display;
  Checks checks(display);
  Scratch const scratch;
  std::string const directory = scratch.directory("cache") + '/';
  DebuggerParameters::instance()->setParm(DebuggerParameters::kCacheParameter,
                                          systemText(directory + ':' + std::to_string(kHoursKept)));
  display.heading("Three days of a cache that keeps its files for 48 hours");
  Log log;
  plan(directory);
  DbgCache::instance();
  CUL_Dispatcher::instance()->dispatchLoop();
  compareFiles(display, checks, log, directory);
  compareTimers(checks, log.removals);
  std::chrono::duration<double, std::milli> const took = std::chrono::steady_clock::now() - start;
  display.line("%s passed in %.0f ms", clockText(kEnd).c_str(), took.count());
  return checks.exitStatus();
}

}  // namespace

int main() { return runHost("cul-timelapse", run); }

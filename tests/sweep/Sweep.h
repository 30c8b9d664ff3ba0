#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/sweep/Scenario.h"

/// Runs one scenario again and again, each time with something else that goes wrong, and holds
/// what comes of it against what is promised.
class Sweep {
 public:
  explicit Sweep(Scenario const& scenario);

  /// Every call and every allocation fails: once, from there on, two at a time, oddly.
  void failures();
  /// Somebody lays hands on the files before a call.
  void adversaries();
  /// Another process stores, reads, removes or starts before a call.
  void companions();
  /// The process is killed before, in the middle of or behind a call.
  void kills();

  std::vector<std::string> complaints;
  std::map<std::string, unsigned int> counts;  ///< points, by what went wrong

 private:
  void complain(std::string const& what, Plan const& plan);
  void point(std::string const& mode, std::vector<Plan::Fault> faults);
  void inTurn(std::string const& mode, Plan::Fault const& first, bool ofMemory);
  /// Runs it once and checks everything but the files.
  void perform(Plan& plan, bool amongOthers = false);
  void checkText(Run const& run, Plan const& plan, bool amongOthers);
  void checkFiles(Plan const& plan, bool wasKilled = false);
  void checkDispatcher(Plan const& plan);
  void again(Plan const& plan);
  void meanwhile(std::string const& mode, std::function<void()> const& action, bool theirs);
  void checkOthers(Plan const& plan, bool theirs);
  void killAt(unsigned int point, Fate fate, bool isOver);

  Scenario const& scenario_;
  World const world_;
  std::vector<Seen> clean_;
  std::string mode_ = "first";
};

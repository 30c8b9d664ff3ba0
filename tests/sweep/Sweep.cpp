#include "tests/sweep/Sweep.h"

#include <dirent.h>
#include <fnmatch.h>

#include <algorithm>
#include <memory>

#include "cul/events/CUL_Dispatcher.h"
#include "cul/events/CUL_Event.h"
#include "tests/sweep/Memory.h"
#include "tests/sweep/Scenarios.h"

namespace {

using Faults = std::vector<Plan::Fault>;

// One bit for each of the first descriptors.
unsigned long descriptors() {
  unsigned long found = 0;
  DIR* const stream = ::opendir("/proc/self/fd");
  while (dirent const* const entry = ::readdir(stream))
    found |= 1UL << std::atoi(entry->d_name) % 64;
  ::closedir(stream);
  return found;
}

bool fits(char const* pattern, std::string const& text) {
  return ::fnmatch(pattern, text.c_str(), FNM_EXTMATCH) == 0;
}

void discardEvents() {
  auto& dispatcher = *CUL_Dispatcher::instance();
  (dispatcher.*static_cast<void (EventDispatcherBase::*)()>(&Opened::_purge))();
}

struct Ping : CUL_Event {
  explicit Ping(bool& hasRun) : hasRun_(hasRun) {}
  void handle_it() override { hasRun_ = true; }
  bool& hasRun_;
};

}  // namespace

struct Sweep::Resources {
  Memory memory;
  unsigned long descriptors;
};

Sweep::Resources Sweep::resources() const { return {Memory::live(), descriptors()}; }

Sweep::Sweep(Scenario const& scenario) : scenario_(scenario), world_(scenario.parts) {
  CUL_Dispatcher::instance();
  cacheOf(world_);
  Run::startTracing();
  Plan first;
  {  // What is made at first use is made now.
    Run run(world_, first);
    scenario_.body(run);
    discardEvents();
  }
  Plan second, third;
  for (Plan* plan : {&second, &third}) {
    world_.restore();
    perform(*plan);
    checkFiles(*plan, false);
  }
  clean_ = third.seen;
  if (clean_.empty()) complain("it has no points", third);
  if (second.points() != third.points()) complain("its points vary", third);
  world_.restore();
}

void Sweep::complain(std::string const& what, Plan const& plan) {
  complaints.push_back(std::string(scenario_.name) + ": " + what + plan.description());
}

void Sweep::perform(Plan& plan, Strictness strictness) {
  Resources const before = resources();
  Run run(world_, plan);
  scenario_.body(run);
  checkText(run, plan, strictness);
  checkDispatcher(plan);
  Resources const after = resources();
  if (before.memory != after.memory) complain("memory is lost", plan);
  if (before.descriptors != after.descriptors) complain("other descriptors are open", plan);
  if (plan.badCloses != 0) complain("a descriptor is closed twice", plan);
  if (plan.mapped != 0) complain("a mapping is left", plan);
  if (plan.inheritable != 0 && (scenario_.parts & kHandsDown) == 0) {
    complain("a child would inherit a descriptor", plan);
  }
}

void Sweep::checkText(Run const& run, Plan const& plan, Strictness strictness) {
  auto const [lines, result] = scenario_.promised(plan.seen, world_);
  if (run.lines == lines && fits(result.c_str(), run.result)) return;
  std::string const all = run.lines + run.result;
  if (strictness == kAmongOthers &&
      std::any_of(scenario_.beside.begin(), scenario_.beside.end(),
                  [&](char const* pattern) { return fits(pattern, all); })) {
    return;
  }
  complain("it tells\n" + all + "\nwhere it is to tell\n" + lines + result + "\n", plan);
}

void Sweep::checkDispatcher(Plan const& plan) {
  discardEvents();
  auto& dispatcher = *CUL_Dispatcher::instance();
  bool hasRun = false;
  std::unique_ptr<CUL_Event> ping = std::make_unique<Ping>(hasRun);
  if (dispatcher.post(*ping, 3)) static_cast<void>(ping.release());
  (dispatcher.*&Opened::_process_event)((dispatcher.*&Opened::_waitpop)());
  if (!hasRun) complain("the dispatcher does not run", plan);
}

// Each file is what it was or what it is to become. It is gone only when it was removed, and a part
// only when it could not be.
void Sweep::checkFiles(Plan const& plan, bool mayBePart) {
  bool const isClean = plan.faults.empty();
  auto const removal = [&plan](std::string const& name, bool worked) {
    return std::any_of(plan.seen.begin(), plan.seen.end(), [&](Seen const& call) {
      return call.call.starts_with("unlink") && (call.error == 0) == worked &&
             name.ends_with(call.path.substr(call.path.rfind('/') + 1));
    });
  };
  World::Files now = world_.files();
  World::Files all = now;
  all.insert(world_.original().begin(), world_.original().end());
  for (auto const& [name, unused] : all) {
    auto const change =
        std::find_if(scenario_.files.begin(), scenario_.files.end(),
                     [&name = name](Change const& each) { return fits(each.names, name); });
    auto const old = world_.original().find(name);
    bool const wasThere = old != world_.original().end(), isThere = now.count(name) != 0;
    bool const changes = change != scenario_.files.end() && !(isClean && change->onFailureAlone);
    bool const isOld = wasThere == isThere && (!isThere || now[name] == old->second);
    if (isOld && !(changes && isClean)) continue;
    if (changes && isThere && change->after != nullptr) {
      std::string const after = change->after;
      if (now[name] == after) continue;
      if ((mayBePart || removal(name, false)) && after.starts_with(now[name])) continue;
    }
    bool const shallGo = changes && change->after == nullptr && !change->onFailureAlone;
    if (changes && !isThere && (shallGo || mayBePart || removal(name, true))) continue;
    complain(name + " is " + (isThere ? "'" + now[name] + "'" : "gone"), plan);
  }
}

std::string Sweep::original(std::string const& name) const {
  auto const found = world_.original().find(name);
  return found == world_.original().end() ? "" : found->second;
}

// Without a fault it is as if there had never been one.
void Sweep::again(Plan const& plan) {
  world_.restore();
  Plan clean;
  std::size_t const before = complaints.size();
  perform(clean);
  checkFiles(clean, false);
  if (clean.points() != clean_.size()) complain("other calls follow without a fault", clean);
  if (complaints.size() != before) complain("(and that came before it)", plan);
  world_.restore();
}

void Sweep::point(std::string const& mode, Faults faults) {
  Plan plan(std::move(faults));
  perform(plan);
  checkFiles(plan, false);
  again(plan);
  ++counts[mode];
}

std::vector<Seen> Sweep::seenWith(Faults faults) {
  Plan plan(std::move(faults));
  Run run(world_, plan);
  scenario_.body(run);
  discardEvents();
  world_.restore();
  return plan.seen;
}

// After what fails first, each later call or allocation in turn.
void Sweep::inTurn(std::string const& mode, Faults const& first, bool ofMemory) {
  std::vector<Seen> const seen = seenWith(first);
  for (unsigned int at = first[0].point + 1; at <= seen.size(); ++at) {
    Seen const& call = seen[at - 1];
    Kind const& kind = kindOf(call.call);
    if (call.isNew() != ofMemory) continue;
    std::size_t const most = std::min<std::size_t>(kind.errors.size(), 3);
    for (std::size_t i = 0; i < most; ++i) {
      Faults both = first;
      both.push_back({at, kind.failure(kind.errors[i])});
      point(mode, both);
    }
  }
}

void Sweep::failures() {
  for (unsigned int at = 1; at <= clean_.size(); ++at) {
    Seen const& call = clean_[at - 1];
    Kind const& kind = kindOf(call.call);
    char const* const what = call.isNew() ? "memory" : "call";
    for (int error : kind.errors) {
      point(std::string(what) + " fails", {{at, kind.failure(error)}});
      if (error == EINTR) continue;  // not for ever
      point(std::string(what) + "s fail from there", {{at, kind.failure(error), true}});
    }
    for (Fate const& odd : kind.oddities) point("odd result", {{at, odd}});
    if (kind.moves && call.asked != 0) {
      for (unsigned long bytes : {0UL, 1UL, call.asked - 1}) {
        point("short transfer", {{at, {Fate::kMoves, 0, bytes}}});
      }
    }
    for (std::size_t i = 0; i < std::min<std::size_t>(kind.errors.size(), 6); ++i) {
      Faults const first = {{at, kind.failure(kind.errors[i])}};
      if (!call.isNew()) inTurn("memory fails behind a call", first, true);
      inTurn("second call fails", first, false);
    }
  }
}

#include "tests/sweep/Sweep.h"

#include <algorithm>
#include <memory>

#include "cul/events/CUL_Dispatcher.h"
#include "cul/events/CUL_Event.h"

namespace {

// One bit for each of the first descriptors.
unsigned long descriptors() {
  unsigned long found = 0;
  for (unsigned int fd = 0; fd < 64; ++fd) {
    if (::fcntl(static_cast<int>(fd), F_GETFD) != -1) found |= 1UL << fd;
  }
  return found;
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

// True when a file of that name was to be removed, and was or could not be.
bool removal(Plan const& plan, std::string const& name, bool worked) {
  return std::any_of(plan.seen.begin(), plan.seen.end(), [&](Seen const& call) {
    return call.call.starts_with("unlink") && (call.error == 0) == worked &&
           name.ends_with(call.path.substr(call.path.rfind('/') + 1));
  });
}

}  // namespace

Sweep::Sweep(Scenario const& scenario) : scenario_(scenario), world_(scenario.parts) {
  CUL_Dispatcher::instance();
  cacheOf(world_);
  Run::startTracing();
  Plan plans[3];
  Run first(world_, plans[0]);  // What is made at first use is made now.
  scenario_.body(first);
  discardEvents();
  for (Plan* plan : {&plans[1], &plans[2]}) {
    world_.restore();
    perform(*plan);
    checkFiles(*plan);
  }
  clean_ = plans[2].seen;
  if (clean_.empty()) complain("it has no points", plans[2]);
  if (plans[1].seen.size() != clean_.size()) complain("its points vary", plans[2]);
  world_.restore();
}

void Sweep::complain(std::string const& what, Plan const& plan) {
  complaints.push_back(scenario_.name + (", " + mode_) + ": " + what + plan.description());
}

void Sweep::perform(Plan& plan, bool amongOthers) {
  long const memory = liveMemory;
  unsigned long const open = descriptors();
  Run run(world_, plan);
  scenario_.body(run);
  checkText(run, plan, amongOthers);
  checkDispatcher(plan);
  if (liveMemory != memory) complain("memory is lost", plan);
  if (descriptors() != open) complain("other descriptors are open", plan);
  if (plan.badCloses != 0) complain("a descriptor is closed twice", plan);
  if (plan.mapped != 0) complain("a mapping is left", plan);
  if (plan.inheritable != 0 && (scenario_.parts & kHandsDown) == 0) {
    complain("a child would inherit a descriptor", plan);
  }
}

void Sweep::checkText(Run const& run, Plan const& plan, bool amongOthers) {
  auto const [lines, result] = scenario_.promised(plan.seen, world_);
  if (run.lines == lines && fits(result, run.result)) return;
  auto const& beside = scenario_.beside;
  if (amongOthers && std::any_of(beside.begin(), beside.end(), [&run](char const* pattern) {
        return fits(pattern, run.told());
      })) {
    return;
  }
  complain("it tells\n" + run.told() + "\nwhere it is to tell\n" + lines + result + "\n", plan);
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
void Sweep::checkFiles(Plan const& plan, bool wasKilled) {
  bool const isClean = plan.faults.empty();
  World::Files const now = world_.files();
  World::Files all = now;
  all.insert(world_.original.begin(), world_.original.end());
  for (auto const& [name, unused] : all) {
    std::string const is = World::contentIn(now, name);
    std::string const was = World::contentIn(world_.original, name);
    bool const changes = scenario_.after != nullptr && name == scenario_.victim;
    std::string const after = changes ? scenario_.after : was;
    if (is == after || (is == was && !isClean)) continue;
    bool const suffers = changes || (scenario_.casualty != nullptr && name == scenario_.casualty);
    bool const isPart = is != kGone && changes && after != kGone && after.starts_with(is);
    bool const mayBePart = isPart && (wasKilled || removal(plan, name, false));
    bool const mayBeGone = suffers && is == kGone && (wasKilled || removal(plan, name, true));
    if (!isClean && (mayBePart || mayBeGone)) continue;
    complain(name + " is '" + is + "'", plan);
  }
}

// Without a fault it is as if there had never been one.
void Sweep::again(Plan const& plan) {
  world_.restore();
  Plan clean;
  std::size_t const before = complaints.size();
  perform(clean);
  checkFiles(clean);
  if (clean.seen.size() != clean_.size()) complain("other calls follow without a fault", clean);
  if (complaints.size() != before) complain("(and that came before it)", plan);
  world_.restore();
}

void Sweep::point(std::string const& mode, std::vector<Plan::Fault> faults) {
  ++counts[mode_ = mode];
  Plan plan(std::move(faults));
  perform(plan);
  checkFiles(plan);
  again(plan);
}

// After what fails first, each later call or allocation in turn.
void Sweep::inTurn(std::string const& mode, Plan::Fault const& first, bool ofMemory) {
  Plan alone({first});
  perform(alone);
  world_.restore();
  for (unsigned int at = first.point + 1; at <= alone.seen.size(); ++at) {
    Kind const& kind = kindOf(alone.seen[at - 1].call);
    if (kind.isNew() != ofMemory) continue;
    for (std::size_t i = 0; i < kind.errors.size() && i < 4; ++i) {
      point(mode, {first, {at, kind.failure(kind.errors[i])}});
    }
  }
}

void Sweep::failures() {
  for (unsigned int at = 1; at <= clean_.size(); ++at) {
    Seen const& call = clean_[at - 1];
    Kind const& kind = kindOf(call.call);
    std::string const what = kind.isNew() ? "memory" : "call";
    for (int error : kind.errors) {
      point(what + " fails", {{at, kind.failure(error)}});
      if (error == EINTR) continue;  // not for ever
      point(what + " fails from there on", {{at, kind.failure(error), true}});
    }
    if (kind.odd.way != Fate::kMade) point("odd result", {{at, kind.odd}});
    if (kind.moves && call.asked != 0) {
      for (unsigned long bytes : {0UL, 1UL, call.asked - 1}) {
        point("short transfer", {{at, {Fate::kMoves, 0, bytes}}});
      }
    }
    for (std::size_t i = 0; i < kind.errors.size() && i < 6; ++i) {
      Plan::Fault const first = {at, kind.failure(kind.errors[i])};
      if (!kind.isNew()) inTurn("memory fails behind a call", first, true);
      inTurn("second call fails", first, false);
    }
  }
}

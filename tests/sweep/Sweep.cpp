#include <sstream>

#include "cul/events/CUL_Dispatcher.h"
#include "cul/events/CUL_Timer_Event.h"
#include "tests/sweep/Scenario.h"

namespace fs = std::filesystem;

namespace {

// Who comes in between: another process that shares the cache, or somebody who lays hands on the
// file that a scenario is about.
struct Outsider {
  char const* name;
  void (*act)(World const& world, std::string const& file);
};
char const* cleared(std::string const& file) {
  fs::remove_all(file);
  return file.c_str();
}
constexpr char kFifo[] = "somebody makes it a FIFO";
constexpr Outsider kOutsiders[] = {
    {"somebody unlinks", [](auto&, auto& file) { cleared(file); }},
    {"somebody truncates", [](auto&, auto& file) { ::truncate(file.c_str(), 1); }},
    {"somebody lengthens", [](auto&, auto& file) { ::truncate(file.c_str(), 20); }},
    {"somebody links", [](auto&, auto& file) { fs::create_symlink("../outside", cleared(file)); }},
    {"somebody makes it a directory",
     [](auto&, auto& file) { fs::create_directory(cleared(file)); }},
    {kFifo, [](auto&, auto& file) { ::mkfifo(cleared(file), 0600); }},
    {"another stores", [](auto& world, auto&) { store(cacheOf(world), "theirs", &copyDigest); }},
    {"another removes", [](auto& world, auto&) { cacheOf(world).remove(copyFile, nullptr); }},
    {"another expires", [](auto& world, auto&) { cacheOf(world).remove(1U); }},
    {"another starts",
     [](auto& world, auto&) {
       setParameter(world.original.count("home") != 0 ? "" : world.path("cache:2"));
       TestCache const started;
       setParameter("");
     }},
};

bool dispatcherRuns() {
  auto& dispatcher = *CUL_Dispatcher::instance();
  (dispatcher.*static_cast<void (EventDispatcherBase::*)()>(&Opened::_purge))();
  std::unique_ptr<CUL_Event> event = std::make_unique<CUL_Timer_Event>(0UL);
  if (!dispatcher.post(*event, 3)) return false;
  static_cast<void>(event.release());
  (dispatcher.*&Opened::_process_event)((dispatcher.*&Opened::_waitpop)());
  return dispatcher.*&Opened::pending == 0;
}

bool ended(Run const& run, char const* pattern) {
  return std::any_of(run.calls.begin(), run.calls.end(),
                     [=](Call const& call) { return fits(pattern, endingOf(call)); });
}

// See Scenario::rules.
struct Rule {
  std::string before, call, nth, line, result;
  bool setsResult;
};

// Takes what follows the mark, and the mark, off the text.
std::string cutOff(std::string& text, std::string const& mark) {
  auto const at = text.find(mark);
  if (at == text.npos) return "";
  std::string const rest = text.substr(at + mark.size());
  text.erase(at);
  return rest;
}
std::vector<Rule> parsed(std::string const& text) {
  std::vector<Rule> rules;
  std::istringstream stream(text);
  for (std::string rule; std::getline(stream, rule, ';');) {
    rule.erase(0, rule.find_first_not_of(' '));
    bool const setsResult = rule.find(" -> ") != rule.npos;
    std::string const result = cutOff(rule, " -> "), line = cutOff(rule, " => ");
    std::string const nth = cutOff(rule, "#"), call = cutOff(rule, ">");
    bool const isAlone = call.empty();
    rules.push_back({isAlone ? "" : rule, isAlone ? rule : call, nth, line, result, setsResult});
  }
  return rules;
}

std::string filled(std::string text, Call const& call, World const& world) {
  std::string const values[][2] = {
      {"%c", call.name}, {"%e", std::to_string(call.error)}, {"%p", world.shortened(call.path)}};
  for (auto const& [mark, value] : values) {
    if (auto const at = text.find(mark); at != text.npos) text.replace(at, 2, value);
  }
  return text;
}

// The lines, and the pattern of the result, that are promised when the calls ended so.
std::pair<std::string, std::string> promised(std::vector<Rule> const& rules, std::string result,
                                             Run const& run) {
  std::string lines;
  std::map<std::string, int> counts, failures;
  for (auto const& call : run.calls) {
    std::string const ending = endingOf(call), nth = std::to_string(++counts[call.name]);
    auto const found = std::find_if(rules.begin(), rules.end(), [&](Rule const& rule) {
      return fits(rule.call, ending) && (rule.nth.empty() || rule.nth == nth) &&
             (rule.before.empty() || failures[rule.before] != 0);
    });
    if (found == rules.end()) return {"nothing is promised of " + ending, ""};
    if (!found->line.empty()) lines += filled(found->line, call, run.world) + "\n";
    if (found->setsResult) result = filled(found->result, call, run.world);
    failures[call.name] += ending[0] != '+';
  }
  return {lines, result};
}

class Sweep {
 public:
  // A scenario's own rules come first; what the others are about matters to nobody else.
  explicit Sweep(Scenario const& scenario)
      : scenario_(scenario),
        world_(scenario.files),
        rules_(parsed(scenario.rules +
                      ";new -> bad_alloc ;+*;@(close*|futimens|readdir*|munmap|time)")) {
    CUL_Dispatcher::instance();
    cacheOf(world_);
    Run::startTracing();
    Run first(world_), clean(world_);
    scenario_.body(first);  // What is made at first use is made now.
    dispatcherRuns();
    world_.restore();
    perform(clean);
    clean_ = clean.calls;
    if (clean_.empty()) complain("it has no points", clean);
    world_.restore();
  }

  // Every call and every allocation fails: once, from there on, and with each that then follows.
  void failures() {
    static constexpr char const* kWays[] = {"", " fails", " fails", " falls short", " is odd"};
    for (unsigned int at = 1; at <= clean_.size(); ++at) {
      std::string const what = isNew(clean_[at - 1]) ? "memory" : "call";
      for (Fate const& fate : fatesOf(clean_[at - 1])) {
        Run once(world_, {{at, fate}}), onwards(world_, {{at, fate, true}});
        point(what + kWays[fate.way], once);
        if (fate.error == 0) continue;
        if (fate.error != EINTR) point(what + " fails from there on", onwards);
        for (unsigned int next = at + 1; next <= once.calls.size(); ++next) {
          Call const& second = once.calls[next - 1];
          auto const fates = fatesOf(second);
          for (std::size_t i = 0; i < fates.size() && fates[i].error != 0; i += 2) {
            Run both(world_, {{at, fate}, {next, fates[i]}});
            point(isNew(second) ? "memory fails behind" : "second call fails", both);
          }
        }
      }
    }
  }

  // Somebody comes in between, once before each call.
  void outsiders() {
    if (scenario_.victim.file == nullptr) return;
    bool const isCache = world_.original.count("cache") + world_.original.count("home") != 0;
    std::string const victim = world_.path(scenario_.victim.file);
    for (auto const& [name, act] : kOutsiders) {
      if (!isCache && name[0] == 'a') continue;
      // Plain files are waited for, as open(2) does.
      if (!isCache && name == kFifo && victim.ends_with("/ancient")) continue;
      for (unsigned int at = 1; at <= clean_.size(); ++at) {
        if (isNew(clean_[at - 1])) continue;
        Run among(world_);
        among.onPoint = [&, act = act](unsigned int point) {
          if (point == at) act(world_, victim);
        };
        point(name, among);
      }
    }
  }

  // The process is killed before each call, which is behind the one in front, and when it has
  // written half. Whoever comes next finds what is left, and works with it.
  void kills() {
    for (unsigned int at = 1; at <= clean_.size() && scenario_.victim.file != nullptr; ++at) {
      Call const& call = clean_[at - 1];
      if (!isNew(call)) killAt(at, {});
      if (call.name == "write") killAt(at + 1, {Fate::kMoves, 0, call.asked / 2});
    }
  }

  std::vector<std::string> complaints;
  std::map<std::string, unsigned int> counts;  // points, by what went wrong

 private:
  void complain(std::string what, Run const& run) {
    what += "; calls:";
    for (Call const& call : run.calls) {
      what += " " + endingOf(call) + (call.error == 0 ? "" : "=" + std::to_string(call.error));
    }
    complaints.push_back(scenario_.name + (", " + mode_) + ": " + what);
  }

  void point(std::string const& mode, Run& run) {
    ++counts[mode_ = mode];
    perform(run);
    again(run);
  }

  void killAt(unsigned int at, Fate const& fateBefore) {
    ++counts[mode_ = "killed"];
    Run killed(world_, {{at - 1, fateBefore}}), next(world_);
    int const end = inChild([&] {
      killed.onPoint = [=](unsigned int point) {
        if (point >= at) ::raise(SIGKILL);
      };
      scenario_.body(killed);
      return 0;
    });
    if (end != -1) complain("it was not killed", killed);
    checkFiles(killed, true);
    perform(next);
    again(killed);
  }

  void perform(Run& run) {
    long const memory = liveMemory;
    unsigned int const open = openDescriptors();
    scenario_.body(run);
    checkText(run);
    checkFiles(run);
    if (!dispatcherRuns()) complain("the dispatcher does not run", run);
    if (liveMemory != memory) complain("memory is lost", run);
    if (openDescriptors() != open) complain("other descriptors are open", run);
    if (run.badCloses != 0) complain("a descriptor is closed twice", run);
    if (run.mapped != 0) complain("a mapping is left", run);
    if (run.inheritable != 0 && world_.original.count("files") == 0) {
      complain("a child would inherit a descriptor", run);
    }
  }

  // Among others, what comes of it depends on what its calls then meet.
  void checkText(Run const& run) {
    auto const [lines, result] = promised(rules_, scenario_.result, run);
    if (run.lines == lines && fits(result, run.result)) return;
    if (run.onPoint && fits(scenario_.victim.told, run.lines + run.result)) return;
    complain("it tells\n" + run.lines + run.result + "\nfor\n" + lines + result + "\n", run);
  }

  // Each file is what it was or what it is to become. It is gone only when it was removed, and a
  // part only when it could not be. Others that share the cache keep to what is meant; whoever lays
  // hands on a file touches no other.
  void checkFiles(Run const& run, bool wasKilled = false) {
    auto const& [file, told, content, casualty] = scenario_.victim;
    Files const now = world_.files();
    Files all = now;
    all.insert(world_.original.begin(), world_.original.end());
    for (auto const& [name, unused] : all) {
      std::string const is = contentIn(now, name), was = contentIn(world_.original, name);
      bool const changes = content != nullptr && name == file;
      std::string const after = changes ? content : was;
      bool const isClean = run.faults.empty() && !run.onPoint;
      bool isMeant = is == after || (is == was && !isClean);
      if (run.onPoint) {
        isMeant |= is == kGone || fits(kStored, is) || (mode_[0] == 's' && name != "outside");
      } else if (!isClean && is == kGone) {
        isMeant |= (changes || (casualty != nullptr && name == casualty)) &&
                   (wasKilled || ended(run, "+unlink*"));
      } else if (!isClean && changes && after != kGone) {
        isMeant |= after.starts_with(is) && (wasKilled || ended(run, "unlink*"));
      }
      if (!isMeant) complain(name + " is '" + is + "'", run);
    }
  }

  // Without a fault it is as if there had never been one.
  void again(Run const& run) {
    world_.restore();
    Run clean(world_);
    std::size_t const before = complaints.size();
    perform(clean);
    if (clean.calls.size() != clean_.size()) complain("other calls follow without a fault", clean);
    if (complaints.size() != before) complain("(and that came before it)", run);
    world_.restore();
  }

  Scenario const& scenario_;
  World const world_;
  std::vector<Rule> const rules_;
  std::vector<Call> clean_;
  std::string mode_ = "first";
};

}  // namespace

std::vector<std::string> sweep(Scenario const& scenario) {
  Sweep all(scenario);
  if (all.complaints.empty()) {
    all.failures();
    all.outsiders();
    all.kills();
  }
  for (auto const& [mode, count] : all.counts) {
    std::printf("%6u  %s, %s\n", count, scenario.name, mode.c_str());
  }
  return all.complaints;
}

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include "tests/sweep/Scenarios.h"
#include "tests/sweep/Sweep.h"

namespace fs = std::filesystem;

namespace {

struct Hand {
  char const* name;
  void (*lay)(World const& world, fs::path const& victim);
};

// Puts something else in its place.
template <class Make>
void swap(fs::path const& victim, Make make) {
  fs::remove_all(victim);
  make(victim.c_str());
}

constexpr Hand kHands[] = {
    {"unlinks", [](World const&, fs::path const& victim) { fs::remove_all(victim); }},
    {"truncates", [](World const&, fs::path const& victim) { ::truncate(victim.c_str(), 1); }},
    {"lengthens", [](World const&, fs::path const& victim) { ::truncate(victim.c_str(), 20); }},
    {"links",
     [](World const& world, fs::path const& victim) {
       swap(victim, [&](char const* path) { ::symlink(world.path("outside").c_str(), path); });
     }},
    {"links in a circle",
     [](World const&, fs::path const& victim) {
       swap(victim, [](char const* path) { ::symlink(path, path); });
     }},
    {"makes it a directory",
     [](World const&, fs::path const& victim) {
       swap(victim, [](char const* path) { ::mkdir(path, 0700); });
     }},
    {"makes it a FIFO",
     [](World const&, fs::path const& victim) {
       swap(victim, [](char const* path) { ::mkfifo(path, 0600); });
     }},
    {"moves the directory",
     [](World const&, fs::path const& victim) {
       fs::path const folder = victim.parent_path();
       ::rename(folder.c_str(), (folder.string() + ".moved").c_str());
     }},
    {"changes the working directory", [](World const&, fs::path const&) { fs::current_path("/"); }},
};

// What another process may be doing with the same cache. None of it is traced in this one.
constexpr Hand kCompanions[] = {
    {"stores",
     [](World const& world, fs::path const&) {
       cacheOf(world).addFile(ByteString("theirs", 6), copyFile(), &copyDigest());
     }},
    {"stores without a digest",
     [](World const& world, fs::path const&) {
       cacheOf(world).addFile(ByteString("theirs", 6), copyFile(), nullptr);
     }},
    {"reads",
     [](World const& world, fs::path const&) {
       delete cacheOf(world).readFile(copyFile(), &copyDigest(), 0, 1);
     }},
    {"removes",
     [](World const& world, fs::path const&) { cacheOf(world).remove(copyFile(), &copyDigest()); }},
    {"removes every digest",
     [](World const& world, fs::path const&) { cacheOf(world).remove(copyFile(), nullptr); }},
    {"removes the old", [](World const& world, fs::path const&) { cacheOf(world).remove(1U); }},
    {"clears", [](World const& world, fs::path const&) { cacheOf(world).remove(0U); }},
    {"starts",
     [](World const& world, fs::path const& victim) {
       bool const atHome = victim.filename() == ".vexcorlz";
       setParameter(atHome ? "" : world.path("cache:2"));
       TestCache const started;
       setParameter("");
     }},
};

// Holds whatever stands in for a file while several write it: some of each.
bool isMixed(std::string const& content, std::initializer_list<std::string> sources) {
  for (std::size_t at = 0; at < content.size(); ++at) {
    bool const known = std::any_of(sources.begin(), sources.end(), [&](std::string const& source) {
      return at < source.size() && source[at] == content[at];
    });
    if (!known) return false;
  }
  return true;
}

}  // namespace

// Once before each call. What comes of it depends on what the calls then meet.
void Sweep::meanwhile(std::string const& mode, std::function<void()> const& action, bool theirs) {
  for (unsigned int at = 1; at <= clean_.size(); ++at) {
    if (clean_[at - 1].isNew()) continue;
    Plan plan;
    plan.faults = {{0, {}}};
    plan.onPoint = [&](unsigned int point, bool isOver) {
      if (point != at || isOver) return;
      Run::muted = true;
      action();
      Run::muted = false;
    };
    perform(plan, kAmongOthers);
    checkOthers(plan, theirs);
    again(plan);
    ++counts[mode];
  }
}

// Nobody's file is touched but those that are meant.
void Sweep::checkOthers(Plan const& plan, bool theirs) {
  World::Files const now = world_.files();
  std::string const after = scenario_.files.empty() || scenario_.files[0].after == nullptr
                                ? ""
                                : scenario_.files[0].after;
  auto const outside = now.find("outside");
  if (outside == now.end() || (outside->second != "outside" && outside->second != after)) {
    complain("somebody else's file is touched", plan);
  }
  for (auto const& [name, content] : now) {
    if (!theirs || isMixed(content, {after, "theirs", original(name)})) continue;
    complain(name + " is '" + content + "'", plan);
  }
}

void Sweep::adversaries() {
  if (scenario_.victim == nullptr) return;
  fs::path const victim = world_.path(scenario_.victim);
  for (auto const& hand : kHands) {
    // CUL_Api::open waits for a FIFO's other end, as open(2) does.
    bool const waits = (scenario_.parts & kFile) != 0;
    if (waits && std::string(hand.name) == "makes it a FIFO") continue;
    meanwhile(
        std::string("somebody ") + hand.name, [&] { hand.lay(world_, victim); }, false);
  }
}

void Sweep::companions() {
  if (scenario_.victim == nullptr || (scenario_.parts & (kCache | kHome)) == 0) return;
  for (auto const& companion : kCompanions) {
    meanwhile(
        std::string("another ") + companion.name, [&] { companion.lay(world_, scenario_.victim); },
        true);
  }
}

// The child dies at that point; whoever comes next finds what is left, and works with it.
void Sweep::killAt(unsigned int at, Fate fate, bool isOver) {
  Plan plan;
  plan.faults = {{at, fate}};
  plan.onPoint = [=](unsigned int point, bool over) {
    if (point == at && over == isOver) ::kill(::getpid(), SIGKILL);
  };
  pid_t const child = ::fork();
  if (child == 0) {
    Run run(world_, plan);
    scenario_.body(run);
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  if (!WIFSIGNALED(status)) complain("it was not killed", plan);
  checkFiles(plan, true);
  Plan next;
  perform(next);
  checkFiles(next, false);
  again(plan);
  ++counts["killed"];
}

void Sweep::kills() {
  if (scenario_.victim == nullptr) return;
  for (unsigned int at = 1; at <= clean_.size(); ++at) {
    Seen const& call = clean_[at - 1];
    if (call.isNew()) continue;
    killAt(at, {}, false);
    killAt(at, {}, true);
    if (call.call == "write") killAt(at, {Fate::kMoves, 0, call.asked / 2}, true);
  }
}

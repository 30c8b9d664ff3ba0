#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include "tests/sweep/Sweep.h"

namespace fs = std::filesystem;

namespace {

struct Hand {
  char const* name;
  bool removes;  ///< the file first
  void (*lay)(char const* victim, char const* outside);
};
constexpr char kFifo[] = "makes it a FIFO";
constexpr Hand kHands[] = {
    {"unlinks", true, [](char const*, char const*) {}},
    {"truncates", false, [](char const* victim, char const*) { ::truncate(victim, 1); }},
    {"lengthens", false, [](char const* victim, char const*) { ::truncate(victim, 20); }},
    {"links", true, [](char const* victim, char const* outside) { ::symlink(outside, victim); }},
    {"links in a circle", true, [](char const* self, char const*) { ::symlink(self, self); }},
    {"makes it a directory", true, [](char const* victim, char const*) { ::mkdir(victim, 0700); }},
    {kFifo, true, [](char const* victim, char const*) { ::mkfifo(victim, 0600); }},
    {"moves the directory", false,
     [](char const* victim, char const*) {
       std::string const folder = fs::path(victim).parent_path();
       ::rename(folder.c_str(), (folder + ".moved").c_str());
     }},
    {"changes the working directory", false, [](char const*, char const*) { ::chdir("/"); }},
};

// What another process may be doing with the same cache. None of it is traced in this one.
struct Companion {
  char const* name;
  void (*act)(TestCache& cache);
};
ByteString theirs() { return ByteString("theirs", 6); }
constexpr Companion kCompanions[] = {
    {"stores", [](TestCache& cache) { cache.addFile(theirs(), copyFile(), &copyDigest()); }},
    {"stores without a digest",
     [](TestCache& cache) { cache.addFile(theirs(), copyFile(), nullptr); }},
    {"reads", [](TestCache& cache) { delete cache.readFile(copyFile(), &copyDigest(), 0, 1); }},
    {"removes", [](TestCache& cache) { cache.remove(copyFile(), &copyDigest()); }},
    {"removes every digest", [](TestCache& cache) { cache.remove(copyFile(), nullptr); }},
    {"removes the old", [](TestCache& cache) { cache.remove(1U); }},
    {"clears", [](TestCache& cache) { cache.remove(0U); }},
    {"starts", [](TestCache&) { TestCache const started; }},
};

// Holds whatever stands in for a file while several write it: some of each.
bool isMixed(std::string const& content, std::initializer_list<std::string> sources) {
  for (std::size_t at = 0; at < content.size(); ++at) {
    bool const known = std::any_of(sources.begin(), sources.end(), [&](std::string const& source) {
      return source != kGone && at < source.size() && source[at] == content[at];
    });
    if (!known) return false;
  }
  return true;
}

}  // namespace

// Once before each call. What comes of it depends on what the calls then meet.
void Sweep::meanwhile(std::string const& mode, std::function<void()> const& action, bool theirs) {
  for (unsigned int at = 1; at <= clean_.size(); ++at) {
    if (kindOf(clean_[at - 1].call).isNew()) continue;
    ++counts[mode_ = mode];
    Plan plan;
    plan.onPoint = [&](unsigned int point, bool isOver) {
      if (point != at || isOver) return;
      Run::muted = true;
      action();
      Run::muted = false;
    };
    perform(plan, true);
    checkOthers(plan, theirs);
    again(plan);
  }
}

// Nobody's file is touched but those that are meant.
void Sweep::checkOthers(Plan const& plan, bool theirs) {
  World::Files const now = world_.files();
  std::string const after = scenario_.after == nullptr ? kGone : scenario_.after;
  std::string const outside = World::contentIn(now, "outside");
  bool const isOurs = outside == after && after != kGone;
  if (outside != "outside" && !isOurs) complain("somebody else's file is touched", plan);
  for (auto const& [name, content] : now) {
    std::string const before = World::contentIn(world_.original, name);
    if (!theirs || isMixed(content, {after, "theirs", before})) continue;
    complain(name + " is '" + content + "'", plan);
  }
}

void Sweep::adversaries() {
  if (scenario_.victim == nullptr) return;
  std::string const victim = world_.path(scenario_.victim), outside = world_.path("outside");
  for (auto const& [name, removes, lay] : kHands) {
    // CUL_Api::open waits for a FIFO's other end, as open(2) does.
    if ((scenario_.parts & kFile) != 0 && name == kFifo) continue;
    auto const act = [&, removes = removes, lay = lay] {
      if (removes) fs::remove_all(victim);
      lay(victim.c_str(), outside.c_str());
    };
    meanwhile(std::string("somebody ") + name, act, false);
  }
}

void Sweep::companions() {
  if (scenario_.victim == nullptr || (scenario_.parts & (kCache | kHome)) == 0) return;
  std::string const theirParameter = scenario_.parts & kHome ? "" : world_.path("cache:2");
  for (auto const& [name, act] : kCompanions) {
    auto const asThey = [&, act = act] {
      setParameter(theirParameter);
      act(cacheOf(world_));
      setParameter("");
    };
    meanwhile(std::string("another ") + name, asThey, true);
  }
}

// The child dies at that point; whoever comes next finds what is left, and works with it.
void Sweep::killAt(unsigned int at, Fate fate, bool isOver) {
  ++counts[mode_ = "killed"];
  Plan plan({{at, fate}});
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
  checkFiles(next);
  again(plan);
}

void Sweep::kills() {
  if (scenario_.victim == nullptr) return;
  for (unsigned int at = 1; at <= clean_.size(); ++at) {
    Seen const& call = clean_[at - 1];
    if (kindOf(call.call).isNew()) continue;
    killAt(at, {}, false);
    killAt(at, {}, true);
    if (call.call == "write") killAt(at, {Fate::kMoves, 0, call.asked / 2}, true);
  }
}

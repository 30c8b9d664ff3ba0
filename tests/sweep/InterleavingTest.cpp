#include <fnmatch.h>
#include <gmock/gmock.h>

#include <cstdio>
#include <semaphore>
#include <thread>

#include "tests/sweep/Scenarios.h"

// Two operations on one copy, each on a thread of its own, that take turns at every call they make:
// in each order that there is.
namespace {

class Side : public Plan {
 public:
  Side(World& world, std::function<void(Run&)> const& body)
      : run(world, *this), thread_([this, &body] {
          go_.acquire();
          body(run);
          isOver = true;
          back_.release();
        }) {}
  ~Side() { thread_.join(); }

  Fate before(Call const& call) override {
    if (std::string(call.name) != "new") {
      back_.release();
      go_.acquire();
    }
    return Plan::before(call);
  }
  /// Goes on to its next call, or to its end.
  void step() {
    go_.release();
    back_.acquire();
  }

  Run run;
  bool isOver = false;

 private:
  std::binary_semaphore go_{0}, back_{0};
  std::thread thread_;
};

// Which side goes on at each step, and whether the other could have. Depth first.
class Schedule {
 public:
  void run(Side& first, Side& second) {
    std::size_t at = 0;
    for (Side* side : {&first, &second}) side->step();  // to its first call
    while (!first.isOver || !second.isOver) {
      bool const both = !first.isOver && !second.isOver;
      if (at == steps_.size()) steps_.push_back({first.isOver, both});
      (steps_[at++].second ? second : first).step();
    }
  }
  /// Turns to the next order, which is false when there is none.
  bool next() {
    while (!steps_.empty() && (steps_.back().second || !steps_.back().isFree)) steps_.pop_back();
    if (!steps_.empty()) steps_.back().second = true;
    return !steps_.empty();
  }

 private:
  struct Step {
    bool second, isFree;
  };
  std::vector<Step> steps_;
};

struct Pair {
  char const *first, *second;
  char const* told;     // a pattern for what either tells
  char const* content;  // of the copy in the end
};

constexpr Pair kPairs[] = {
    {"Store", "StoreTheirs", "", "@(data|theirs|datars)"},
    {"Store", "ReadRange",
     "@(arl|ata|readFile VKT @(offset|offset+size|::read) failed - errno = 0\nnull)", "data"},
    {"Store", "ReadToTheEnd",
     "@(rlier|ta|readFile VKT @(offset|offset+size|::read) failed - errno = 0\nnull)", "data"},
    {"Store", "RemoveEveryDigest",
     "?(removeFile [*][*] File ~/cache/main.o.* removed from cache\n)", "@(data|none)"},
    {"Store", "Expiry", "remove [*][*] Removing*", "@(data|none)"},
};

class Interleaving : public testing::TestWithParam<Pair> {};

std::function<void(Run&)> bodyOf(std::string const& name) {
  for (auto const& scenario : cacheScenarios()) {
    if (name == scenario.name) return scenario.body;
  }
  return [](Run& run) {
    TestCache& cache = cacheOf(run.world);
    run.attempt([&] { cache.addFile(ByteString("theirs", 6), copyFile(), &copyDigest()); });
  };
}

TEST_P(Interleaving, EveryOrderEndsInOneOfTheTwoOrders) {
  constexpr char kCopy[] = "cache/main.o.8d777f385d3dfec8815d20f7496026dc";
  auto const& [firstName, secondName, told, content] = GetParam();
  auto const first = bodyOf(firstName), second = bodyOf(secondName);
  World world(kCache);
  Run::startTracing();
  cacheOf(world);
  Schedule schedule;
  unsigned int count = 0;
  do {
    world.restore();
    world.makeOld(kCopy);  // the expiry has something to take
    {
      Side one(world, first), other(world, second);
      schedule.run(one, other);
      EXPECT_EQ(one.run.lines + one.run.result, "");
      std::string const text = other.run.lines + other.run.result;
      EXPECT_EQ(::fnmatch(told, text.c_str(), FNM_EXTMATCH), 0) << text;
    }
    auto const files = world.files();
    auto const found = files.find(kCopy);
    std::string const bytes = found == files.end() ? "none" : found->second;
    ASSERT_EQ(::fnmatch(content, bytes.c_str(), FNM_EXTMATCH), 0) << bytes;
    ASSERT_LT(++count, 50000U);
  } while (schedule.next());
  std::printf("%6u  orders of %s and %s\n", count, firstName, secondName);
  EXPECT_GE(count, 70U);
}

INSTANTIATE_TEST_SUITE_P(Sweep, Interleaving, testing::ValuesIn(kPairs), [](auto const& row) {
  return std::string(row.param.first) + "And" + row.param.second;
});

}  // namespace

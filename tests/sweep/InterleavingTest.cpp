#include <cstdio>
#include <semaphore>
#include <thread>

#include "tests/sweep/Scenario.h"

// Two operations on one copy, each on a thread of its own, that take turns at every call they make:
// in each order that there is.
namespace {

using Body = std::function<void(Run&)>;

struct Side {
  Side(World const& world, Body const& body)
      : run(world, plan), thread([this, &body] {
          go.acquire();
          body(run);
          isOver = true;
          back.release();
        }) {
    plan.onPoint = [this](unsigned int, bool callIsOver) {
      if (callIsOver) return;
      back.release();
      go.acquire();
    };
    step();
  }
  ~Side() { thread.join(); }

  // Goes on to its next call, or to its end.
  void step() {
    go.release();
    back.acquire();
  }

  Plan plan;
  Run run;
  bool isOver = false;
  std::binary_semaphore go{0}, back{0};
  std::thread thread;
};

// Which side goes on at each step, and whether the other could have.
struct Step {
  bool second, isFree;
};
using Order = std::vector<Step>;

void follow(Order& order, Side& first, Side& second) {
  for (std::size_t at = 0; !first.isOver || !second.isOver; ++at) {
    if (at == order.size()) order.push_back({first.isOver, !first.isOver && !second.isOver});
    (order[at].second ? second : first).step();
  }
}

// Depth first; none is left when it is empty.
void turnToNext(Order& order) {
  while (!order.empty() && (order.back().second || !order.back().isFree)) order.pop_back();
  if (!order.empty()) order.back().second = true;
}

// What meets a store.
struct Pair {
  char const* other;
  char const* told;     // a pattern for what it tells
  char const* content;  // of the copy in the end
};
void PrintTo(Pair const& pair, std::ostream* out) { *out << "Store and " << pair.other; }

constexpr char kTheirs[] = "StoreTheirs";
constexpr Pair kPairs[] = {
    {kTheirs, "", "@(data|theirs|datars)"},
    {"ReadRange", "@(arl|ata|readFile VKT @(offset|offset+size|::read) failed - errno = 0\nnull)",
     "data"},
    {"ReadToTheEnd",
     "@(rlier|ta|readFile VKT @(offset|offset+size|::read) failed - errno = 0\nnull)", "data"},
    {"RemoveEveryDigest", "?(removeFile [*][*] File ~/cache/main.o.* removed from cache\n)",
     "@(data|gone)"},
    {"Expiry", "remove [*][*] Removing*", "@(data|gone)"},
};

Body bodyOf(std::string const& name) {
  for (auto const& scenario : cacheScenarios()) {
    if (name == scenario.name) return scenario.body;
  }
  return [](Run& run) {
    TestCache& cache = cacheOf(run.world);
    run.attempt([&] { cache.addFile(ByteString("theirs", 6), copyFile(), &copyDigest()); });
  };
}

class Interleaving : public testing::TestWithParam<Pair> {};

TEST_P(Interleaving, EveryOrderEndsInOneOfTheTwoOrders) {
  auto const& [otherName, told, content] = GetParam();
  Body const store = bodyOf("Store"), other = bodyOf(otherName);
  World const world(kCache);
  cacheOf(world);
  Run::startTracing();
  Order order;
  unsigned int count = 0;
  do {
    world.restore();
    world.makeOld(kCopy);  // the expiry has something to take
    {
      Side one(world, store), two(world, other);
      follow(order, one, two);
      EXPECT_EQ(one.run.told(), "");
      EXPECT_TRUE(fits(told, two.run.told())) << two.run.told();
    }
    std::string const now = World::contentIn(world.files(), kCopy);
    ASSERT_TRUE(fits(content, now)) << now;
    ASSERT_LT(++count, 50000U);
    turnToNext(order);
  } while (!order.empty());
  std::printf("%6u  orders of Store and %s\n", count, otherName);
  EXPECT_GE(count, 70U);
}

INSTANTIATE_TEST_SUITE_P(Sweep, Interleaving, testing::ValuesIn(kPairs),
                         [](auto const& row) { return std::string(row.param.other); });

}  // namespace

#include <sys/mman.h>

#include <cstdio>
#include <semaphore>
#include <thread>

#include "cul/events/CUL_Dispatcher.h"
#include "tests/sweep/Scenario.h"

namespace {

class EveryFault : public testing::TestWithParam<Scenario> {};

TEST_P(EveryFault, LeavesWhatIsPromised) {
  auto const complaints = sweep(GetParam());
  for (std::size_t i = 0; i < complaints.size() && i < 10; ++i) ADD_FAILURE() << complaints[i];
}

auto const nameOf = [](auto const& row) { return row.param.name; };
INSTANTIATE_TEST_SUITE_P(Cache, EveryFault, testing::ValuesIn(cacheScenarios()), nameOf);
INSTANTIATE_TEST_SUITE_P(Others, EveryFault, testing::ValuesIn(otherScenarios()), nameOf);

// Operations that are wrong on purpose, by what is to be said of them.
int quietly(char const* path) { return ::open(path, O_RDONLY | O_CLOEXEC); }
bool isMissing(char const* path) {
  struct stat state;
  return ::stat(path, &state) != 0;
}
// The old content is gone before the new one is known to be good.
void tear() {
  int const fd = ::open("cache/main.o", O_WRONLY | O_TRUNC | O_NONBLOCK | O_CLOEXEC);
  static_cast<void>(::write(fd, "data", 4) == 4);
  if (fd >= 0) ::close(fd);
}
void readErrnoLate() {
  bool const failed = isMissing("/");
  quietly("/no/where");
  if (failed) throw std::system_error(errno, std::generic_category());
}
void breakForGood() {
  static bool isBroken = false;
  isBroken |= isMissing("/");
  if (isBroken) ::close(quietly("/dev/null"));
}

std::vector<std::unique_ptr<int>> kept;
constexpr struct {
  char const* complaint;
  void (*operation)();
} kWrong[] = {
    {"it has no points", [] {}},
    {"memory is lost", [] { kept.push_back(std::make_unique<int>(1)); }},
    {"other descriptors are open", [] { quietly("/dev/null"); }},
    {"a child would inherit", [] { ::close(::open("/dev/null", O_RDONLY)); }},
    {"a descriptor is closed twice", [] { ::close(::close(quietly("/dev/null")) + 63); }},
    {"a mapping is left",
     [] { ::mmap(nullptr, 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0); }},
    {"outside is 'gone'", [] { ::unlink("outside"); }},
    {"cache/main.o is ''", tear},
    {"\nfor\nerror 13", readErrnoLate},
    {"nothing is promised of mkdir", [] { ::mkdir("cache", 0700); }},
    {"that came before it", breakForGood},
    {"the dispatcher does not run", [] { isMissing("/"), CUL_Dispatcher::instance()->destroy(); }},
};

Scenario::Body doing(void (*operation)()) {
  return [=](Run& run) { run.attempt(operation); };
}

// Each in a process of its own: one ends the dispatcher.
TEST(SelfTest, EachCheckFindsWhatItIsThereFor) {
  for (auto const& [complaint, operation] : kWrong) {
    Scenario const wrong =
        scenario("Wrong", {{"cache", "/"}, {"cache/main.o", "data"}}, doing(operation), "",
                 "stat -> error %e ; @(open|mmap|unlink|write*)", {"cache/main.o", "", "data"});
    auto const found = testing::Contains(testing::HasSubstr(complaint));
    EXPECT_EQ(inChild([&] { return testing::Matches(found)(sweep(wrong)) ? 7 : 0; }), 7)
        << complaint;
  }
}

// Two operations on one copy, each on a thread of its own, that take turns at every call they make:
// in each order that there is.
struct Side {
  Side(World const& world, Scenario::Body const& body)
      : run(world), thread([this, &body] {
          go.acquire();
          body(run);
          isOver = true;
          back.release();
        }) {
    run.onPoint = [this](unsigned int) {
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

  Run run;
  bool isOver = false;
  std::binary_semaphore go{0}, back{0};
  std::thread thread;
};

// Where both could go on, `order` has the second go or not; the first goes where it says nothing.
void follow(std::vector<bool>& order, Side& first, Side& second) {
  for (std::size_t at = 0; !first.isOver || !second.isOver;) {
    bool const isFree = !first.isOver && !second.isOver;
    if (isFree && at == order.size()) order.push_back(false);
    (isFree ? order[at++] : first.isOver) ? second.step() : first.step();
  }
}

Scenario::Body storing(char const* content) {
  return [=](Run& run) { run.attempt([&] { store(cacheOf(run.world), content, &copyDigest); }); };
}

// A store meets another, or a scenario of that name.
void meetsStore(std::string const& name, char const* told, char const* content) {
  auto const mine = storing("data");
  auto other = storing("theirs");
  for (auto const& each : cacheScenarios()) {
    if (each.name == name) other = each.body;
  }
  World const world({{"cache", "/"}, {kCopy, "earlier"}});
  cacheOf(world);
  Run::startTracing();
  std::vector<bool> order;
  int count = 0;
  do {
    world.restore();
    world.makeOld(kCopy);  // the expiry has something to take
    {
      Side one(world, mine), two(world, other);
      follow(order, one, two);
      EXPECT_EQ(one.run.lines + one.run.result, "");
      EXPECT_TRUE(fits(told, two.run.lines + two.run.result)) << two.run.lines << two.run.result;
    }
    std::string const now = contentIn(world.files(), kCopy);
    ASSERT_TRUE(fits(content, now)) << now;
    ++count;
    while (!order.empty() && order.back()) order.pop_back();  // Depth first.
    if (!order.empty()) order.back() = true;
  } while (!order.empty());
  std::printf("%6d  orders of Store and %s\n", count, name.c_str());
  EXPECT_GE(count, 70);
}

TEST(Interleaving, EveryOrderEndsInOneOfTheTwo) {
  meetsStore("another", "", kStored);
  meetsStore(
      "Read",
      "@(rlier|ta|readFile VKT @(offset failed - errno = 33|::read failed - errno = 0)\nnull)",
      "data");
  meetsStore("RemoveEveryDigest", "?(removeFile [*][*] File ~/cache/main.o.* removed from cache\n)",
             "@(data|gone)");
  meetsStore("Expiry", "remove [*][*] Removing*", "@(data|gone)");
}

}  // namespace

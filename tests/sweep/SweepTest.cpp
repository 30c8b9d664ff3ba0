#include <sys/mman.h>

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

// Wrong on purpose, in every way that shows without a fault.
void wrong() {
  static std::vector<std::unique_ptr<int>> kept;
  kept.push_back(std::make_unique<int>(1));
  int const inherited = ::open("/dev/null", O_RDONLY);
  ::close(::close(::dup(inherited)) + 63);
  ::mmap(nullptr, 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ::unlink("outside");
  ::mkdir("cache", 0700);
  CUL_Dispatcher::instance()->destroy();
}

// And in ways that show when something fails: the old content is gone before the new one is known
// to be good, errno is read late, and what once went wrong never ends.
void wrongWhenItFails() {
  static bool isBroken = false;
  struct stat state;
  bool const failed = ::stat("/", &state) != 0;
  int const fd = ::open("cache/main.o", O_WRONLY | O_TRUNC | O_NONBLOCK | O_CLOEXEC);
  static_cast<void>(::write(fd, "data", 4) == 4);
  if (fd >= 0) ::close(fd);
  isBroken |= failed;
  if (isBroken) ::close(::open("/no/where", O_RDONLY | O_CLOEXEC));
  if (failed) throw std::system_error(errno, std::generic_category());
}

// Each in a process of its own: one ends the dispatcher.
TEST(SelfTest, EachCheckFindsWhatItIsThereFor) {
  struct {
    void (*operation)();
    std::vector<char const*> complaints;
  } const rows[] = {
      {[] {}, {"it has no points"}},
      {wrong,
       {"memory is lost", "other descriptors are open", "a child would inherit",
        "a descriptor is closed twice", "a mapping is left", "outside is 'gone'",
        "nothing is promised of mkdir", "the dispatcher does not run"}},
      {wrongWhenItFails, {"cache/main.o is ''", "\nfor\nerror 13", "that came before it"}},
  };
  for (auto const& row : rows) {
    auto const body = [&](auto& run) { run.attempt(row.operation); };
    Scenario const faulty =
        scenario("Wrong", {{"cache", "/"}, {"cache/main.o", "data"}}, body, "",
                 "stat -> error %e ; @(open|mmap|unlink|write*)", {"cache/main.o", "", "data"});
    int const end = inChild([&] {
      auto const found = sweep(faulty);
      auto const isFound = [&](char const* complaint) {
        return testing::Matches(testing::Contains(testing::HasSubstr(complaint)))(found);
      };
      return std::all_of(row.complaints.begin(), row.complaints.end(), isFound) ? 7 : 0;
    });
    EXPECT_EQ(end, 7) << testing::PrintToString(row.complaints);
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

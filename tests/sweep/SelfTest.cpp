#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <memory>
#include <vector>

#include "cul/events/CUL_Dispatcher.h"
#include "tests/sweep/Scenarios.h"
#include "tests/sweep/Sweep.h"

// Each check of the sweep meets what it is there to find: operations that are deliberately wrong.
namespace {

constexpr int kQuietly = O_RDONLY | O_CLOEXEC;

void leak(Run& run) {
  static std::vector<std::unique_ptr<int>> kept;
  run.attempt([] { kept.push_back(std::make_unique<int>(1)); });
}
void leaveOpen(Run& run) {
  run.attempt([] { ::open("/dev/null", kQuietly); });
}
void handDown(Run& run) {
  run.attempt([] { ::close(::open("/dev/null", O_RDONLY)); });
}
void closeTwice(Run& run) {
  run.attempt([] {
    int const fd = ::open("/dev/null", kQuietly);
    ::close(fd);
    ::close(fd);
  });
}
void leaveMapped(Run& run) {
  run.attempt([] { ::mmap(nullptr, 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0); });
}
void endDispatcher(Run& run) {
  run.attempt([] { ::close(::open("/dev/null", kQuietly)); });
  CUL_Dispatcher::instance()->destroy();
}
void vary(Run& run) {
  static int rounds = 0;
  if (++rounds > 1) run.attempt([] { ::close(::open("/dev/null", kQuietly)); });
  if (rounds % 2 == 0) run.attempt([] { ::close(::open("/dev/null", kQuietly)); });
}
void removeOther(Run& run) {
  run.attempt([&] { ::unlink(run.world.path("outside").c_str()); });
}
// The old content is gone before the new one is known to be good.
void tear(Run& run) {
  run.attempt([&] {
    int const fd = ::open(run.world.path("files/ancient").c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (::write(fd, "more", 4) != 4) run.line("write failed");
    if (fd >= 0) ::close(fd);
  });
}
void readErrnoLate(Run& run) {
  run.attempt([&] {
    struct stat state;
    int const status = ::stat("/", &state);
    ::open("/no/where", kQuietly);
    if (status != 0) run.line("stat failed - errno = " + std::to_string(errno));
  });
}
void stayBroken(Run& run) {
  static bool isBroken = false;
  struct stat state;
  run.attempt([&] { isBroken |= ::stat("/", &state) != 0; });
  run << (isBroken ? "broken" : "whole");
}

struct Faulty {
  Scenario scenario;
  char const* complaint;
};
void PrintTo(Faulty const& row, std::ostream* out) { *out << row.scenario.name; }

std::vector<Faulty> faulty() {
  Promise const opens = {"open"};
  Promise const late = {"stat", "stat failed - errno = %e"};
  return {
      {Scenario("Leaks", 0, leak).gives("", "bad_alloc "), "memory is lost"},
      {Scenario("LeavesOpen", 0, leaveOpen).when({opens}), "other descriptors"},
      {Scenario("HandsDown", 0, handDown).when({opens}), "would inherit"},
      {Scenario("ClosesTwice", 0, closeTwice).when({opens}), "closed twice"},
      {Scenario("LeavesMapped", 0, leaveMapped).when({{"mmap"}}), "a mapping is left"},
      {Scenario("HasNoPoints", 0, [](Run&) {}), "no points"},
      {Scenario("Varies", 0, vary).when({opens}), "its points vary"},
      {Scenario("RemovesOther", 0, removeOther).when({{"unlink"}}), "outside is gone"},
      {Scenario("Tears", kFile, tear)
           .gives("", "bad_alloc ")
           .when({opens, {"write*", "write failed"}})
           .changes({{"files/ancient", "more"}}),
       "files/ancient is ''"},
      {Scenario("ReadsErrnoLate", 0, readErrnoLate).when({late, opens}),
       "where it is to tell\nstat failed - errno = 13"},
      {Scenario("TellsTooMuch", 0, readErrnoLate).when({{"stat"}, opens}), "it tells\nstat failed"},
      {Scenario("PromisesNothing", 0, readErrnoLate).when({opens}), "nothing is promised of stat"},
      {Scenario("StaysBroken", 0, stayBroken)
           .gives("whole", "")
           .when({{"stat", nullptr, "broken"}}),
       "that came before it"},
      {Scenario("EndsDispatcher", 0, endDispatcher).when({opens}), "dispatcher does not run"},
  };
}

class SelfTest : public testing::TestWithParam<Faulty> {};

TEST_P(SelfTest, EachCheckFindsWhatItIsThereFor) {
  Sweep sweep(GetParam().scenario);
  if (sweep.complaints.empty()) sweep.failures();
  EXPECT_THAT(sweep.complaints, testing::Contains(testing::HasSubstr(GetParam().complaint)));
}

INSTANTIATE_TEST_SUITE_P(Sweep, SelfTest, testing::ValuesIn(faulty()),
                         [](auto const& row) { return row.param.scenario.name; });

}  // namespace

#include <sys/mman.h>
#include <unistd.h>

#include "cul/events/CUL_Dispatcher.h"
#include "tests/sweep/Sweep.h"

// Each check of the sweep meets what it is there to find: operations that are deliberately wrong.
namespace {

int quietly(char const* path) { return ::open(path, O_RDONLY | O_CLOEXEC); }
void openAndClose() { ::close(quietly("/dev/null")); }

void leak() {
  static std::vector<std::unique_ptr<int>> kept;
  kept.push_back(std::make_unique<int>(1));
}
void closeTwice() {
  int const fd = quietly("/dev/null");
  ::close(fd);
  ::close(fd);
}
void endDispatcher() {
  openAndClose();
  CUL_Dispatcher::instance()->destroy();
}
void vary() {
  static int rounds = 0;
  for (int i = rounds++ % 2; i >= 0; --i) openAndClose();
}
// The old content is gone before the new one is known to be good.
void tear(Run& run) {
  run.attempt([&] {
    int const fd = ::open("files/ancient", O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (::write(fd, "more", 4) != 4) run.line("write failed");
    if (fd >= 0) ::close(fd);
  });
}
void readErrnoLate(Run& run) {
  run.attempt([&] {
    struct stat state;
    int const status = ::stat("/", &state);
    quietly("/no/where");
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
  auto const does = [](void (*what)()) { return [=](Run& run) { run.attempt(what); }; };
  auto const leaveOpen = [] { quietly("/dev/null"); };
  auto const handDown = [] { ::close(::open("/dev/null", O_RDONLY)); };
  auto const leaveMapped = [] {
    ::mmap(nullptr, 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  };
  auto const removeOther = [] { ::unlink("outside"); };
  Promise const opens = {"open"}, told = {"stat", "stat failed - errno = %e"};
  return {
      {Scenario("Leaks", 0, does(leak)), "memory is lost"},
      {Scenario("LeavesOpen", 0, does(leaveOpen), "", "", {opens}), "other descriptors"},
      {Scenario("HandsDown", 0, does(handDown), "", "", {opens}), "would inherit"},
      {Scenario("ClosesTwice", 0, does(closeTwice), "", "", {opens}), "closed twice"},
      {Scenario("LeavesMapped", 0, does(leaveMapped), "", "", {{"mmap"}}), "a mapping is left"},
      {Scenario("HasNoPoints", 0, [](Run&) {}), "no points"},
      {Scenario("Varies", 0, does(vary), "", "", {opens}), "its points vary"},
      {Scenario("RemovesOther", 0, does(removeOther), "", "", {{"unlink"}}), "outside is 'gone'"},
      {Scenario("Tears", kFile, tear, "", "", {opens, {"write*", "write failed"}}, "files/ancient",
                {}, "more"),
       "files/ancient is ''"},
      {Scenario("ReadsErrnoLate", 0, readErrnoLate, "", "", {told, opens}),
       "where it is to tell\nstat failed - errno = 13"},
      {Scenario("TellsTooMuch", 0, readErrnoLate, "", "", {{"stat"}, opens}),
       "it tells\nstat failed"},
      {Scenario("PromisesNothing", 0, readErrnoLate, "", "", {opens}),
       "nothing is promised of stat"},
      {Scenario("StaysBroken", 0, stayBroken, "whole", "", {{"stat", nullptr, "broken"}}),
       "that came before it"},
      {Scenario("EndsDispatcher", 0, does(endDispatcher), "", "", {opens}),
       "dispatcher does not run"},
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

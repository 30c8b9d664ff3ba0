// cul-metered: a dispatcher that tells what its thread spends its time on.
//
// Three threads post events, a chain of timers runs beside them, and one event hangs until the
// watcher has named it. It ends with 0 when every event was counted and the right one named.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Checks.h"
#include "Display.h"
#include "Host.h"
#include "MeteredDispatcher.h"
#include "Watcher.h"
#include "cul/platform/CUL_Api.h"
#include "quonutil/digest/MD5.h"

constexpr unsigned kPosters = 3;
constexpr unsigned kStepsEach = 1000;
constexpr unsigned kLoads = 12;
constexpr unsigned kHeartbeats = 25;
constexpr unsigned kEvents = kPosters * kStepsEach + kLoads + kHeartbeats + 1;

constexpr unsigned long kHeartbeat = 2'500;  // microseconds
constexpr unsigned long kTooLong = 50'000;   // microseconds
constexpr unsigned long kPatience = 60'000;  // milliseconds

// The events have names of their own, not those of an unnamed namespace: the accounts show them.
// This is what they have in common.
struct Session {
  MeteredDispatcher dispatcher{2};
  UNIX_Event_Semaphore named;  // the event that hangs
  UNIX_Event_Semaphore allRan;
  std::atomic<unsigned> left = kEvents;

  void oneRan() {
    if (--left == 0) allRan.post();
  }

  template <class Event, class... Values>
  void post(unsigned char priority, Values... values) {
    auto event = std::make_unique<Event>(*this, values...);
    if (dispatcher.post(*event, priority)) static_cast<void>(event.release());
  }
};

struct SessionEvent : CUL_Event {
  explicit SessionEvent(Session& owner) : session(owner) {}
  Session& session;
};

// One step of the program that is debugged: next to nothing.
struct Step final : SessionEvent {
  using SessionEvent::SessionEvent;
  void handle_it() override { session.oneRan(); }
};

// Reads this program whole and takes its digest.
struct LoadSymbols final : SessionEvent {
  using SessionEvent::SessionEvent;
  void handle_it() override {
    FileName const file(EncodedString("/proc/self/exe", EncodedString::kSystemText));
    ByteString content;
    TimeDateStamp stamp;
    if (CUL_Api::read(file, content, stamp, nullptr) == 0) {
      MD5 const digest(content.data(), content.length());
    }
    session.oneRan();
  }
};

// Waits for an answer that comes when somebody has seen that it waits.
struct AskTarget final : SessionEvent {
  using SessionEvent::SessionEvent;
  void handle_it() override {
    session.named.wait(kPatience, UNIX_Event_Semaphore::kMilliseconds, false);
    session.oneRan();
  }
};

// A timer that posts its successor.
struct Heartbeat final : MeteredTimer {
  Heartbeat(Session& owner, unsigned more)
      : MeteredTimer(kHeartbeat), session(owner), successors(more) {}
  void handle_it() override {
    if (successors != 0) session.post<Heartbeat>(1, successors - 1);
    session.oneRan();
  }
  Session& session;
  unsigned const successors;
};

namespace {

class DispatchThread final : public StdThread {
 public:
  explicit DispatchThread(EventDispatcherBase& dispatcher)
      : StdThread("dispatch", 0, nullptr), dispatcher_(dispatcher) {
    start_thread(0);
  }
  ~DispatchThread() override {
    dispatcher_.destroy();
    join();
  }
  void run() override { dispatcher_.dispatchLoop(); }

 private:
  EventDispatcherBase& dispatcher_;
};

void postAll(Session& session) {
  session.post<Heartbeat>(1, kHeartbeats - 1);
  std::vector<std::jthread> posters;
  for (unsigned i = 0; i < kPosters; ++i) {
    posters.emplace_back([&session, i] {
      for (unsigned step = 0; step < kStepsEach; ++step) session.post<Step>(1);
      for (unsigned load = i; load < kLoads; load += kPosters) session.post<LoadSymbols>(2);
    });
  }
  session.post<AskTarget>(2);
}

void show(Display& display, MeteredDispatcher::Accounts const& accounts) {
  auto const milliseconds = [](auto time) { return static_cast<double>(time) / 1000; };
  display.line("%-12s %6s %12s %12s %12s", "event", "runs", "in all", "longest", "latest");
  for (auto const& [kind, account] : accounts) {
    char late[16] = "-";
    if (account.latest) std::snprintf(late, sizeof late, "%.3f ms", milliseconds(*account.latest));
    display.line("%-12s %6u %9.3f ms %9.3f ms %12s", kind.c_str(), account.runs,
                 milliseconds(account.total), milliseconds(account.longest), late);
  }
  auto const& [kind, account] = *std::max_element(
      accounts.begin(), accounts.end(),
      [](auto const& one, auto const& other) { return one.second.longest < other.second.longest; });
  display.line("The longest was %s: %.3f ms", kind.c_str(), milliseconds(account.longest));
}

void compare(Checks& checks, MeteredDispatcher::Accounts accounts) {
  struct {
    char const* kind;
    unsigned posted;
  } const rows[] = {{"AskTarget", 1},
                    {"Heartbeat", kHeartbeats},
                    {"LoadSymbols", kLoads},
                    {"Step", kPosters * kStepsEach}};
  for (auto const& [kind, posted] : rows) {
    checks.confirmAll(accounts[kind].runs, posted, std::string(kind) + " ran");
  }
  checks.confirm(accounts.size() == std::size(rows), "nothing else ran");
  checks.confirm(accounts["Heartbeat"].earliest >= 0, "no timer ran before its time");
}

int run() {
  Display display;
  Checks checks(display);
  display.heading("A dispatcher that tells what it spends its time on");
  Session session;
  std::vector<std::string> named;
  {
    DispatchThread const thread(session.dispatcher);
    Watcher const watcher(session.dispatcher, kTooLong, [&](auto const& running) {
      named.push_back(running.kind);
      if (running.kind == "AskTarget") session.named.post();
    });
    postAll(session);
    session.allRan.wait(kPatience, UNIX_Event_Semaphore::kMilliseconds, false);
  }
  for (auto const& kind : named) {
    display.line("watcher: %s runs for more than %lu ms", kind.c_str(), kTooLong / 1000);
  }
  auto const accounts = session.dispatcher.accounts();
  show(display, accounts);
  compare(checks, accounts);
  checks.confirm(std::count(named.begin(), named.end(), "AskTarget") == 1,
                 "the watcher named the event that hung, once");
  return checks.exitStatus();
}

}  // namespace

int main() { return runHost("cul-metered", run); }

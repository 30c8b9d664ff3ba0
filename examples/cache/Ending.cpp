#include <filesystem>
#include <iterator>
#include <memory>
#include <thread>

#include "Demo.h"
#include "Events.h"
#include "cul/events/CUL_Dispatcher.h"
#include "cul/events/CUL_EventDispatcher.h"
#include "cul/events/CUL_Timer_Event.h"

namespace {

constexpr double kPatience = 10;  // seconds

bool postLate(EventDispatcherBase& dispatcher) {
  auto const delay = CUL_Timer_Event::kLongestInterval;
  return postTo(dispatcher, std::make_unique<Work<CUL_Timer_Event>>([] {}, delay), 1);
}

// A thread stays in the system's list for a moment after join(), and nothing tells when it goes.
bool areThreads(std::size_t expected) {
  auto const start = Clock::now();
  while (countThreads() != expected && secondsSince(start) < kPatience) std::this_thread::yield();
  return countThreads() == expected;
}

}  // namespace

std::size_t countThreads() {
  std::filesystem::directory_iterator const threads("/proc/self/task");
  return static_cast<std::size_t>(std::distance(begin(threads), end(threads)));
}

void endDispatching(Demo& demo, DispatchThread& dispatch, std::size_t threads) {
  demo.display.heading("The dispatchers are destroyed, and nothing is left of them");
  auto* const dispatcher = CUL_Dispatcher::instance();
  auto* const alternate = dispatcher->makeAlternate();  // out of reach after destroy()
  bool const taken = postLate(*dispatcher) && postLate(*alternate);
  dispatcher->destroy();
  alternate->join();
  dispatch.join();
  demo.checks.confirm(taken && !postLate(*dispatcher),
                      "timers were taken before, and none is after");
  demo.checks.confirm(Counted::made == Counted::gone,
                      std::to_string(Counted::made) + " events were made, " +
                          std::to_string(Counted::gone) + " are gone");
  demo.checks.confirm(areThreads(threads - 1), "every thread is joined, and gone from the system");
  demo.expectNoTrace();
}

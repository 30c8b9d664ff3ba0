#include <future>
#include <latch>
#include <memory>

#include "Demo.h"
#include "Events.h"
#include "cul/events/CUL_Dispatcher.h"
#include "cul/events/CUL_EventDispatcher.h"
#include "cul/events/CUL_Timer_Event.h"

namespace {

void nothing() {}

// Belongs to the events of one dispatcher: the last that goes tells in which order they ran.
struct Course {
  ~Course() { told.set_value(ran); }

  std::string ran;  // names, each behind a blank
  std::promise<std::string> told;
};

// Gives a dispatcher events that note their names. The first holds its thread until it has all.
class Poster {
 public:
  explicit Poster(EventDispatcherBase& dispatcher) : dispatcher_(dispatcher) {
    post("hold", 1, [this] { queued_.wait(); });
  }

  void post(std::string const& name, unsigned char priority, std::function<void()> act = nothing) {
    give<CUL_Event>(name, priority, std::move(act));
  }
  // A timer that is due at once.
  void postTimer(std::string const& name, unsigned char priority) {
    give<CUL_Timer_Event>(name, priority, nothing, 0UL);
  }

  // Lets the events run, and waits until the last of them is gone.
  void compare(Demo& demo, std::string const& expected) {
    auto told = course_->told.get_future();
    course_.reset();
    queued_.count_down();
    std::string const ran = told.get();
    demo.display.line("posted   %s", posted_.c_str());
    demo.display.line("expected %s", expected.c_str());
    demo.display.line("ran      %s", ran.c_str());
    demo.checks.confirm(ran == expected, "they ran in the order expected");
  }

 private:
  template <class Event, class... Delay>
  void give(std::string const& name, unsigned char priority, std::function<void()> act,
            Delay... delay) {
    auto note = [course = course_, name, act = std::move(act)] {
      course->ran += ' ' + name;
      act();
    };
    posted_ += ' ' + name + '/' + std::to_string(priority);
    postTo(dispatcher_, std::make_unique<Work<Event>>(std::move(note), delay...), priority);
  }

  EventDispatcherBase& dispatcher_;
  std::shared_ptr<Course> course_ = std::make_shared<Course>();
  std::string posted_;
  std::latch queued_{1};
};

void runOnOneLevel(Demo& demo) {
  demo.display.line("\"DispAlt\" has one level, where priorities count for nothing:");
  Poster poster(*CUL_Dispatcher::instance()->makeAlternate());
  poster.postTimer("timer", 0);
  poster.post("a", 255);
  poster.post("b", 0);
  poster.post("c", 2);
  poster.compare(demo, " hold a b c timer");
}

void runOnFourLevels(Demo& demo) {
  demo.display.line("Four levels, the last two held back until \"release\" runs:");
  CUL_EventDispatcher dispatcher("levels", 4, 0);
  Poster poster(dispatcher);
  poster.post("fourth", 4);
  poster.post("third", 3);
  poster.post("second", 2);
  poster.postTimer("timer", 1);
  poster.post("first", 1);
  poster.post("first-too", 0);
  dispatcher.block(2);
  poster.post("lowered", 4);  // to the highest level served
  poster.post("release", 2, [&dispatcher] { dispatcher.block(4); });
  poster.compare(demo, " hold first first-too timer second lowered release third fourth");
  dispatcher.destroy();
  dispatcher.join();
}

}  // namespace

void runInOrder(Demo& demo) {
  demo.display.heading("Two more dispatchers run their events in order");
  runOnOneLevel(demo);
  runOnFourLevels(demo);
}

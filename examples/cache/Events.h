#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "cul/events/CUL_Event.h"
#include "cul/events/EventDispatcherBase.h"

/// A part of every event that the demo makes: how many there were, and how many are gone.
struct Counted {
  Counted() { ++made; }
  Counted(Counted const&) = delete;
  Counted& operator=(Counted const&) = delete;
  ~Counted() { ++gone; }

  static inline std::atomic<unsigned> made = 0;
  static inline std::atomic<unsigned> gone = 0;
};

/// An event that does what it is given. `Event` is CUL_Event, or CUL_Timer_Event with its delay.
template <class Event>
class Work final : public Event {
 public:
  template <class... Delay>
  explicit Work(std::function<void()> act, Delay... delay)
      : Event(delay...), act_(std::move(act)) {}
  void handle_it() override { act_(); }

 private:
  std::function<void()> const act_;
  Counted const counted_;
};

/// Hands an event to a dispatcher. One that was destroyed takes none: then the event ends here.
inline bool postTo(EventDispatcherBase& dispatcher, std::unique_ptr<CUL_Event> event,
                   unsigned char priority) {
  bool const taken = dispatcher.post(*event, priority);
  if (taken) static_cast<void>(event.release());  // it may have run by now, and be gone
  return taken;
}

#include "cul/events/EventDispatcherBase.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "cul/base/Append.h"
#include "cul/base/LockGuard.h"
#include "cul/events/CUL_Event.h"
#include "cul/events/CUL_Timer_Event.h"
#include "quonutil/collections/AutoList.h"
#include "quonutil/threads/StdThread.h"

namespace {

constexpr unsigned long kLongestWait = 999'999;  // microseconds
constexpr unsigned long kMicrosecondsPerMillisecond = 1'000;

unsigned char levelOf(unsigned char priority, unsigned char topLevel) {
  if (priority <= 1) return 0;
  return std::min(static_cast<unsigned char>(priority - 1), topLevel);
}

}  // namespace

// Wakes a dispatch thread that has to see that its dispatcher is destroyed.
class EventDispatcherBase::Dummy : public CUL_Event {
 public:
  void handle_it() override {}
};

// The queues of one priority.
struct EventDispatcherBase::Level {
  // Emptied, a queue keeps its places: destroy() always finds one for its Dummy.
  Level() {
    constexpr unsigned int kPlaces = 8;
    timers.reserve(kPlaces);
    events.reserve(kPlaces);
  }

  AutoList<CUL_Timer_Event*> timers;  // by due time, equal ones in posting order
  AutoList<CUL_Event*> events;        // in posting order

  void insert(CUL_Timer_Event& timer) {
    unsigned int const count = timers.count();
    // Most come in the order of their due times.
    if (count == 0 || timers[count - 1]->timeoutTime <= timer.timeoutTime) {
      timers.append(&timer);
    } else {
      timers.insert(placeOf(timer), &timer);
    }
  }

  // Takes the next event that may run off the levels up to `top`, or gives null and lowers
  // `shortest` to the microseconds that the nearest due time on them is away.
  static CUL_Event* takeNext(List<Level*> const& levels, std::atomic<unsigned char> const& top,
                             unsigned long& shortest) {
    for (unsigned int i = 0; i <= top; ++i) {
      Level& level = *levels[i];
      if (!level.events.isEmpty()) return level.events.remove(0);
      if (level.timers.isEmpty()) continue;
      CUL_Timer_Event const& first = *level.timers[0];
      if (first.isTimeExpired()) return level.timers.remove(0);
      shortest = std::min(shortest, first.timeToExpiry());
    }
    return nullptr;
  }

  void purge() {
    while (!timers.isEmpty()) discard(timers.remove(timers.count() - 1));
    while (!events.isEmpty()) discard(events.remove(events.count() - 1));
  }

  void purge(void const* tag) {
    purge(timers, tag);
    purge(events, tag);
  }

  CUL_Event* find(void const* tag) const {
    if (CUL_Event* const event = find(events, tag)) return event;
    return find(timers, tag);
  }

 private:
  // In front of the first that is due later; there is one.
  unsigned int placeOf(CUL_Timer_Event const& timer) const {
    unsigned int low = 0;
    unsigned int left = timers.count();
    while (left > 1) {
      unsigned int const half = left / 2;
      if (timers[low + half - 1]->timeoutTime <= timer.timeoutTime) low += half;
      left -= half;
    }
    return low;
  }

  // An event's destructor may call the dispatcher: each is out of its list before it is deleted,
  // and the list may be shorter afterwards than it was.
  template <class T>
  static void purge(AutoList<T>& queue, void const* tag) {
    for (unsigned int i = queue.count(); i-- > 0;) {
      if (i < queue.count() && queue[i]->tag == tag) discard(queue.remove(i));
    }
  }

  template <class T>
  static CUL_Event* find(AutoList<T> const& queue, void const* tag) {
    for (unsigned int i = 0; i < queue.count(); ++i) {
      if (queue[i]->tag == tag) return queue[i];
    }
    return nullptr;
  }

  static void discard(CUL_Event* event) {
    event->purged = true;
    delete event;
  }
};

EventDispatcherBase::EventDispatcherBase(unsigned char n)
    : dispatchThread(0),
      pending(0),
      topLevel(n == 0 ? 0 : n - 1),
      levelCount(topLevel + 1),
      destroyed(false) {
  AutoList<Level*> made(levelCount);
  while (made.count() < levelCount) append(made, std::make_unique<Level>());
  levels.reserve(levelCount);
  while (!made.isEmpty()) levels.append(made.remove(0));
}

EventDispatcherBase::~EventDispatcherBase() {
  {
    LockGuard const held(lock, "purge");
    _purge();
  }
  levels.deleteElements();
}

// ---- the posters' side -----------------------------------------------------------------------

bool EventDispatcherBase::post(CUL_Event& event, unsigned char priority) {
  unsigned char const chosen = levelOf(priority, topLevel);
  LockGuard const held(lock, "post");
  if (destroyed) return false;
  Level& level = *levels[chosen];
  if (event.isTimer) {
    level.insert(static_cast<CUL_Timer_Event&>(event));
  } else {
    level.events.append(&event);
  }
  ++pending;
  if (chosen <= topLevel) wakeup.post();
  return true;
}

bool EventDispatcherBase::post(CUL_Timer_Event& event, unsigned char priority) {
  return post(static_cast<CUL_Event&>(event), priority);
}

void EventDispatcherBase::block(unsigned char n) {
  unsigned char const served = std::max<unsigned char>(1, std::min(n, levelCount));
  auto const newTop = static_cast<unsigned char>(served - 1);
  LockGuard const held(lock, "block");
  bool const more = newTop > topLevel;
  topLevel = newTop;
  if (more) wakeup.post();
}

void EventDispatcherBase::destroy() {
  auto dummy = std::make_unique<Dummy>();
  LockGuard const held(lock, "destroy");
  destroyed = true;
  _purge();
  append(levels[0]->events, std::move(dummy));
  ++pending;
  wakeup.post();
}

// ---- the dispatch thread's side --------------------------------------------------------------

namespace {

// Marks the calling thread as the dispatch thread as long as it lives.
class DispatchMark {
 public:
  explicit DispatchMark(std::atomic<unsigned long>& thread) : thread_(thread) {
    thread_ = StdThread::currentThreadId();
  }
  DispatchMark(DispatchMark const&) = delete;
  DispatchMark& operator=(DispatchMark const&) = delete;
  ~DispatchMark() { thread_ = 0; }

 private:
  std::atomic<unsigned long>& thread_;
};

}  // namespace

void EventDispatcherBase::dispatchLoop() {
  std::unique_ptr<CUL_Event> event;
  {
    DispatchMark const mark(dispatchThread);
    event.reset(_waitpop());
    while (!destroyed && event != nullptr) {
      _process_event(event.release());
      event.reset(_waitpop());
    }
  }
  event.reset();  // taken too late to run
  // destroy() may be purging at this very moment: without the lock both would delete the same.
  LockGuard const held(lock, "purge");
  _purge();
}

bool EventDispatcherBase::on_dispatch_thread() const {
  return StdThread::currentThreadId() == dispatchThread;
}

void EventDispatcherBase::_process_event(CUL_Event* event) {
  std::unique_ptr<CUL_Event> const owned(event);
  if (owned != nullptr) owned->handle_it();
}

CUL_Event* EventDispatcherBase::_waitpop() {
  while (!destroyed) {
    unsigned long shortest = kLongestWait;
    {
      LockGuard const held(lock, "_waitpop");
      wakeup.reset();
      if (CUL_Event* const event = Level::takeNext(levels, topLevel, shortest)) {
        StdThread::currentThread()->thread_yield();
        --pending;
        return event;
      }
    }
    wakeup.wait(shortest / kMicrosecondsPerMillisecond + 1, UNIX_Event_Semaphore::kMilliseconds,
                false);
  }
  return nullptr;
}

// ---- looking up and discarding ---------------------------------------------------------------

void EventDispatcherBase::_purge() {
  for (unsigned int i = levels.count(); i-- > 0;) levels[i]->purge();
  pending = 0;
}

// No lock is taken, so that a poster may cancel in the middle of something of its own.
QUONUTIL_UNCHECKED void EventDispatcherBase::_purge(void const* tag) {
  for (unsigned int i = levels.count(); i-- > 0;) levels[i]->purge(tag);
  unsigned int left = 0;
  for (unsigned int i = 0; i < levels.count(); ++i) {
    left += levels[i]->timers.count() + levels[i]->events.count();
  }
  pending = left;
}

// As above.
QUONUTIL_UNCHECKED CUL_Event* EventDispatcherBase::_findFirstEvent(void* tag) const {
  for (unsigned int i = 0; i < levels.count(); ++i) {
    if (CUL_Event* const event = levels[i]->find(tag)) return event;
  }
  return nullptr;
}

#include "cul/events/EventDispatcherBase.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "cul/base/Append.h"
#include "cul/base/LockGuard.h"
#include "cul/events/Level.h"
#include "quonutil/threads/StdThread.h"

namespace {

constexpr unsigned long kLongestWait = 999'999;  // microseconds
constexpr unsigned long kMicrosecondsPerMillisecond = 1'000;

unsigned char levelOf(unsigned char priority, unsigned char topLevel) {
  return std::min(static_cast<unsigned char>(priority == 0 ? 0 : priority - 1), topLevel);
}

}  // namespace

// Wakes a dispatch thread that has to see that its dispatcher is destroyed.
class EventDispatcherBase::Dummy : public CUL_Event {
 public:
  void handle_it() override {}
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

#pragma once

#include <atomic>

#include "cul/base/Export.h"
#include "quonutil/collections/List.h"
#include "quonutil/threads/ThreadSafety.h"
#include "quonutil/threads/UNIX_Critical_Section.h"
#include "quonutil/threads/UNIX_Event_Semaphore.h"

class CUL_Event;
class CUL_Timer_Event;

/// Runs the events that any thread posts, one at a time, on the thread that calls `dispatchLoop()`.
///
/// There are 1 to 255 levels; level 0 is served first. Priorities 0 and 1 stand for level 0, p for
/// level p - 1. On a level, plain events run in the order they were posted, then the timer events
/// that are due in the order of their due times, equal ones in the order they were posted. Each
/// choice begins anew at level 0. An event of a level that is held back stays queued, unseen.
///
///   state        entered by                 posts       left by
///   idle         construction               are taken   dispatchLoop(), destroy()
///   dispatching  dispatchLoop()             are taken   destroy(), an exception out of an event
///   destroyed    destroy()                  refused     the loop's end
///   ended        dispatchLoop() returning   refused     destruction
///
/// Any thread may post, block or destroy at any time, events that run or are being destroyed
/// included; one thread at a time dispatches. The destructor waits for nobody: `dispatchLoop()`
/// has returned before. std::bad_alloc passes, with the lock released and nothing changed. A
/// process does not fork while a dispatcher runs, unless the child calls exec at once: the child
/// lacks the dispatch thread, and may have a lock that nobody releases.
class CUL_EXPORT EventDispatcherBase {
 public:
  /// A dispatcher with `n` levels, all of them served; 0 is taken for 1.
  explicit EventDispatcherBase(unsigned char n);
  EventDispatcherBase(EventDispatcherBase const&) = delete;
  EventDispatcherBase& operator=(EventDispatcherBase const&) = delete;

  /// Ends the dispatcher for good: discards every queued event and has the loop end once the event
  /// that it is running has returned.
  virtual void destroy();

  virtual ~EventDispatcherBase();

  /// Queues an event on the level that `priority` stands for, or on the highest level served when
  /// that is lower. Returns true when the dispatcher took the event, which may have run by then;
  /// false when the dispatcher is destroyed and the event is still the poster's.
  bool post(CUL_Event& event, unsigned char priority);
  /// The same. Which queue takes an event follows from the event, not from the overload.
  bool post(CUL_Timer_Event& event, unsigned char priority);

  /// Makes the calling thread the dispatch thread until the dispatcher is destroyed. What an event
  /// throws comes out here: that event is deleted, the others stay queued, and the loop may be
  /// entered again.
  ///
  /// With nothing to do it sleeps until a post or the next due time, in whole milliseconds plus one
  /// and at most 1000. After taking an event it yields the processor once.
  void dispatchLoop();

  /// Serves the first `n` levels from now on, at least one; from levelCount on, all of them.
  void block(unsigned char n);

  /// True on the thread that is in `dispatchLoop()`.
  bool on_dispatch_thread() const;

  /// The first queued event with this tag, from level 0 up, plain events before timers, levels that
  /// are held back included; null when there is none. Takes no lock: only where no other thread
  /// posts or dispatches.
  CUL_Event* _findFirstEvent(void* tag) const;

  /// Discards every queued event with this tag. Takes no lock: only where no other thread posts or
  /// dispatches.
  void _purge(void const* tag);

 protected:
  struct Level;
  class Dummy;

  /// Runs one event and deletes it, on every way out. Null is passed over.
  virtual void _process_event(CUL_Event* event);

  /// Waits for the next event, which is the caller's; null when the dispatcher is destroyed.
  CUL_Event* _waitpop();

  /// Discards every queued event, from the last level to the first, on each from the last timer to
  /// the first and then from the last plain event to the first.
  void _purge() QUONUTIL_NEEDS(lock);

  // `lock` guards the queues, `pending`, and every change of `topLevel` and `destroyed`. Read
  // without it are `destroyed` (at each turn of the loop), `topLevel` (post picks a level, and
  // looks again under the lock before it wakes), `dispatchThread`, and `levelCount`, which never
  // changes.
  //
  // `wakeup` is reset and posted only under `lock`, and posted after the change that it tells of:
  // a scan that found nothing cannot sleep through a post.
  List<Level*> levels QUONUTIL_GUARDED_BY(lock);   ///< by priority; owned
  UNIX_Event_Semaphore wakeup;                     ///< what the dispatch thread sleeps on
  UNIX_Critical_Section lock;                      ///< see above
  std::atomic<unsigned long> dispatchThread;       ///< 0 when nobody dispatches
  unsigned int pending QUONUTIL_GUARDED_BY(lock);  ///< queued events
  std::atomic<unsigned char> topLevel;             ///< the highest level served
  unsigned char levelCount;                        ///< 1 to 255
  std::atomic<bool> destroyed;                     ///< for good
};

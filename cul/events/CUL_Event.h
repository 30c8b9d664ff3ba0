#pragma once

#include "cul/base/Export.h"

class EventDispatcherBase;

/// A piece of work for a dispatcher's thread: derive from this class and write `handle_it()`.
///
/// An event is made with `new`. Posted, it belongs to the dispatcher, which deletes it after it has
/// run, or unrun when it is discarded. No lock is taken here: before it is posted an event is its
/// maker's, while it is queued the dispatcher's, and from then on the dispatch thread's.
class CUL_EXPORT CUL_Event {
 public:
  CUL_Event() noexcept : tag(this), purged(false), isTimer(false) {}
  CUL_Event(CUL_Event const&) = delete;
  CUL_Event& operator=(CUL_Event const&) = delete;

  /// The work. Runs at most once, on the dispatch thread, with no lock held: it may post, block and
  /// discard.
  virtual void handle_it() = 0;

  virtual ~CUL_Event();

  /// By what a queued event is found and discarded. At first the event's own address, so that
  /// whoever kept that can cancel it.
  void* tag;

 protected:
  friend class EventDispatcherBase;

  bool purged;   ///< set before an event is deleted that was discarded from a queue without running
  bool isTimer;  ///< decides which queue takes it; true only in a CUL_Timer_Event
};

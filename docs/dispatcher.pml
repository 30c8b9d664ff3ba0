/* How a dispatcher wakes its thread, and how it ends: EventDispatcherBase.cpp as a model for spin.
 *
 * Poster e has event e, for level e. Somebody holds the upper level back and releases it. Whoever
 * destroys does so at any moment, or only when every event has come to its end, as a host does that
 * waits for its work. Between any two accesses to what the threads share, every other thread may
 * run. No wait is ever over by itself: a wake-up that is lost leaves the loop asleep for good.
 *
 * EARLY_POST, LATE_RESET, SILENT_BLOCK and UNLOCKED_PURGE put one mistake in each. `scripts/model`
 * shows that the model has no fault without them, and one with each.
 */
#define POSTERS 2
#define EVENTS 4                      /* the posters', then the Dummies of two destroyers */
#define NONE EVENTS
#define SERVED(e) (place[e] != 0 && place[e] <= topLevel + 1)

bool locked, gateIsOpen, destroyed;   /* the gate is the semaphore `wakeup` */
byte topLevel = 1;
byte place[EVENTS];                   /* the level on which an event is queued plus 1, or 0 */
bool deleted[EVENTS];

inline request() { atomic { !locked; locked = true } }
inline release() { locked = false }
inline wake(level) { if :: level <= topLevel -> gateIsOpen = true :: else fi }
inline delete(e) { assert(!deleted[e]); deleted[e] = true }
inline purge() {
  e = EVENTS;
  do
  :: e == 0 -> break
  :: else -> e--; if :: place[e] != 0 -> place[e] = 0; delete(e) :: else fi
  od
}

proctype poster(byte e) {
  byte level = (e < topLevel -> e : topLevel);  /* read without the lock */
#ifdef EARLY_POST
  wake(level);
#endif
  request();
  if
  :: destroyed -> delete(e)           /* refused, and still the poster's */
  :: else ->
    place[e] = level + 1;
#ifndef EARLY_POST
    wake(level)
#endif
  fi;
  release()
}

proctype blocker() {
  request(); topLevel = 0; release();
  request(); topLevel = 1;
#ifndef SILENT_BLOCK
  gateIsOpen = true;
#endif
  release()
}

proctype destroyer(byte dummy) {
  byte e;
  if :: true :: true -> deleted[0] && deleted[1] fi;
  request(); destroyed = true; purge(); place[dummy] = 1; gateIsOpen = true; release()
}

proctype loop() {
  byte e, taken;
  do
  :: destroyed -> break
  :: else ->
    request();
#ifndef LATE_RESET
    gateIsOpen = false;
#endif
    if                                /* any that is served: the order is not looked at here */
    :: SERVED(0) -> taken = 0
    :: SERVED(1) -> taken = 1
    :: SERVED(2) -> taken = 2
    :: SERVED(3) -> taken = 3
    :: else -> taken = NONE
    fi;
    if :: taken != NONE -> place[taken] = 0 :: else fi;
    release();
#ifdef LATE_RESET
    gateIsOpen = false;
#endif
    if
    :: taken == NONE -> gateIsOpen    /* sleeps until it is */
    :: taken != NONE && destroyed -> delete(taken); break
    :: taken != NONE && !destroyed -> assert(taken < POSTERS); delete(taken)  /* runs */
    fi
  od;
#ifdef UNLOCKED_PURGE
  purge()
#else
  request(); purge(); release()
#endif
}

init {
  byte e;
  atomic { run loop(); run poster(0); run poster(1); run blocker();
           run destroyer(POSTERS); run destroyer(POSTERS + 1) }
  _nr_pr == 1;                        /* every thread has ended: now the destructor */
  purge();
  for (e : 0 .. EVENTS - 1) { assert(deleted[e]) }
}

/* How a lock is handed on to threads that sleep: UNIX_Mutex.cpp as a model for spin.
 *
 * Each thread takes the lock twice. Between any two accesses to the word every other thread may
 * run; the system compares the word and lets a thread sleep in one step. A thread that sleeps for
 * good shows as a run that cannot go on.
 *
 * FORGETFUL, UNCOMPARED, HASTY and SILENT put one mistake in each. `scripts/model` shows that the
 * model has no fault without them, and one with each.
 */
#define THREADS 3
#define AWAITED 4                     /* the threads are 1 to 3 */

byte word;                            /* the holder, and whether others may be asleep */
bool asleep[THREADS + 1];
byte inside;

inline waitUntilFree() {
  do
  :: atomic { seen = word; word = word | AWAITED };
     if :: seen == 0 -> break :: else fi;
#ifdef UNCOMPARED
     asleep[self] = true;
#else
     atomic { if :: word == (seen | AWAITED) -> asleep[self] = true :: else fi };
#endif
     !asleep[self]
  od;
#ifdef FORGETFUL
  word = self
#else
  word = self | AWAITED
#endif
}

inline wakeOne() {
  atomic {
    if
    :: asleep[1] -> asleep[1] = false
    :: asleep[2] -> asleep[2] = false
    :: asleep[3] -> asleep[3] = false
    :: else
    fi
  }
}

proctype thread(byte self) {
  byte seen;
  byte times = 2;
  do
  :: times == 0 -> break
  :: times > 0 ->
    times--;
    assert((word & ~AWAITED) != self);  /* or it would count as taken again */
    if
#ifdef HASTY
    :: word == 0 -> word = self
#else
    :: atomic { word == 0 -> word = self }
#endif
    :: waitUntilFree()                /* has looked in vain */
    fi;
    inside++;
    assert(inside == 1);
    inside--;
    atomic { seen = word; word = 0 };
#ifndef SILENT
    if :: (seen & AWAITED) != 0 -> wakeOne() :: else fi
#endif
  od
}

init { atomic { run thread(1); run thread(2); run thread(3) } }

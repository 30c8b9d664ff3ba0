#pragma once

// What guards what, in a form that clang checks (-Wthread-safety) and others pass over.
#ifdef __clang__
#define QUONUTIL_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define QUONUTIL_THREAD_SAFETY(attribute)
#endif

// A class whose objects are locks, and one whose objects hold a lock as long as they live.
#define QUONUTIL_LOCK QUONUTIL_THREAD_SAFETY(capability("lock"))
#define QUONUTIL_LOCK_HOLDER QUONUTIL_THREAD_SAFETY(scoped_lockable)

// What an operation does with a lock, or needs to have.
#define QUONUTIL_ACQUIRES(...) QUONUTIL_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define QUONUTIL_RELEASES(...) QUONUTIL_THREAD_SAFETY(release_capability(__VA_ARGS__))
#define QUONUTIL_NEEDS(...) QUONUTIL_THREAD_SAFETY(requires_capability(__VA_ARGS__))

// A field that is touched only with the lock held.
#define QUONUTIL_GUARDED_BY(lock) QUONUTIL_THREAD_SAFETY(guarded_by(lock))

// An operation that is exempt; the line above it says why.
#define QUONUTIL_UNCHECKED QUONUTIL_THREAD_SAFETY(no_thread_safety_analysis)

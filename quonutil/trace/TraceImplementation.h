#pragma once

#include <atomic>
#include <cstdarg>
#include <mutex>

#include "quonutil/Export.h"

/// What may be traced. The number is that of the flag byte.
enum class TraceFlag : unsigned char {
  detail = 0,   ///< progress, tag "**"
  error = 1,    ///< tag "ERROR"
  warning = 2,  ///< failures while they are built, tag "WARNING"
  vkt = 27,     ///< the cache's store, read and remove, tag "VKT"
};

/// The process's trace: flag bytes, all zero at the start, and a sink for the lines.
///
/// Whoever traces asks for the flag first and builds the values only when it is set. Any thread
/// may call anything here at any time.
class QUONUTIL_EXPORT TraceImplementation {
 public:
  /// Gets one whole line a call, without an end-of-line character, one call at a time. It must not
  /// trace itself, nor set a sink.
  using Sink = void (*)(void* context, char const* line, unsigned int length);

  constexpr TraceImplementation() noexcept = default;
  TraceImplementation(TraceImplementation const&) = delete;
  TraceImplementation& operator=(TraceImplementation const&) = delete;

  /// True when lines of that kind are wanted.
  bool isSet(TraceFlag flag) const noexcept {
    return flags_[static_cast<unsigned char>(flag)].load(std::memory_order_relaxed) != 0;
  }
  /// Sets or clears a flag byte.
  void setFlag(TraceFlag flag, bool on) noexcept;

  /// Sends the lines to `sink`, with `context` handed through; null sends them to standard error,
  /// as at the start. When this returns, the earlier sink is not running and is not called again.
  void setSink(Sink sink, void* context);

  /// Writes the line "function:line tag message", where the message is printed from `format` and
  /// `values` (C printf). Control characters come out as \xNN, so that a file name cannot forge a
  /// line. errno is kept. Throws std::bad_alloc for a line that is long or escaped, and what the
  /// sink throws.
  void trace(char const* function, unsigned int line, char const* tag, char const* format,
             va_list values) __attribute__((format(printf, 5, 0)));

  /// The same for values given one by one. Each library that traces compiles its own, so that
  /// variable arguments never cross a library's border.
  QUONUTIL_LOCAL void taggedTrace(char const* function, unsigned int line, char const* tag,
                                  char const* format, ...) __attribute__((format(printf, 5, 6)));

 private:
  static constexpr unsigned int kFlags = 256;

  void emit(char const* line, unsigned int length);

  std::atomic<unsigned char> flags_[kFlags] = {};
  std::mutex sinkLock_;
  Sink sink_ = nullptr;          // guarded by sinkLock_
  void* sinkContext_ = nullptr;  // guarded by sinkLock_
};

/// The process's one trace object. It exists from the start and is never destroyed.
QUONUTIL_EXPORT TraceImplementation& traceImplementation() noexcept;

#include "quonutil/trace/TraceImplementation.h"

#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <memory>

#include "quonutil/ErrnoKeeper.h"
#include "quonutil/text/EncodedString.h"

namespace {

// Ready before anything runs and never destroyed: a thread that outlives main may still trace.
constinit TraceImplementation theTrace;

constexpr std::size_t kUsualLine = 1024;

// In a text that ends in a zero. The controls U+0080 to U+009F, which a terminal may take for the
// end of a line, are two bytes in UTF-8; escaping the first of them leaves no character.
bool isControl(char const* next) {
  return static_cast<unsigned char>(*next) < 0x20 || *next == 0x7F ||
         (*next == '\xC2' && (next[1] & 0xE0) == 0x80);
}

EncodedString escaped(char const* line, std::size_t length) {
  static constexpr char kDigits[] = "0123456789abcdef";
  EncodedString text;
  for (char const* next = line; next != line + length; ++next) {
    if (isControl(next)) {
      auto const byte = static_cast<unsigned char>(*next);
      char const escape[] = {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
      text.append(escape, sizeof escape);
    } else {
      text.append(next, 1);
    }
  }
  return text;
}

struct Origin {
  char const* function;
  unsigned int line;
  char const* tag;
};

// Prints as much as fits into `size` bytes, ends it with a zero, and returns the length of all.
__attribute__((format(printf, 4, 0))) std::size_t print(char* out, std::size_t size,
                                                        Origin const& origin, char const* format,
                                                        std::va_list values) {
  int const prefix =
      std::snprintf(out, size, "%s:%u %s ", origin.function, origin.line, origin.tag);
  auto const prefixLength = static_cast<std::size_t>(std::max(prefix, 0));
  std::size_t const start = std::min(prefixLength, size - 1);
  std::va_list copy;
  va_copy(copy, values);
  int const message = std::vsnprintf(out + start, size - start, format, copy);
  va_end(copy);
  return prefixLength + static_cast<std::size_t>(std::max(message, 0));
}

// One call, so that the lines of several processes on one standard error stay whole.
void writeToStandardError(char const* line, unsigned int length) {
  char newline = '\n';
  iovec const pieces[] = {{const_cast<char*>(line), length}, {&newline, 1}};
  if (::writev(STDERR_FILENO, pieces, 2) < 0) return;  // there is no other place to tell it
}

}  // namespace

TraceImplementation& traceImplementation() noexcept { return theTrace; }

void TraceImplementation::setFlag(TraceFlag flag, bool on) noexcept {
  flags_[static_cast<unsigned char>(flag)].store(on ? 1 : 0, std::memory_order_relaxed);
}

void TraceImplementation::setSink(Sink sink, void* context) {
  std::lock_guard<std::mutex> const held(sinkLock_);
  sink_ = sink;
  sinkContext_ = context;
}

void TraceImplementation::trace(char const* function, unsigned int line, char const* tag,
                                char const* format, std::va_list values) {
  ErrnoKeeper const keeper;
  char usual[kUsualLine];
  std::unique_ptr<char[]> longer;
  char const* text = usual;
  std::size_t length = print(usual, sizeof usual, {function, line, tag}, format, values);
  if (length >= sizeof usual) {
    longer = std::make_unique<char[]>(length + 1);
    length = print(longer.get(), length + 1, {function, line, tag}, format, values);
    text = longer.get();
  }
  if (std::any_of(text, text + length, [](char const& next) { return isControl(&next); })) {
    EncodedString const safe = escaped(text, length);
    emit(safe.data(), safe.length());
  } else {
    emit(text, static_cast<unsigned int>(length));
  }
}

void TraceImplementation::emit(char const* line, unsigned int length) {
  std::lock_guard<std::mutex> const held(sinkLock_);
  if (sink_ != nullptr) {
    sink_(sinkContext_, line, length);
  } else {
    writeToStandardError(line, length);
  }
}

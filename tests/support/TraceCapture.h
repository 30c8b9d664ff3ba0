#pragma once

#include "quonutil/trace/TraceImplementation.h"
#include "tests/support/Prelude.h"

/// A trace line without its source line number.
inline std::string withoutNumber(char const* line, unsigned int length) {
  std::string text(line, length);
  auto const colon = text.find(':');
  return text.erase(colon, text.find(' ', colon) - colon);
}

/// Collects the trace lines of its lifetime, without their source line numbers.
class TraceCapture {
 public:
  explicit TraceCapture(std::initializer_list<TraceFlag> flags) : flags_(flags) {
    traceImplementation().setSink(&TraceCapture::take, this);
    for (auto flag : flags_) traceImplementation().setFlag(flag, true);
  }
  TraceCapture& operator=(TraceCapture&&) = delete;  // nor is it copied
  ~TraceCapture() {
    for (auto flag : flags_) traceImplementation().setFlag(flag, false);
    traceImplementation().setSink(nullptr, nullptr);
  }

  /// The lines so far, which are then forgotten.
  std::vector<std::string> lines() { return std::exchange(lines_, {}); }

 private:
  static void take(void* self, char const* line, unsigned int length) {
    static_cast<TraceCapture*>(self)->lines_.push_back(withoutNumber(line, length));
  }

  std::vector<TraceFlag> flags_;
  std::vector<std::string> lines_;
};

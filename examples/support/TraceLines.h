#pragma once

#include <string>
#include <utility>
#include <vector>

#include "quonutil/trace/TraceImplementation.h"

/// The library's trace of what fails, collected instead of printed. Lines arrive from any thread;
/// they are taken when no other thread traces.
class TraceLines {
 public:
  TraceLines() {
    traceImplementation().setSink(collect, this);
    setFlags(true);
  }
  TraceLines(TraceLines const&) = delete;
  TraceLines& operator=(TraceLines const&) = delete;
  ~TraceLines() {
    setFlags(false);
    traceImplementation().setSink(nullptr, nullptr);
  }

  /// The lines since the last time.
  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  static void setFlags(bool on) {
    for (auto flag : {TraceFlag::error, TraceFlag::warning, TraceFlag::vkt}) {
      traceImplementation().setFlag(flag, on);
    }
  }
  static void collect(void* context, char const* line, unsigned int length) {
    static_cast<TraceLines*>(context)->lines_.emplace_back(line, length);
  }

  std::vector<std::string> lines_;
};

#pragma once

#include "quonutil/trace/TraceImplementation.h"

/// The trace object when `flag` is set, else null: values are built only for a line that is wanted.
///
///   if (auto* trace = tracing(TraceFlag::error)) {
///     trace->taggedTrace("remove", __LINE__, "ERROR", "Cannot open directory %s", path);
///   }
inline TraceImplementation* tracing(TraceFlag flag) noexcept {
  TraceImplementation& trace = traceImplementation();
  return trace.isSet(flag) ? &trace : nullptr;
}

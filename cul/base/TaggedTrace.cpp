#include <cstdarg>

#include "quonutil/trace/TraceImplementation.h"

void TraceImplementation::taggedTrace(char const* function, unsigned int line, char const* tag,
                                      char const* format, ...) {
  std::va_list values;
  va_start(values, format);
  trace(function, line, tag, format, values);
  va_end(values);
}

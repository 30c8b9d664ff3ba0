#pragma once

#include "quonutil/Export.h"

/// Sends the trace to the end of a file, with the time (UTC, ISO 8601) and the number that the
/// system has for the thread in front of each line:
///
///   2026-11-25T04:10:05.012345Z 4711 remove:120 ERROR Cannot open directory /var/tmp/dc/
///
/// The file is made when it is not there, for its owner alone. Each line goes out with one write,
/// so that the lines of several processes that share a file stay whole. A line that cannot be
/// written is lost, on a full disk or in a pipe that nobody empties; the next one begins on a line
/// of its own. Nothing waits for the file. A pipe whose reader is gone raises SIGPIPE.
///
/// Which lines there are is for the flags of the TraceImplementation to say. The file is the sink
/// until setSink() sets another or this is called again, and is closed by the latter.
///
/// False, with errno, when the file cannot be opened; the sink is then what it was. `path` is not
/// null. Any thread.
QUONUTIL_EXPORT bool traceToFile(char const* path);

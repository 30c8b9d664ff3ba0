#pragma once

/// Whether the loops give up the processor once an event, ours and the one that is made like it.
/// Changed only while no loop runs.
extern bool yields;

/// Makes the process one like those that have dispatchers: it has, or had, more than one thread,
/// without which the C library leaves its locks out, and its heap keeps what it once got. Pages
/// that go back to the system, and come again one fault at a time, cost more than what is measured.
void settle();

/// The processor time of the calling thread.
double cpuSeconds();

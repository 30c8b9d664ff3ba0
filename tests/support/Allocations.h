#pragma once

/// How often this thread has allocated with operator new.
extern thread_local unsigned int allocations;

/// While it is above 0 it counts down at each allocation of this thread, and the one that brings it
/// to 0 fails.
extern thread_local unsigned int failingAllocation;

#pragma once

/// How often this thread has allocated with operator new.
extern thread_local unsigned int allocations;

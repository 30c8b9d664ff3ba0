#pragma once

#include <cstdint>

/// How often the program has allocated with operator new, our libraries included. It counts for
/// rows that run on one thread.
extern std::int64_t allocations;

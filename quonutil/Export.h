#pragma once

// Both libraries are compiled with hidden visibility. This goes on the classes and functions of
// the interface, and on nothing else. Inline members stay local to whoever compiles them.
#define QUONUTIL_EXPORT __attribute__((visibility("default")))

// For a member of an exported class that each library compiles for itself.
#define QUONUTIL_LOCAL __attribute__((visibility("hidden")))

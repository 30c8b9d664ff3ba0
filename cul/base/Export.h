#pragma once

// Both libraries are compiled with hidden visibility. This goes on the classes of the interface
// and on `__productData`, and on nothing else: what else is visible would be called by somebody
// and could then never change. Inline members stay local to whoever compiles them.
#define CUL_EXPORT __attribute__((visibility("default")))

// Takes back out what is nested in a class of the interface, and so would be visible too.
#define CUL_LOCAL __attribute__((visibility("hidden")))

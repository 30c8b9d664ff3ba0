#include "quonutil/Export.h"

// A library that was built against this interface, and knows the layout of its classes, asks for
// this name when it is loaded.
extern "C" QUONUTIL_EXPORT char const QUONUTIL_INTERFACE = 0;

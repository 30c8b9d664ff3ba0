#pragma once

#include <string>

#include "Checks.h"
#include "Display.h"

/// What the sections share.
struct Parts {
  Display display;
  Checks checks{display};
};

// The sections, in their order.

/// Shows messages of the catalog "dmg" in its languages. Holds them against the C library's
/// catgets, with the inserts put in by hand. `locales` is the directory that has the catalogs.
void showMessages(Parts& parts, std::string const& locales);

/// Starts a child with an edited environment, and holds what the child sees against what was meant.
void startChild(Parts& parts);

/// Shows numbers, patterns and bytes as text, beside what printf makes of them.
void showValues(Parts& parts);

/// Shows the process and its kernel, a name made whole, code pages, modules, words and failures.
void showPlatform(Parts& parts);

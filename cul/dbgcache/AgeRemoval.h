#pragma once

#include "quonutil/text/EncodedString.h"

/// Removes every entry of `directory` (ends in "/") that is no directory and was last accessed more
/// than `hours` hours ago, all of them judged against one reading of the clock. What cannot be
/// examined or removed is traced and stays. Subdirectories are never entered.
void removeOldFiles(EncodedString const& directory, unsigned int hours);

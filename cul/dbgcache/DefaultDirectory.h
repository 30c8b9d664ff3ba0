#pragma once

#include "quonutil/text/EncodedString.h"

/// The cache directory of a user who named none: ".vexcorlz/" in the home directory, made with
/// permissions 0700 when missing. Ends in "/"; empty when there can be no such directory.
///
/// The home directory is HOME or, only when that is unset or empty, the password database's for
/// the real user. A HOME that names no directory is the user's mistake and is not replaced.
EncodedString defaultDirectory();

/// True when `path` names a directory, symbolic links followed.
bool directoryExists(char const* path);

#pragma once

#include <map>
#include <string>
#include <utility>

/// The messages of a compiled catalog by set and number: which there are is read from the file,
/// what they say is asked of the library. Throws Failure for what is no catalog.
using Messages = std::map<std::pair<int, int>, std::string>;
Messages messagesOf(std::string const& path);

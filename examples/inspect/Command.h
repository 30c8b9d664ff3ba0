#pragma once

#include <string>
#include <vector>

/// The lines that a program writes to its standard output. Throws std::runtime_error, which names
/// the program, when it does not end with 0.
std::vector<std::string> linesOf(std::vector<std::string> const& words);

/// The lines of a shell script that is given arguments.
std::vector<std::string> linesOfScript(std::string const& script, std::vector<std::string> words);

/// What stands between `before` and the next `after`, or up to the end; empty without `before`.
std::string between(std::string const& line, std::string const& before, std::string const& after);

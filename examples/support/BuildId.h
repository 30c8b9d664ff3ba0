#pragma once

#include <string>
#include <string_view>

/// The build identifier among the notes of an ELF file, in hexadecimal digits; empty when there is
/// none. The notes may hold anything.
std::string buildIdAmong(std::string_view notes);

/// Where the debug information lies that was taken out of the file with that build identifier. It
/// need not be there.
std::string debugFileOf(std::string const& buildId);

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Command.h"
#include "Inspect.h"
#include "cul/search/CUL_File_System.h"

namespace {

namespace fs = std::filesystem;

// A line for each program: where the shell finds it, or nothing.
std::vector<std::string> toTheShell(std::vector<std::string> const& programs) {
  return linesOfScript("for each; do command -v \"$each\" || echo; done", programs);
}

std::string toUs(std::string const& program) {
  return CUL_File_System::instance()->find_executable(FileName(systemText(program))).data();
}

// Puts a file in front of a program: we find it, and the shell passes it over.
void differ(Inspect& inspect, std::string const& program, std::string const& directory,
            fs::perms permissions, std::string const& reason) {
  std::string const before = toTheShell({program}).at(0);
  fs::path const file = fs::path(directory) / program;
  std::ofstream(file) << "#!/bin/sh\n";
  fs::permissions(file, permissions);
  bool const differs =
      toUs(program) == file && toTheShell({program}).at(0) == before && before != file;
  inspect.checks.confirm(differs, program + " is not found as " + before + ": " + reason);
  fs::remove(file);
}

}  // namespace

void findPrograms(Inspect& inspect) {
  inspect.display.heading("Programs are found where the shell finds them, but for two things");
  std::vector<std::string> const programs{
      "awk", "basename", "bash", "cat",  "chmod", "cmp",   "cp",   "cut",     "date",
      "dd",  "df",       "du",   "env",  "find",  "g++",   "grep", "gzip",    "head",
      "id",  "ldd",      "ln",   "ls",   "mv",    "od",    "rm",   "readelf", "sed",
      "sh",  "sort",     "stat", "tail", "tar",   "touch", "tr",   "wc",      "xargs"};
  auto const expected = toTheShell(programs);
  std::size_t equal = 0;
  for (std::size_t i = 0; i < programs.size(); ++i) {
    std::string const found = toUs(programs[i]);
    equal += inspect.checks.expect(
        found == expected.at(i), programs[i] + " is at '" + found + "', not '" + expected[i] + "'");
  }
  inspect.checks.confirmAll(equal, programs.size(), "are found where \"command -v\" finds them");
  differ(inspect, "ls", ".", fs::perms::owner_all, "the working directory comes before PATH");
  differ(inspect, "grep", inspect.first, fs::perms::owner_read,
         "nobody asks for the execute bit of what PATH has first");
}

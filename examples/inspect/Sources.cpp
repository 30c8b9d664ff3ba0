#include <filesystem>

#include "Command.h"
#include "Inspect.h"
#include "cul/search/UNIX_File_System.h"
#include "quonutil/settings/DebuggerSettings.h"

namespace {

namespace fs = std::filesystem;

// Lookups whose "." is the current directory that the host set, wherever the process stands.
class HostFileSystem final : public UNIX_File_System {
 public:
  FileName find_file(FileName const& name, EncodedString const& path) const override {
    bool const isHere = !current_directory.isEmpty() && path == systemText(".");
    FileName found = UNIX_File_System::find_file(name, isHere ? current_directory : path);
    if (!found.isEmpty()) stage = isHere ? 3 : 1;
    return found;
  }

  mutable int stage = 0;  ///< that found the name without searching a tree
};

// What is set before the names are looked up, and what comes of it.
struct Setup {
  char const* outcome;
  bool isFound;
  int stage;  // that finds them by name; 0 when a search of trees does, or nothing
  std::string workingDirectory;
  std::string path;
  std::string currentDirectory;
  std::string configured;
};

// The uppermost level of the information has the names of what was compiled, and little else. Those
// of other people's code that was linked in do not begin with "./".
std::vector<std::string> recordedNames(std::string const& program) {
  std::vector<std::string> names;
  for (auto const& line : linesOf({"readelf", "--debug-dump=info", "--dwarf-depth=1", program})) {
    std::string const value = between(line, "DW_AT_name", "\n");
    std::size_t const start = value.rfind(": ./");
    if (start != std::string::npos) names.push_back(value.substr(start + 2));
  }
  return names;
}

bool isAsExpected(Setup const& setup, std::string const& name, std::string const& source) {
  HostFileSystem files;
  files.set_current_directory(systemText(setup.currentDirectory));
  auto const found = files.findSourceFile(FileName(systemText(name)), systemText(setup.path));
  if (found.isEmpty()) return !setup.isFound;
  return setup.isFound && files.stage == setup.stage && fs::equivalent(found.data(), source);
}

void lookUp(Inspect& inspect, Setup const& setup, std::vector<std::string> const& names,
            std::string const& sources) {
  auto* const settings = DebuggerSettings::instance();
  settings->store(settings->setting(DebuggerSettings::kSourceSearchPath),
                  systemText(setup.configured));
  fs::current_path(setup.workingDirectory);
  std::size_t right = 0;
  for (auto const& name : names) {
    right += inspect.checks.expect(isAsExpected(setup, name, sources + '/' + name),
                                   name + ": these " + setup.outcome);
  }
  fs::current_path(inspect.empty);
  inspect.checks.confirmAll(right, names.size(), setup.outcome);
}

}  // namespace

void findSources(Inspect& inspect, std::string const& program, std::string const& sources) {
  inspect.display.heading("The sources are found that the debug information names");
  auto const names = recordedNames(program);
  std::string const& empty = inspect.empty;
  std::string const both = empty + ':' + sources;
  Setup const setups[] = {
      {"are not found: nothing is set", false, 0, empty, "", "", ""},
      {"are found by the name as it stands", true, 1, sources, "", "", ""},
      {"are found below the caller's directories", true, 0, empty, both, "", ""},
      {"are found in the host's current directory", true, 3, empty, "", sources, ""},
      {"are found below the configured directories", true, 0, empty, "", "", both},
  };
  for (auto const& setup : setups) lookUp(inspect, setup, names, sources);
}

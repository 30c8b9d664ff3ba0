#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>

#include "Command.h"
#include "ElfFile.h"
#include "Inspect.h"
#include "cul/search/CUL_File_System.h"

namespace {

constexpr char const* kKind = "libc6,x86-64";

// Where the loader finds the libraries of a program that is started as usual.
std::map<std::string, std::string> toLdd(std::string const& program) {
  std::map<std::string, std::string> libraries;
  for (auto const& line : linesOf({"env", "-u", "LD_LIBRARY_PATH", "ldd", program})) {
    std::string path = between(line, "=> ", " (");
    if (path.empty()) path = between(line, "\t", " (");  // the loader itself
    if (path.find('/') == std::string::npos) continue;   // what the kernel brings is no file
    libraries[path.substr(path.rfind('/') + 1)] = path;
  }
  return libraries;
}

// Reads the module's build identifier and what it needs, and compares both with readelf's.
std::vector<std::string> readModule(Inspect& inspect, Module& module) {
  ElfFile const file(module.path);
  module.buildId = file.buildId();
  auto needed = file.dynamicTexts(DT_NEEDED);
  std::string buildId;
  std::vector<std::string> names;
  for (auto const& line : linesOf({"readelf", "-n", "-d", "-W", module.path})) {
    std::string const id = between(line, "Build ID: ", "\n");
    std::string const name = between(line, "Shared library: [", "]");
    if (!id.empty()) buildId = id;
    if (!name.empty()) names.push_back(name);
  }
  inspect.checks.expect(buildId == module.buildId && names == needed,
                        module.path + " is to readelf what it is to us");
  return needed;
}

// Finds what is needed and not among the modules yet.
void append(std::vector<Module>& modules, std::vector<std::string> const& needed) {
  for (auto const& name : needed) {
    auto const isIt = [&name](Module const& module) { return module.name == name; };
    if (std::any_of(modules.begin(), modules.end(), isIt)) continue;
    auto const found = CUL_File_System::instance()->find_load_module(FileName(systemText(name)));
    modules.push_back({name, found.data()});
  }
}

// Names what lies beside /usr/lib and /lib: the directories that the program itself names, and
// those that the system keeps apart by architecture.
void setLibraryPath(Inspect& inspect, std::string const& program) {
  std::string path = loaderPath(kKind);
  for (auto const& own : ElfFile(program).dynamicTexts(DT_RUNPATH)) path = own + ':' + path;
  ::setenv("LD_LIBRARY_PATH", path.c_str(), 1);
  inspect.display.line("LD_LIBRARY_PATH=%s", path.c_str());
}

}  // namespace

std::vector<Module> findModules(Inspect& inspect, std::string const& program) {
  inspect.display.heading("The program is found, and the modules that it needs");
  auto const found = CUL_File_System::instance()->find_executable(FileName(systemText(program)));
  if (found.isEmpty()) throw std::runtime_error("there is no program " + program);
  setLibraryPath(inspect, found.data());
  std::vector<Module> modules{{found.short_name().data(), found.data()}};
  auto const libraries = toLdd(found.data());
  auto const brokenBefore = inspect.checks.broken().size();
  std::size_t same = 0;
  for (std::size_t i = 0; i < modules.size(); ++i) {
    if (modules[i].path.empty()) throw std::runtime_error(modules[i].name + " is not found");
    append(modules, readModule(inspect, modules[i]));
    auto const library = libraries.find(modules[i].name);
    same +=
        library != libraries.end() && std::filesystem::equivalent(library->second, modules[i].path);
  }
  inspect.checks.confirm(inspect.checks.broken().size() == brokenBefore,
                         "each has the build identifier and the needs that readelf sees");
  inspect.checks.confirmAll(same, libraries.size(), "libraries are where ldd finds them");
  inspect.checks.expect(modules.size() == libraries.size() + 1, "there is no other library");
  return modules;
}

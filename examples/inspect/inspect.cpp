// cul-inspect: a program, the modules that it needs, their debug information and its sources, found
// as a debugger finds them and held against what the system's own tools say.
//
//   cul-inspect PROGRAM SOURCES
//
// PROGRAM is found along PATH, to which the directory of cul-inspect is added. SOURCES is the
// directory that the names in its debug information are relative to ("./cache/main.cpp"). It ends
// with 0 when every comparison held; what it writes lies in a temporary directory, which goes.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "Host.h"
#include "Inspect.h"

namespace {

namespace fs = std::filesystem;

void showModules(Inspect& inspect, std::vector<Module> const& modules) {
  inspect.display.heading("What was found");
  inspect.display.line("%-20s %-12s %-5s %-8s %s", "module", "build", "debug", "coverage", "file");
  for (auto const& [name, path, buildId, debugFile, isSelected] : modules) {
    inspect.display.line("%-20s %-12.12s %-5s %-8s %s", name.c_str(), buildId.c_str(),
                         debugFile.empty() ? "-" : "yes", isSelected ? "yes" : "-", path.c_str());
  }
}

int run(std::string const& program, std::string const& sources) {
  std::signal(SIGPIPE, SIG_IGN);  // a reader that goes leaves us to clean up
  auto const start = std::chrono::steady_clock::now();
  Inspect inspect;
  std::string const here = fs::read_symlink("/proc/self/exe").parent_path();
  ::setenv("HOME", inspect.scratch.directory("home").c_str(), 1);
  ::setenv("PATH", (inspect.first + ':' + here + ':' + std::getenv("PATH")).c_str(), 1);
  fs::current_path(inspect.empty);  // which find_executable looks through before PATH
  findPrograms(inspect);
  findLibraries(inspect);
  auto modules = findModules(inspect, program);
  storeDebugInformation(inspect, modules);
  selectModules(inspect, modules);
  findSources(inspect, modules.front().path, sources);
  for (auto const& line : inspect.trace.take()) inspect.checks.expect(false, "traced: " + line);
  showModules(inspect, modules);
  std::chrono::duration<double> const seconds = std::chrono::steady_clock::now() - start;
  inspect.display.heading("Summary");
  inspect.display.line("%.1f s", seconds.count());
  if (inspect.checks.broken().empty()) inspect.display.line("Every comparison held.");
  return inspect.checks.exitStatus();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: cul-inspect PROGRAM SOURCES\n", stderr);
    return 2;
  }
  return runHost("cul-inspect",
                 [&] { return run(argv[1], fs::absolute(argv[2]).lexically_normal()); });
}

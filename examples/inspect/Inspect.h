#pragma once

#include <string>
#include <vector>

#include "Checks.h"
#include "Display.h"
#include "Scratch.h"
#include "Text.h"
#include "TraceLines.h"

/// The program, or a library that it loads.
struct Module {
  std::string name;  ///< "libc.so.6"
  std::string path;  ///< empty when it was not found
  std::string buildId{};
  std::string debugFile{};  ///< empty when there is none
  bool isSelected = false;  ///< by the coverage filter
};

/// What the sections of the inspector share.
struct Inspect {
  Scratch scratch;
  Display display;
  Checks checks{display};
  TraceLines trace;
  std::string const empty = scratch.directory("empty");  ///< the working directory
  std::string const first = scratch.directory("first");  ///< the first of PATH
};

// The sections, in their order.

/// Holds find_executable against the shell: for common programs, and where the two differ.
void findPrograms(Inspect& inspect);

/// Holds find_load_module against every entry of the loader's cache.
void findLibraries(Inspect& inspect);

/// The directories that the loader's cache has for programs of a kind, as a search path.
std::string loaderPath(std::string const& kind);

/// Finds a program, what its dynamic section says it needs, and what that needs. Holds the files
/// against readelf and ldd.
std::vector<Module> findModules(Inspect& inspect, std::string const& program);

/// Stores the separate debug information that there is for the modules in the cache, and holds
/// what comes back against the file.
void storeDebugInformation(Inspect& inspect, std::vector<Module>& modules);

/// Selects modules for coverage by name. Holds the choice against the shell's patterns.
void selectModules(Inspect& inspect, std::vector<Module>& modules);

/// Finds the sources that a program's debug information names, by each stage of findSourceFile.
void findSources(Inspect& inspect, std::string const& program, std::string const& sources);

#include <cstdlib>
#include <set>

#include "Command.h"
#include "Inspect.h"
#include "cul/search/CUL_File_System.h"

namespace {

// One name may stand in the cache for several kinds of program, and for one kind in several places.
struct Entry {
  std::string name;  // "libc.so.6"
  std::string kind;  // "libc6,x86-64"
  std::string path;
};

std::vector<Entry> const& loaderCache() {
  static std::vector<Entry> entries;
  if (!entries.empty()) return entries;
  for (auto const& line : linesOf({"/sbin/ldconfig", "-p"})) {
    std::string const path = between(line, ") => ", "\n");
    if (path.empty()) continue;  // a line about the cache itself
    entries.push_back({between(line, "\t", " ("), between(line, " (", ") => "), path});
  }
  return entries;
}

// Whether a name is found in one of the places that the cache has for it.
bool isFound(std::string const& name, std::string const& kind) {
  auto const found = CUL_File_System::instance()->find_load_module(FileName(systemText(name)));
  for (auto const& entry : loaderCache()) {
    if (entry.name == name && entry.kind == kind && entry.path == found.data()) return true;
  }
  return false;
}

}  // namespace

std::string loaderPath(std::string const& kind) {
  std::string path;
  for (auto const& entry : loaderCache()) {
    std::string const directory = ':' + entry.path.substr(0, entry.path.rfind('/'));
    bool const isThere = (path + ':').find(directory + ':') != std::string::npos;
    if (entry.kind == kind && !isThere) path += directory;
  }
  return path.substr(path.empty() ? 0 : 1);
}

void findLibraries(Inspect& inspect) {
  inspect.display.heading("Libraries are found where the loader's cache has them");
  std::set<std::string> kinds;
  for (auto const& entry : loaderCache()) kinds.insert(entry.kind);
  std::size_t found = 0;
  for (auto const& kind : kinds) {
    ::setenv("LD_LIBRARY_PATH", loaderPath(kind).c_str(), 1);
    inspect.display.line("%-13s LD_LIBRARY_PATH=%s", kind.c_str(), std::getenv("LD_LIBRARY_PATH"));
    for (auto const& entry : loaderCache()) {
      if (entry.kind != kind) continue;
      found += inspect.checks.expect(isFound(entry.name, kind), entry.path + " is found");
    }
  }
  inspect.checks.confirmAll(found, loaderCache().size(), "entries of \"ldconfig -p\" are found");
}

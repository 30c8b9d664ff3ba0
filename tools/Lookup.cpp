#include "Lookup.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Text.h"
#include "cul/search/UNIX_File_System.h"
#include "quonutil/collections/AutoList.h"
#include "quonutil/names/SearchTree.h"
#include "quonutil/settings/DebuggerSettings.h"

namespace {

// Goes through a lookup as the library does, finds nothing on the way, and so gets to know each
// path that would be searched.
class Rehearsal : public UNIX_File_System {
 public:
  explicit Rehearsal(Arguments const& arguments) {
    set_current_directory(fileName(arguments.value("--current")));
  }
  FileName find_file(FileName const&, EncodedString const& path) const override {
    paths.push_back(bytesOf(path));
    return {};
  }

  mutable std::vector<std::string> paths;
};

CUL_File_System& fileSystem() { return *CUL_File_System::instance(); }

std::vector<std::string> entriesOf(std::string const& path) {
  AutoList<FileName*> const names(fileSystem().parseSearchPath(systemText(path)));
  std::vector<std::string> entries;
  for (unsigned i = 0; i < names.count(); ++i) entries.push_back(bytesOf(*names[i]));
  return entries;
}

// The places of one path of find_file. It looks an absolute name up as it stands.
void addEntries(std::vector<Place>& places, Arguments const& arguments, std::string const& stage,
                std::string const& path) {
  if (path.empty() || arguments.operands()[0].starts_with('/')) {
    if (places.empty()) places.push_back({"as it stands", ""});
    return;
  }
  for (auto const& entry : entriesOf(path)) places.push_back({stage, entry.empty() ? "." : entry});
}

void addTrees(std::vector<Place>& places, std::string const& stage, std::string const& path) {
  for (auto const& entry : entriesOf(path)) {
    places.push_back({stage, entry.empty() ? "." : entry, true});
  }
}

// The variable has the text of --path, if there is one, from now on.
void setVariable(char const* name, Arguments const& arguments) {
  if (arguments.has("--path")) ::setenv(name, arguments.value("--path").c_str(), 1);
}

std::vector<Place> executablePlaces(Arguments const& arguments) {
  Rehearsal rehearsal(arguments);
  static_cast<void>(rehearsal.find_executable(nameOf(arguments)));
  std::vector<Place> places;
  for (auto const& path : rehearsal.paths) {
    addEntries(places, arguments, places.empty() ? "working directory" : "PATH", path);
  }
  return places;
}

// One path: the variable's, the current directory, and two of the system.
std::vector<Place> modulePlaces(Arguments const& arguments) {
  Rehearsal rehearsal(arguments);
  static_cast<void>(rehearsal.find_load_module(nameOf(arguments)));
  std::vector<Place> places;
  addEntries(places, arguments, "system", rehearsal.paths.at(0));
  char const* const variable = std::getenv("LD_LIBRARY_PATH");
  bool const isSet = variable != nullptr && *variable != '\0';
  std::size_t const fromVariable = isSet ? entriesOf(std::string(variable) + ':').size() : 0;
  for (std::size_t i = 0; i + 2 < places.size(); ++i) {
    places[i].stage = i < fromVariable ? "LD_LIBRARY_PATH" : "current directory";
  }
  return places;
}

// Without a name the trees have nothing to find, and the rehearsal comes to the end.
std::vector<Place> sourcePlaces(Arguments const& arguments) {
  std::string const path = arguments.value("--path");
  Rehearsal rehearsal(arguments);
  static_cast<void>(rehearsal.findSourceFile(FileName(), systemText(path)));
  std::vector<Place> places{{"as it stands", ""}};
  addTrees(places, "tree of --path", path);
  for (std::size_t i = 1; i < rehearsal.paths.size(); ++i) {
    addEntries(places, arguments, "working directory", rehearsal.paths[i]);
  }
  addTrees(places, "configured tree", arguments.value("--configured"));
  return places;
}

FileName executableAnswer(Arguments const& arguments) {
  setVariable("PATH", arguments);
  return fileSystem().find_executable(nameOf(arguments));
}

FileName moduleAnswer(Arguments const& arguments) {
  setVariable("LD_LIBRARY_PATH", arguments);
  fileSystem().set_current_directory(fileName(arguments.value("--current")));
  return fileSystem().find_load_module(nameOf(arguments));
}

FileName sourceAnswer(Arguments const& arguments) {
  fileSystem().set_current_directory(fileName(arguments.value("--current")));
  DebuggerSettings::instance()->setting(DebuggerSettings::kSourceSearchPath).value =
      systemText(arguments.value("--configured"));
  return fileSystem().findSourceFile(nameOf(arguments), systemText(arguments.value("--path")));
}

bool isDirectory(std::string const& path) {
  struct stat state;
  return ::stat(path.c_str(), &state) == 0 && S_ISDIR(state.st_mode);
}

}  // namespace

constexpr Lookup kExecutableLookup{executableAnswer, executablePlaces, true};
constexpr Lookup kModuleLookup{moduleAnswer, modulePlaces, false};
constexpr Lookup kSourceLookup{sourceAnswer, sourcePlaces, false};

FileName nameOf(Arguments const& arguments) { return fileName(arguments.operands()[0]); }

std::vector<std::string> filesAt(Place const& place, FileName const& name) {
  AutoList<FileName*> found;
  if (place.isTree) {
    FileName base = name.base();
    List<FileName*> wanted;
    wanted.append(&base);
    SearchTree(fileName(place.directory)).searchRecursiveComplete(wanted, found, nullptr);
  } else if (FileName file = fileSystem().find_file(name, systemText(place.directory));
             !file.isEmpty()) {
    return {bytesOf(file)};
  }
  std::vector<std::string> files;
  for (unsigned i = 0; i < found.count(); ++i) files.push_back(bytesOf(*found[i]));
  return files;
}

std::string whyNotAt(Place const& place, FileName name) {
  if (!name.hasFilePart()) return "names no file";
  bool const isReachable = place.directory.empty() || isDirectory(place.directory);
  if (!isReachable) return "no such directory";
  if (place.isTree) return "not below it";
  name.change_member(EncodedString());
  std::string const file = (place.directory.empty() ? "" : place.directory + '/') + bytesOf(name);
  struct stat state;
  if (::stat(file.c_str(), &state) == 0)
    return S_ISDIR(state.st_mode) ? "a directory" : "not there";
  int const error = errno;
  if (error != ENOENT) return std::strerror(error);
  return ::lstat(file.c_str(), &state) == 0 ? "a link to nothing" : "not there";
}

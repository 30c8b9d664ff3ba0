#include "cul/search/UNIX_File_System.h"

#include "cul/base/Tracing.h"
#include "cul/platform/CUL_Api.h"
#include "quonutil/names/SearchTree.h"
#include "quonutil/settings/DebuggerSettings.h"

namespace {

// Texts that are made at first use and stay: a thread that outlives main may still look for a file.

EncodedString const& currentDirectory() {
  static auto const& text = *new EncodedString(CharString(L"."));
  return text;
}

EncodedString const& separator() {
  static auto const& text = *new EncodedString(CharString(L":"));
  return text;
}

EncodedString const& systemDirectories() {
  static auto const& text = *new EncodedString(CharString(L"/usr/lib:/lib"));
  return text;
}

EncodedString const& pathVariable() {
  static auto const& text = *new EncodedString(CharString(L"PATH"));
  return text;
}

// Empty when the variable is not set.
EncodedString valueOf(EncodedString const& variable) {
  EncodedString value;
  static_cast<void>(CUL_Api::getenv(variable, value));
  return value;
}

// The first file of that name in the trees below the directories, or the empty name. The number of
// directories is asked for anew each time.
FileName searchTrees(List<FileName*> const& directories, FileName const& baseName,
                     bool configured) {
  for (unsigned int i = 0; i < directories.count(); ++i) {
    SearchTree tree(*directories[i]);
    tree.configured = configured;
    FileName found = tree.search(baseName);
    if (!found.isEmpty()) return found;
  }
  return FileName();
}

}  // namespace

UNIX_File_System::UNIX_File_System() = default;

UNIX_File_System::~UNIX_File_System() = default;

FileName UNIX_File_System::find_file(FileName const& name, EncodedString const& path) const {
  FileName found;
  if (!name.hasFilePart()) return found;
  EncodedString const member = name.member();
  if (member.isEmpty()) {
    static_cast<void>(CUL_Api::findFile(name, path, found));
    return found;
  }
  FileName archive = name;
  archive.change_member(EncodedString());
  if (CUL_Api::findFile(archive, path, found) == 0) found.change_member(member);
  return found;
}

FileName UNIX_File_System::find_executable(FileName const& name) const {
  if (name.isEmpty()) return FileName();
  FileName found = find_file(name, currentDirectory());
  if (!found.isEmpty()) return found;
  EncodedString const path = valueOf(pathVariable());
  return path.isEmpty() ? FileName() : find_file(name, path);
}

FileName UNIX_File_System::find_load_module(FileName const& name) const {
  EncodedString path = valueOf(EncodedString(CharString(L"LD_LIBRARY_PATH")));
  if (!path.isEmpty()) path += separator();
  path += current_directory.isEmpty() ? currentDirectory() : current_directory;
  path += separator();
  path += systemDirectories();
  return find_file(name, path);
}

FileName UNIX_File_System::findSourceFile(FileName const& name, EncodedString const& path) const {
  FileName found = find_file(name, EncodedString());
  if (found.isEmpty() && !path.isEmpty()) {
    AutoList<FileName*> const directories(parseSearchPath(path));
    found = searchTrees(directories, name.base(), false);
  }
  if (found.isEmpty() && isCurrentDirectoryOfItsOwn(path)) {
    found = find_file(name, EncodedString(".", EncodedString::kLibraryText));
  }
  if (found.isEmpty()) {
    rebuildSearchPaths();
    found = searchTrees(source_paths, name.base(), true);
  }
  return found;
}

bool UNIX_File_System::isCurrentDirectoryOfItsOwn(EncodedString const& path) const {
  static auto const& dot = *new FileName(EncodedString(".", EncodedString::kSystemText));
  return !current_directory.isEmpty() && current_directory != path && current_directory != dot;
}

void UNIX_File_System::find_module_recursive(List<FileName*>& wanted, List<FileName*>& found,
                                             int* counter, EncodedString const& path) const {
  AutoList<FileName*> const directories(parseSearchPath(path));
  for (unsigned int i = 0; i < directories.count(); ++i) {
    FileName const& directory = *directories[i];
    if (auto* trace = tracing(TraceFlag::detail)) {
      trace->taggedTrace("find_module_recursive", __LINE__, "**",
                         "SEARCHING using searchRecursiveComplete of %s", directory.data());
    }
    SearchTree(directory).searchRecursiveComplete(wanted, found, counter);
  }
}

List<FileName*> const& UNIX_File_System::source_search_paths() const {
  rebuildSearchPaths();
  return source_paths;
}

void UNIX_File_System::rebuildSearchPaths() const {
  EncodedString const& setting =
      DebuggerSettings::instance()->setting(DebuggerSettings::kSourceSearchPath).value;
  if (setting == source_path_setting) return;
  EncodedString text = setting;
  AutoList<FileName*> directories(parseSearchPath(text));
  source_paths.reserve(directories.count());
  // Nothing fails from here on.
  source_paths.deleteElements();
  while (!directories.isEmpty()) source_paths.append(directories.remove(0));
  source_path_setting = std::move(text);
}

#pragma once

#include "cul/base/Export.h"
#include "quonutil/collections/List.h"
#include "quonutil/names/FileName.h"
#include "quonutil/text/EncodedString.h"

/// Finds programs, load modules and source files along search paths.
///
/// A search path is a text of directory names separated by ":". Nothing in it is quoted, expanded
/// or checked, and an empty entry is the working directory. What is found is returned by its full
/// name; the empty name means that nothing was found, and nothing else is ever reported. The
/// lookups call each other through their virtual operations, so a class that overrides `find_file`
/// changes them all.
///
/// The lookups change nothing, but for those that read the configured source directories
/// (findSourceFile, source_search_paths): one thread at a time. std::bad_alloc passes.
class CUL_EXPORT CUL_File_System {
 public:
  CUL_File_System(CUL_File_System const&) = delete;
  CUL_File_System& operator=(CUL_File_System const&) = delete;
  virtual ~CUL_File_System();

  /// The first file called `name` along `path`, see FileName::findFile. A member part is left out
  /// of the search and put back on the result. A name without a file part is not found.
  virtual FileName find_file(FileName const& name, EncodedString const& path) const = 0;

  /// A program: in the working directory, then along PATH. Whether it may be executed is not asked.
  virtual FileName find_executable(FileName const& name) const = 0;

  /// A load module: along LD_LIBRARY_PATH, in the current directory, in /usr/lib and in /lib. They
  /// are one path: after a ":" at the end of the variable comes an empty entry. What a system keeps
  /// elsewhere, as in its multiarch directories, the host puts into LD_LIBRARY_PATH.
  virtual FileName find_load_module(FileName const& name) const = 0;

  /// The source file that was recorded as `name`: by that name as it stands; by its base name in
  /// the trees below the directories of `path`, in their order; by the name in the working
  /// directory, when a current directory was set that is neither `path` nor "."; by its base name
  /// in the trees below the configured source directories.
  virtual FileName findSourceFile(FileName const& name, EncodedString const& path) const = 0;

  /// Searches the trees below the directories of `path`, in their order and each whole, for the
  /// modules that `wanted` names, and appends what is found to `found`: the names are the caller's
  /// to delete. Adds their number to `*counter` when that is not null. See
  /// SearchTree::searchRecursiveComplete.
  virtual void find_module_recursive(List<FileName*>& wanted, List<FileName*>& found, int* counter,
                                     EncodedString const& path) const = 0;

  /// The configured source directories: the entries of the source search-path setting, as it is
  /// now. Borrowed; the elements stay the same until the setting changes.
  virtual List<FileName*> const& source_search_paths() const = 0;

  /// The process's one object, made at the first call and never destroyed. That call must be over
  /// before another thread makes one.
  static CUL_File_System* instance();

  /// The directories of a search path, in their order. The elements are the caller's to delete.
  List<FileName*> parseSearchPath(EncodedString const& text) const;

  /// The directory that the lookups take for the current one; empty, as at the start, for the
  /// process's own.
  void set_current_directory(FileName const& directory);

 protected:
  CUL_File_System();

  FileName current_directory;      ///< empty for the process's own
  wchar_t const* path_separators;  ///< any of these ASCII characters; ends in a zero
};

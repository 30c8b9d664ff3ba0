#pragma once

#include "cul/search/CUL_File_System.h"
#include "quonutil/collections/AutoList.h"

/// The lookups on a Unix file system. What they find: see CUL_File_System.
class CUL_EXPORT UNIX_File_System : public CUL_File_System {
 public:
  UNIX_File_System();
  ~UNIX_File_System() override;

  FileName find_file(FileName const& name, EncodedString const& path) const override;
  FileName find_executable(FileName const& name) const override;
  FileName find_load_module(FileName const& name) const override;
  FileName findSourceFile(FileName const& name, EncodedString const& path) const override;
  void find_module_recursive(List<FileName*>& wanted, List<FileName*>& found, int* counter,
                             EncodedString const& path) const override;
  List<FileName*> const& source_search_paths() const override;

  /// Brings the configured source directories into step with the setting. While that stays the
  /// same, so do their names. When memory runs out the old ones stay.
  void rebuildSearchPaths() const;

 protected:
  mutable AutoList<FileName*> source_paths;   ///< the configured source directories
  mutable EncodedString source_path_setting;  ///< the text that source_paths was made of

 private:
  CUL_LOCAL bool isCurrentDirectoryOfItsOwn(EncodedString const& path) const;
};

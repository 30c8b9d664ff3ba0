#pragma once

#include "quonutil/Export.h"
#include "quonutil/collections/List.h"
#include "quonutil/names/FileName.h"

/// A directory with everything below it, to be searched for files by name.
///
/// A directory's own entries come first and then, in byte order of their names, the directories in
/// it, each with all that is below: the answer does not depend on the disk. A symbolic link to a
/// file is a file; one to a directory is followed only where it is the root, so that there is no
/// cycle. What cannot be opened or read is passed over, also when the process has no descriptor
/// left: a search holds one for each level that it is in.
///
/// Nothing is kept between two searches. Failures of memory pass, with every directory closed.
class QUONUTIL_EXPORT SearchTree {
 public:
  /// The tree below `root`; an empty name stands for the working directory.
  explicit SearchTree(FileName const& root);

  /// The full name of the first file called `wanted`, which is a bare name; empty when there is
  /// none. It begins with the root as that was given.
  FileName search(FileName const& wanted) const;

  /// Visits the whole tree and appends to `found` the full name of every file whose name is the
  /// short name of an element of `wanted`, those of one directory in byte order. The names are the
  /// caller's to delete. Adds their number to `*counter` when that is not null.
  void searchRecursiveComplete(List<FileName*> const& wanted, List<FileName*>& found,
                               int* counter) const;

  /// Whether the root comes from the user's settings: kept for the host, and without effect here.
  bool configured = false;

 private:
  EncodedString root_;  // ends in "/"
};

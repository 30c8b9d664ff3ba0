#pragma once

#include <string>
#include <vector>

#include "Arguments.h"
#include "quonutil/names/FileName.h"

/// A place where a lookup looks.
struct Place {
  std::string stage;
  std::string directory;  ///< empty where the name is taken as it stands
  bool isTree = false;    ///< everything below the directory, by base name
};

/// One of the library's lookups, of the name that a command line gives, with its --path.
struct Lookup {
  /// What the library answers.
  FileName (*answer)(Arguments const&);
  /// Every place in order, whether or not an earlier one has the file; after the answer.
  std::vector<Place> (*places)(Arguments const&);
  bool isOfPrograms;
};

extern Lookup const kExecutableLookup;
extern Lookup const kModuleLookup;
extern Lookup const kSourceLookup;

FileName nameOf(Arguments const& arguments);

/// The files of that name at a place, in order; several only in a tree.
std::vector<std::string> filesAt(Place const& place, FileName const& name);

/// Why there is none.
std::string whyNotAt(Place const& place, FileName name);

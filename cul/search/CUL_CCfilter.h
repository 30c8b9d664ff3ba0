#pragma once

#include "cul/base/Export.h"
#include "quonutil/collections/List.h"
#include "quonutil/text/EncodedString.h"

/// Which load modules take part in code coverage, and how it is collected and shown.
///
/// The lists and their elements are the caller's, who keeps them alive and unchanged as long as the
/// filter is used: then any number of threads may ask it. What the values mean that have no name
/// here is between the filter's maker and its users.
class CUL_EXPORT CUL_CCfilter {
 public:
  class FileFilter;  // the host's own

  /// What becomes of the modules that a pattern matches.
  enum InclusionType : int {
    kIncluded = 1,  ///< the modules that match are selected
    kExcluded = 2,
  };
  /// What is collected.
  enum CoverageType : int {
    kNoCoverage = 0,  ///< no module is selected
  };
  /// Whether it is shown while it is collected.
  enum OnTheFlyCoverage : int {
    kOnTheFlyDefault = 1,
  };
  /// How it is shown.
  enum ViewMode : int {
    kViewDefault = 1,
  };

  /// Borrows both lists and keeps the rest as it is given.
  CUL_CCfilter(List<FileFilter const*> const& files, List<EncodedString const*> const& patterns,
               InclusionType inclusionType, CoverageType coverageType, OnTheFlyCoverage onTheFly,
               ViewMode viewMode);

  /// Excludes the modules, and collects no coverage.
  CUL_CCfilter(List<FileFilter const*> const& files, List<EncodedString const*> const& patterns);

  /// The process's one empty filter, which selects no module; made at the first call and never
  /// destroyed. That call must be over before another thread makes one.
  static CUL_CCfilter* nullFilter();

  /// Whether the filter selects a module. None without coverage; every one without patterns;
  /// otherwise those that a pattern matches when they are included, and those that none matches
  /// when they are not. A pattern is one of fnmatch(3) with FNM_PATHNAME and FNM_NOESCAPE.
  bool testModule(EncodedString const& module) const;

 protected:
  List<FileFilter const*> const& file_filters;  ///< borrowed; kept for the host
  List<EncodedString const*> const& modules;    ///< borrowed; the patterns
  InclusionType inclusion;                      ///< as it was given
  CoverageType coverage;                        ///< as it was given
  OnTheFlyCoverage on_the_fly;                  ///< as it was given; kept for the host
  ViewMode view_mode;                           ///< as it was given; kept for the host
};

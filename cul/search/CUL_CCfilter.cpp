#include "cul/search/CUL_CCfilter.h"

#include <fnmatch.h>

CUL_CCfilter::CUL_CCfilter(List<FileFilter const*> const& files,
                           List<EncodedString const*> const& patterns, InclusionType inclusionType,
                           CoverageType coverageType, OnTheFlyCoverage onTheFly, ViewMode viewMode)
    : file_filters(files),
      modules(patterns),
      inclusion(inclusionType),
      coverage(coverageType),
      on_the_fly(onTheFly),
      view_mode(viewMode) {}

CUL_CCfilter::CUL_CCfilter(List<FileFilter const*> const& files,
                           List<EncodedString const*> const& patterns)
    : CUL_CCfilter(files, patterns, kExcluded, kNoCoverage, kOnTheFlyDefault, kViewDefault) {}

CUL_CCfilter* CUL_CCfilter::nullFilter() {
  static CUL_CCfilter* filter = nullptr;
  if (filter == nullptr) {
    static auto const& noFiles = *new List<FileFilter const*>;
    static auto const& noModules = *new List<EncodedString const*>;
    filter = new CUL_CCfilter(noFiles, noModules);
  }
  return filter;
}

bool CUL_CCfilter::testModule(EncodedString const& module) const {
  if (coverage == kNoCoverage) return false;
  if (modules.isEmpty()) return true;
  bool matches = false;
  for (unsigned int i = modules.count(); i-- > 0 && !matches;) {
    matches = ::fnmatch(modules[i]->data(), module.data(), FNM_PATHNAME | FNM_NOESCAPE) == 0;
  }
  return matches == (inclusion == kIncluded);
}

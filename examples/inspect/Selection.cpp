#include "Command.h"
#include "Inspect.h"
#include "cul/search/CUL_CCfilter.h"

namespace {

CUL_CCfilter filterOf(List<EncodedString const*> const& patterns,
                      CUL_CCfilter::InclusionType inclusion) {
  static List<CUL_CCfilter::FileFilter const*> const noFiles;
  constexpr auto kLines = static_cast<CUL_CCfilter::CoverageType>(1);  // a number of the host's
  return CUL_CCfilter(noFiles, patterns, inclusion, kLines, CUL_CCfilter::kOnTheFlyDefault,
                      CUL_CCfilter::kViewDefault);
}

}  // namespace

void selectModules(Inspect& inspect, std::vector<Module>& modules) {
  inspect.display.heading("A coverage filter selects libcul.* and libquonutil.*");
  EncodedString const texts[] = {systemText("libcul.*"), systemText("libquonutil.*")};
  List<EncodedString const*> patterns;
  for (auto const& text : texts) patterns.append(&text);
  auto const included = filterOf(patterns, CUL_CCfilter::kIncluded);
  auto const excluded = filterOf(patterns, CUL_CCfilter::kExcluded);
  std::vector<std::string> names;
  std::vector<std::string> selected;
  std::size_t opposite = 0;
  for (auto& module : modules) {
    EncodedString const name = systemText(module.name);
    names.push_back(module.name);
    module.isSelected = included.testModule(name);
    if (module.isSelected) selected.push_back(module.name);
    opposite += excluded.testModule(name) != module.isSelected;
  }
  std::string const script =
      "for each; do case $each in libcul.*|libquonutil.*) echo \"$each\";; esac; done";
  inspect.checks.confirm(!selected.empty() && selected == linesOfScript(script, names),
                         "these are the ones that \"case\" of the shell matches");
  inspect.checks.confirmAll(opposite, modules.size(), "are told apart by the opposite filter");
}

#include <gtest/gtest.h>

#include "cul/search/CUL_CCfilter.h"
#include "tests/support/Scratch.h"

namespace {

using Filter = CUL_CCfilter;

TEST(CoverageFilter, SelectsByPatternInclusionAndCoverage) {
  List<Filter::FileFilter const*> const files;
  EncodedString const patterns[] = {text("lib*.so"), text("a\\b"), text("d/*")};
  List<EncodedString const*> none, some;
  for (auto const& pattern : patterns) some.append(&pattern);
  auto const selects = [&](int inclusion, int coverage, char const* module,
                           List<EncodedString const*> const& modules) {
    return Filter(files, modules, static_cast<Filter::InclusionType>(inclusion),
                  static_cast<Filter::CoverageType>(coverage), Filter::kOnTheFlyDefault,
                  Filter::kViewDefault)
        .testModule(text(module));
  };
  struct Row {
    char const* module;
    bool matches;
  };
  constexpr Row kRows[] = {{"libfoo.so", true},  {"sub/libfoo.so", false},
                           {"LIBfoo.so", false}, {"a\\b", true},
                           {"ab", false},        {"d/e", true},
                           {"d/e/f", false},     {"", false}};
  for (auto const& row : kRows) {
    for (int inclusion : {0, 1, 2, 99}) {
      EXPECT_EQ(selects(inclusion, 5, row.module, some), row.matches == (inclusion == 1));
      EXPECT_TRUE(selects(inclusion, 5, row.module, none));
      EXPECT_FALSE(selects(inclusion, 0, row.module, some));
    }
    EXPECT_FALSE(Filter(files, some).testModule(text(row.module)));
    EXPECT_FALSE(Filter::nullFilter()->testModule(text(row.module)));
  }
  EXPECT_EQ(Filter::nullFilter(), Filter::nullFilter());
}

}  // namespace

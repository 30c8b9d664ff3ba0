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
  auto const filter = [&](int inclusion, int coverage, List<EncodedString const*> const& modules) {
    return Filter(files, modules, static_cast<Filter::InclusionType>(inclusion),
                  static_cast<Filter::CoverageType>(coverage), Filter::kOnTheFlyDefault,
                  Filter::kViewDefault);
  };
  constexpr std::pair<char const*, bool> kRows[] = {{"libfoo.so", true},  {"sub/libfoo.so", false},
                                                    {"LIBfoo.so", false}, {"a\\b", true},
                                                    {"ab", false},        {"d/e", true},
                                                    {"d/e/f", false},     {"", false}};
  for (auto const& [name, matches] : kRows) {
    EncodedString const module = text(name);
    for (int inclusion : {0, 1, 2, 99}) {
      EXPECT_EQ(filter(inclusion, 5, some).testModule(module), matches == (inclusion == 1));
      EXPECT_TRUE(filter(inclusion, 5, none).testModule(module));
      EXPECT_FALSE(filter(inclusion, 0, some).testModule(module));
    }
    EXPECT_FALSE(Filter(files, some).testModule(module));
    EXPECT_FALSE(Filter::nullFilter()->testModule(module));
  }
}

}  // namespace

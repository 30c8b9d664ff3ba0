#include <cstdio>

#include "tests/sweep/Sweep.h"

namespace {

std::vector<Scenario> scenarios() {
  std::vector<Scenario> all;
  for (auto const& some :
       {cacheScenarios(), fileScenarios(), searchScenarios(), memoryScenarios()}) {
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

class EveryFault : public testing::TestWithParam<Scenario> {};

TEST_P(EveryFault, LeavesWhatIsPromised) {
  Sweep sweep(GetParam());
  if (sweep.complaints.empty()) {
    sweep.failures();
    sweep.adversaries();
    sweep.companions();
    sweep.kills();
  }
  for (auto const& [mode, count] : sweep.counts) {
    std::printf("%6u  %s, %s\n", count, GetParam().name, mode.c_str());
  }
  for (std::size_t i = 0; i < sweep.complaints.size() && i < 10; ++i) {
    ADD_FAILURE() << sweep.complaints[i];
  }
}

INSTANTIATE_TEST_SUITE_P(Sweep, EveryFault, testing::ValuesIn(scenarios()),
                         [](auto const& row) { return row.param.name; });

}  // namespace

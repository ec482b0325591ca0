// Runs every *.scenario file beside it.

#include <gtest/gtest.h>

#include <algorithm>

#include "scenarios/ScenarioRun.h"

namespace torvik {
namespace {

class Scenario : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(Scenario, EndsAsDescribed) {
  Sandbox sandbox;
  RunScenario(GetParam(), sandbox);
}

std::vector<std::filesystem::path> AllScenarios() {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(TORVIK_SCENARIO_DIR)) {
    if (entry.path().extension() == ".scenario") paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::string NameOf(const ::testing::TestParamInfo<std::filesystem::path>& info) {
  std::string name = info.param.stem().string();
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(All, Scenario, ::testing::ValuesIn(AllScenarios()), NameOf);

}  // namespace
}  // namespace torvik

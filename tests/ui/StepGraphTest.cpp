#include "ui/StepGraph.h"

#include <gmock/gmock.h>

#include <chrono>

namespace torvik {
namespace {

using dts::StepOutline;

/// Steps by numbers, each with those that it waits for.
std::vector<StepOutline> Steps(const std::vector<std::vector<int>>& after) {
  std::vector<StepOutline> steps;
  for (const std::vector<int>& waits : after) {
    steps.push_back({.name = std::to_string(steps.size())});
    for (const int step : waits) steps.back().after.push_back({step, dts::Precedence::Success});
  }
  return steps;
}

/// How often two lines cross between two layers.
int Crossings(const StepGraph& graph) {
  int crossings = 0;
  for (const auto& one : graph.edges)
    for (const auto& other : graph.edges)
      for (std::size_t i = 0; i + 1 < one.way.size(); ++i)
        for (std::size_t j = 0; j + 1 < other.way.size(); ++j)
          if (one.way[i].x == other.way[j].x && one.way[i].y < other.way[j].y &&
              one.way[i + 1].y > other.way[j + 1].y)
            ++crossings;
  return crossings;
}

TEST(StepGraph, PutsEachStepBehindAllThatItWaitsFor) {
  const struct {
    const char* what;
    std::vector<std::vector<int>> after;
    std::vector<int> layers;
    int crossings;
  } cases[] = {{"a chain, its steps in another order", {{1}, {2}, {}}, {2, 1, 0}, 0},
               {"a diamond with a way past it", {{}, {0}, {0}, {1, 2}, {0, 3}}, {0, 1, 1, 2, 3}, 0},
               {"pairs that would cross", {{}, {}, {}, {2}, {1}, {0}}, {0, 0, 0, 1, 1, 1}, 0},
               {"a circle", {{1}, {0}, {}}, {0, 0, 0}, 0},
               {"nothing", {}, {}, 0}};
  for (const auto& one : cases) {
    const StepGraph graph = LayOut(Steps(one.after));
    std::vector<int> layers;
    for (const auto& node : graph.nodes) layers.push_back(node.layer);
    EXPECT_EQ(one.layers, layers) << one.what;
    EXPECT_EQ(one.crossings, Crossings(graph)) << one.what;
  }
}

TEST(StepGraph, PutsNoTwoStepsIntoOnePlaceAndLinesBesideThem) {
  std::vector<std::vector<int>> after(1000);
  for (int i = 1; i < 1000; ++i) after[static_cast<std::size_t>(i)] = {(i - 1) / 3, i * 7 / 10};
  const StepGraph graph = LayOut(Steps(after));
  std::vector<std::pair<double, double>> places;
  for (const auto& node : graph.nodes) places.emplace_back(node.at.x, node.at.y);
  for (const auto& edge : graph.edges)
    for (std::size_t i = 1; i + 1 < edge.way.size(); ++i)
      places.emplace_back(edge.way[i].x, edge.way[i].y);
  std::ranges::sort(places);
  EXPECT_EQ(places.end(), std::ranges::adjacent_find(places));
  for (const auto& node : graph.nodes)
    EXPECT_TRUE(node.at.x < graph.width && node.at.y < graph.height && node.at.y > 0);
}

TEST(StepGraph, DrawsLanesAsStraightLines) {
  // Three lanes of which the middle one forks; a hundred lanes with a way from each fifth to the
  // next.
  std::vector<std::vector<int>> fork = {{}, {}, {}, {0}, {1}, {2}, {3}, {4}, {4}, {5}}, lanes;
  for (int lane = 0; lane < 100; ++lane)
    for (int i = 0; i < 4; ++i) {
      lanes.push_back({});
      if (i > 0) lanes.back().push_back(4 * lane + i - 1);
      if (i == 3 && lane % 5 == 1) lanes.back().push_back(4 * (lane - 1) + 1);
    }
  const struct {
    const std::vector<std::vector<int>>& after;
    std::size_t bent;
    double height;
  } cases[] = {{fork, 2, 4}, {lanes, 60, 125}};
  for (const auto& one : cases) {
    const StepGraph graph = LayOut(Steps(one.after));
    std::size_t bent = 0;
    for (const auto& edge : graph.edges)
      bent += std::abs(edge.way.front().y - edge.way.back().y) > 0.25 ? 1U : 0U;
    EXPECT_LE(bent, one.bent) << one.after.size();
    EXPECT_LE(graph.height, one.height) << one.after.size();
  }
}

TEST(StepGraph, SpreadsStepsThatNothingBinds) {
  const StepGraph graph = LayOut(Steps(std::vector<std::vector<int>>(300)));
  EXPECT_GT(graph.width, 5);
  EXPECT_LT(graph.height, 40);
}

}  // namespace
}  // namespace torvik

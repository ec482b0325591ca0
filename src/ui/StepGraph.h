#pragma once

#include <string>
#include <vector>

#include "platform/Dts.h"

namespace torvik {

/// A package's steps as a graph in layers: each step stands right of all that it waits for, and
/// lines cross as little as a few sweeps can reach. Units: a layer is 1 wide, a place in it 1 high.
struct StepGraph {
  struct Point {
    double x = 0, y = 0;
    bool operator==(const Point&) const = default;
  };
  struct Node {
    int layer = 0;  ///< From 0: how many steps are before it on the longest way.
    Point at;       ///< Of its middle.
  };
  struct Edge {
    int from = 0, to = 0;  ///< Positions of steps.
    dts::Precedence on = dts::Precedence::Success;
    std::vector<Point> way;  ///< From the middle of one to that of the other, past those between.
  };

  std::vector<Node> nodes;  ///< As the steps stand in the outline.
  std::vector<Edge> edges;
  double width = 0, height = 0;  ///< Layers, and places of the fullest one.
};

/// A package without constraints is laid out in rows. Constraints that make a circle count as far
/// as they do not.
StepGraph LayOut(const std::vector<dts::StepOutline>& steps);

}  // namespace torvik

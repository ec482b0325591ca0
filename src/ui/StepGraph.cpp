#include "ui/StepGraph.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace torvik {
namespace {

/// What is placed in a layer: a step, or a line that passes it.
struct Cell {
  int layer = 0;
  double place = 0;  // in the order of its layer
  double y = 0;
  std::vector<std::size_t> before, behind;  // neighbours in the layers beside
};

/// How often the layers are put in order, in turn from left and right, and how often their cells
/// move towards their neighbours.
constexpr int kSweeps = 8, kMoves = 24;

/// The heights closest to the wanted ones that are at least 1 apart, in this order: neighbours that
/// want to stand closer are pooled around their mean.
std::vector<double> Apart(const std::vector<double>& wanted) {
  struct Pool {
    double sum;
    std::size_t count;
    double Mean() const { return sum / static_cast<double>(count); }
  };
  std::vector<Pool> pools;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    Pool pool{wanted[i] - static_cast<double>(i), 1};
    for (; !pools.empty() && pools.back().Mean() >= pool.Mean(); pools.pop_back()) {
      pool.sum += pools.back().sum;
      pool.count += pools.back().count;
    }
    pools.push_back(pool);
  }
  std::vector<double> heights;
  for (const Pool& pool : pools)
    for (std::size_t i = 0; i < pool.count; ++i)
      heights.push_back(pool.Mean() + static_cast<double>(heights.size()));
  return heights;
}

class Layout {
 public:
  explicit Layout(const std::vector<dts::StepOutline>& steps) : steps_(steps) {
    graph_.nodes.resize(steps.size());
    cells_.resize(steps.size());
  }

  StepGraph Run() {
    FindLayers();
    SpreadLooseSteps();
    for (std::size_t i = 0; i < steps_.size(); ++i) cells_[i].layer = graph_.nodes[i].layer;
    AddEdges();
    FillLayers();
    for (int sweep = 0; sweep < kSweeps; ++sweep) Sweep(sweep % 2 == 0);
    StandInTheMiddle();
    for (int move = 0; move < kMoves; ++move) Move(move);
    Straighten();
    Place();
    return std::move(graph_);
  }

 private:
  static std::size_t At(int position) { return static_cast<std::size_t>(position); }

  /// By the longest way, step after step (Kahn); what stands in a circle stays where it is.
  void FindLayers() {
    std::vector<int> open(steps_.size(), 0);
    std::vector<std::vector<std::size_t>> behind(steps_.size());
    for (std::size_t i = 0; i < steps_.size(); ++i)
      for (const auto& constraint : steps_[i].after) {
        behind[At(constraint.step)].push_back(i);
        ++open[i];
      }
    std::vector<std::size_t> ready;
    for (std::size_t i = 0; i < steps_.size(); ++i)
      if (open[i] == 0) ready.push_back(i);
    for (std::size_t next = 0; next < ready.size(); ++next)
      for (const std::size_t step : behind[ready[next]]) {
        graph_.nodes[step].layer =
            std::max(graph_.nodes[step].layer, graph_.nodes[ready[next]].layer + 1);
        if (--open[step] == 0) ready.push_back(step);
      }
  }

  /// Steps that nothing binds fill rows of about a page's shape instead of one tall layer.
  void SpreadLooseSteps() {
    std::vector<bool> isBound(steps_.size());
    for (std::size_t i = 0; i < steps_.size(); ++i)
      for (const auto& constraint : steps_[i].after)
        isBound[i] = isBound[At(constraint.step)] = true;
    const auto loose = static_cast<double>(std::ranges::count(isBound, false));
    if (loose < 12) return;
    const int layers = std::max(1, static_cast<int>(std::sqrt(loose / 3)));
    int number = 0;
    for (std::size_t i = 0; i < steps_.size(); ++i)
      if (!isBound[i]) graph_.nodes[i].layer = number++ % layers;
  }

  /// A line over several layers has a cell in each between.
  void AddEdges() {
    for (std::size_t to = 0; to < steps_.size(); ++to)
      for (const auto& constraint : steps_[to].after) {
        const std::size_t from = At(constraint.step);
        if (cells_[from].layer >= cells_[to].layer) continue;  // part of a circle
        graph_.edges.push_back({constraint.step, static_cast<int>(to), constraint.on, {}});
        std::vector<std::size_t> way = {from};
        for (int layer = cells_[from].layer + 1; layer < cells_[to].layer; ++layer) {
          way.push_back(cells_.size());
          cells_.push_back({layer});
        }
        way.push_back(to);
        for (std::size_t i = 0; i + 1 < way.size(); ++i) {
          cells_[way[i]].behind.push_back(way[i + 1]);
          cells_[way[i + 1]].before.push_back(way[i]);
        }
        ways_.push_back(std::move(way));
      }
  }

  void FillLayers() {
    for (std::size_t i = 0; i < cells_.size(); ++i) {
      const std::size_t layer = At(cells_[i].layer);
      if (layer >= layers_.size()) layers_.resize(layer + 1);
      cells_[i].place = static_cast<double>(layers_[layer].size());
      layers_[layer].push_back(i);
    }
  }

  /// Each cell goes to the mean place of its neighbours on one side; equals keep their order.
  void Sweep(bool forwards) {
    for (std::size_t i = 0; i < layers_.size(); ++i) {
      std::vector<std::size_t>& layer = layers_[forwards ? i : layers_.size() - 1 - i];
      std::vector<std::pair<double, std::size_t>> wanted;
      for (const std::size_t cell : layer) {
        const auto& beside = forwards ? cells_[cell].before : cells_[cell].behind;
        double sum = 0;
        for (const std::size_t one : beside) sum += Relative(one);
        wanted.emplace_back(
            beside.empty() ? Relative(cell) : sum / static_cast<double>(beside.size()), cell);
      }
      std::ranges::stable_sort(wanted, {}, &std::pair<double, std::size_t>::first);
      for (std::size_t place = 0; place < wanted.size(); ++place) {
        layer[place] = wanted[place].second;
        cells_[layer[place]].place = static_cast<double>(place);
      }
    }
  }

  /// The place of a cell in its layer, between -0.5 and 0.5, so that layers of different height
  /// compare.
  double Relative(std::size_t cell) const {
    const auto count = static_cast<double>(layers_[At(cells_[cell].layer)].size());
    return (cells_[cell].place + 0.5) / count - 0.5;
  }

  /// Every layer begins around the middle.
  void StandInTheMiddle() {
    for (const auto& layer : layers_)
      for (const std::size_t cell : layer)
        cells_[cell].y = cells_[cell].place - static_cast<double>(layer.size()) / 2;
  }

  /// Each cell goes as near as it can to the mean height of its neighbours: of those on the left,
  /// those on the right, and at last of all. So most lines become straight.
  void Move(int number) {
    const bool forwards = number % 2 == 0, isLast = number + 2 >= kMoves;
    for (std::size_t i = 0; i < layers_.size(); ++i) {
      const std::vector<std::size_t>& layer = layers_[forwards ? i : layers_.size() - 1 - i];
      std::vector<double> wanted;
      for (const std::size_t cell : layer) {
        std::vector<std::size_t> beside = forwards ? cells_[cell].before : cells_[cell].behind;
        const auto& others = forwards ? cells_[cell].behind : cells_[cell].before;
        if (isLast) beside.insert(beside.end(), others.begin(), others.end());
        double sum = 0;
        for (const std::size_t one : beside) sum += cells_[one].y;
        wanted.push_back(beside.empty() ? cells_[cell].y
                                        : sum / static_cast<double>(beside.size()));
      }
      const std::vector<double> heights = Apart(wanted);
      for (std::size_t at = 0; at < layer.size(); ++at) cells_[layer[at]].y = heights[at];
    }
  }

  /// What is left of a bend between two cells that nothing else binds is taken out.
  void Straighten() {
    for (const auto& layer : layers_) {
      std::vector<double> wanted;
      for (const std::size_t cell : layer) {
        const auto& before = cells_[cell].before;
        const bool isLink = before.size() == 1 && cells_[before[0]].behind.size() == 1;
        wanted.push_back(isLink ? cells_[before[0]].y : cells_[cell].y);
      }
      const std::vector<double> heights = Apart(wanted);
      for (std::size_t at = 0; at < layer.size(); ++at) cells_[layer[at]].y = heights[at];
    }
  }

  void Place() {
    const auto [top, bottom] = std::ranges::minmax_element(cells_, {}, &Cell::y);
    const double above = top->y - 0.5;
    graph_.width = static_cast<double>(layers_.size());
    graph_.height = bottom->y - above + 0.5;
    const auto pointOf = [&](std::size_t cell) {
      return StepGraph::Point{cells_[cell].layer + 0.5, cells_[cell].y - above};
    };
    for (std::size_t i = 0; i < steps_.size(); ++i) graph_.nodes[i].at = pointOf(i);
    for (std::size_t edge = 0; edge < ways_.size(); ++edge)
      for (const std::size_t cell : ways_[edge]) graph_.edges[edge].way.push_back(pointOf(cell));
  }

  const std::vector<dts::StepOutline>& steps_;
  StepGraph graph_;
  std::vector<Cell> cells_;  // the steps' first
  std::vector<std::vector<std::size_t>> ways_, layers_;
};

}  // namespace

StepGraph LayOut(const std::vector<dts::StepOutline>& steps) {
  return steps.empty() ? StepGraph() : Layout(steps).Run();
}

}  // namespace torvik

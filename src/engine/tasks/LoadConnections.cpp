#include "engine/tasks/LoadConnections.h"

#include <algorithm>

#include "engine/model/TaskReader.h"

namespace torvik::engine {
namespace {

constexpr const char* kKey = "load_connections";
constexpr std::int64_t kMost = 32;

/// Why its rows must go one after the other; empty when they need not.
std::string WhyInOrder(const PumpShape& pump) {
  if (!pump.source.IsTextFile())
    return "the source " + Quoted(pump.source.Connection()) +
           " is a database, and only a text "
           "file is read in parts";
  if (!pump.destination.IsDatabase())
    return "the destination " + Quoted(pump.destination.Connection()) + " is a text file";
  if (pump.destination.HasQueries()) return "queries run on one connection, one after the other";
  if (pump.settings.insertCommitSize > 0)
    return "the rows of all connections are kept together, and not by insert_commit_size";
  if (pump.settings.firstRow > 0 || pump.settings.lastRow > 0)
    return "first_row and last_row count the rows one after the other";
  if (!pump.transformations.scripts.empty() || !pump.lookups.empty())
    return "scripts see the rows one after the other";
  for (const TransformationPlan& plan : pump.transformations.columns)
    if (plan.type == "lookup" || plan.type == "write_file")
      return "a transformation " + Quoted(plan.type) + " takes the rows one after the other";
  return {};
}

}  // namespace

int ReadLoadConnections(TaskReader& reader, const PumpShape& pump) {
  const std::int64_t connections = reader.Whole(kKey, 1, 1);
  if (connections == 1) return 1;
  const TextPlace place = reader.Table().Find(kKey)->place;
  if (connections > kMost) {
    reader.Problem(place, Quoted(kKey) + " is " + std::to_string(connections) +
                              "; write a whole number from 1 to " + std::to_string(kMost));
  } else if (reader.Table().Find("watermark") != nullptr) {
    reader.Problem(
        place, "a watermark is the highest value of one connection's rows; remove " + Quoted(kKey));
  } else if (const std::string reason = WhyInOrder(pump); !reason.empty()) {
    reader.Problem(place, reason + "; remove " + Quoted(kKey));
  }
  return static_cast<int>(std::min(connections, kMost));
}

}  // namespace torvik::engine

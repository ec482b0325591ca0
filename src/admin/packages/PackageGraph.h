#pragma once

#include <string>
#include <vector>

#include "engine/model/PackageModel.h"

namespace torvik {
class CodePage;
}

namespace torvik::admin {

/// How a step went in a run.
struct StepOutcome {
  enum class Kind { NotMentioned, Running, Succeeded, Failed, NotRun };

  Kind kind = Kind::NotMentioned;
  std::string text;  ///< "12 rows, 0.004 seconds"; why it failed or did not run.
};

/// What a package's log says of its last run, by the steps of `package`: `log` is in the code page
/// `ansi`. Throws PlatformError, naming `path`, when there is no run of this package in it.
std::vector<StepOutcome> ReadLastRun(const std::string& log, const engine::PackageModel& package,
                                     const CodePage& ansi, const std::string& path);

/// The package as a graph in Graphviz's language, in ASCII: its steps, the constraints between
/// them and, unless `outcomes` is empty, how each step went. So that Graphviz is done with it in
/// time, the steps of a large package have their places already (see HasPlaces).
std::string GraphText(const engine::PackageModel& package,
                      const std::vector<StepOutcome>& outcomes);

/// True when the graph of the package is to be drawn by "neato -n" instead of "dot".
bool HasPlaces(const engine::PackageModel& package);

}  // namespace torvik::admin

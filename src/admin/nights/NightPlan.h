#pragma once

#include <string>
#include <vector>

namespace torvik::admin {

/// A job of a night.
struct NightJob {
  std::string file;     ///< Its full path.
  std::string package;  ///< That it runs.
};

/// The text of a package whose steps run these jobs. The jobs of one ETL model, as the names of
/// their packages tell, stand one behind the other, each after the success of the one before: it is
/// initialised and cleaned up before it is loaded. Models run beside each other; jobs of no model
/// come when those have been started.
std::string NightDocument(const std::string& name, std::vector<NightJob> jobs);

}  // namespace torvik::admin

#pragma once

#include <string>
#include <vector>

#include "import/Evaluator.h"
#include "import/Record.h"

namespace torvik::importing {

struct Translation {
  std::string name;      ///< Of the package.
  std::string document;  ///< TOML.
  std::vector<Note> notes;
  int connections = 0, steps = 0, variables = 0;
};

/// Writes the package that was recorded as a document. `known` are values of variables; `name`,
/// unless it is empty, becomes the package's.
Translation Translate(const Recording& recording, const KnownValues& known,
                      const std::string& name);

}  // namespace torvik::importing

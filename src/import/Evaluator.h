#pragma once

#include <string>
#include <utility>
#include <vector>

#include "import/Code.h"
#include "import/Record.h"

namespace torvik::importing {

/// What is known beforehand of variables and arguments: names, in any letter case, and texts.
using KnownValues = std::vector<std::pair<std::string, std::string>>;

/// Walks the code that builds the package and records what it makes. Of branches and loops it takes
/// the way that constants, assignments and `known` decide; one that nothing decides is left out and
/// noted. Ends after bounded work. `procedure` is the one to begin with; empty: see EntryOf.
Recording Evaluate(const Code& code, const KnownValues& known, const std::string& procedure = {});

}  // namespace torvik::importing

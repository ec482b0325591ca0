#pragma once

#include <string>
#include <vector>

#include "import/Code.h"
#include "import/Record.h"

namespace torvik::importing {

/// How many parts of a package these statements make: calls of New, Add and the like.
int PartsMade(const Nodes& nodes);

/// True when the statements use members of what the name stands for, or hand it on.
bool IsUsedAsObject(const Nodes& nodes, const std::string& lowerName);

/// The lines on which packages are made.
std::vector<int> PackageLines(const Code& code);

/// The first line on which a stored package is taken, 0 when there is none.
int LoadLine(const Code& code);

/// The procedures that each build a package: those that make one themselves, when they are several;
/// else those that make parts of one and are called by no other.
std::vector<std::string> BuildersOf(const Code& code);

/// The procedure that builds the package: of those that no other calls, the one that with all that
/// it calls makes most parts. Null when none makes any, and when what stands outside of procedures
/// builds it. `notes` is told of those that make parts and are not called where it is built.
const Procedure* EntryOf(const Code& code, std::vector<Note>& notes);

}  // namespace torvik::importing

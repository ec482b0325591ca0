#pragma once

#include "import/TaskTranslator.h"

namespace torvik::importing {

/// Writes a data pump.
void WritePump(TaskScope& scope, const Object& task);

}  // namespace torvik::importing

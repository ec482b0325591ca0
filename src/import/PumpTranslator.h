#pragma once

#include "import/TaskTranslator.h"

namespace torvik::importing {

/// Writes a data pump or a data-driven query.
void WritePump(TaskScope& scope, const Object& task);

}  // namespace torvik::importing

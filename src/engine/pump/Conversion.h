#pragma once

#include <string>

#include "platform/Ado.h"

namespace torvik::engine {

class RowBatch;

/// Puts `value`, which is not NULL, into the form in which a column takes it; a new text is stored
/// in `batch`. Answers why it does not fit ("is not a whole number"), empty when it does. A blank
/// value for a column that is not text becomes NULL.
std::string FitValue(const ado::Column& column, ado::LoadValue& value, RowBatch& batch);

}  // namespace torvik::engine

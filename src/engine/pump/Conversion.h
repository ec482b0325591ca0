#pragma once

#include <string>

#include "platform/Ado.h"

namespace torvik::engine {

class RowBatch;

/// What a conversion may do to a value that does not fit as it is: DTSTransformFlags of the package
/// object model, by its numbers. None: nothing is changed silently.
enum TransformFlags : unsigned {
  kAllowDemotion = 1,           ///< A date with a time into a date: the time is cut.
  kAllowPromotion = 2,          ///< Into a wider type; always possible here.
  kAllowStringTruncation = 4,   ///< A text is cut to what its column holds.
  kAllowNumericTruncation = 8,  ///< Digits behind the point are cut to what the column holds.
  kAllowNullChange = 16,   ///< NULL for a column that must have a value: 0, false or an empty text.
  kAllowSignChange = 32,   ///< A negative number into an unsigned column keeps its bits.
  kRequireExactType = 64,  ///< Types of a query's values must be those of their columns.
  kForceConvert = 128,     ///< All of the above but the last; any number but 0 is true.
};

/// Puts `value` into the form in which a column takes it; a new text is stored in `batch`. False
/// when it does not fit: `misfit` says why ("is not a whole number"), and `value` is what it was,
/// or its text. A blank value for a column that is not text becomes NULL. `flags` are
/// TransformFlags.
bool FitValue(const ado::Column& column, unsigned flags, ado::LoadValue& value, RowBatch& batch,
              std::string& misfit);

/// Puts into `value`, which is NULL, what stands for NULL in a column that must have a value; false
/// where the flags do not allow it or nothing can stand for it.
bool FillNull(const ado::Column& column, unsigned flags, ado::LoadValue& value);

/// A number as a text, the shortest that reads back as the same number; texts as they are, NULL as
/// an empty one. What is made is stored in `batch`.
std::string_view TextOfValue(const ado::LoadValue& value, RowBatch& batch);

}  // namespace torvik::engine

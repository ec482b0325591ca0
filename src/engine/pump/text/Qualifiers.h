#pragma once

#include <string_view>

namespace torvik::engine {

class RowBatch;

/// The text, in the batch's own memory, with one of every two qualifiers. BlockReader::kBytesBehind
/// bytes behind it must be readable.
std::string_view Undoubled(std::string_view text, char qualifier, RowBatch& batch);

}  // namespace torvik::engine

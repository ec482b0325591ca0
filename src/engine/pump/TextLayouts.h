#pragma once

#include <memory>
#include <string>

#include "engine/pump/TextFormat.h"
#include "engine/pump/TextInput.h"

namespace torvik {
class CodePages;
}  // namespace torvik

namespace torvik::engine {

class TextSource;

/// The sources for the two layouts, not yet started.
std::unique_ptr<TextSource> NewDelimitedText(TextInput input, const CodePages& codePages,
                                             const TextFormat& format);
std::unique_ptr<TextSource> NewFixedText(TextInput input, const CodePages& codePages,
                                         const TextFormat& format);

/// The one that the format asks for.
std::unique_ptr<TextSource> NewTextSource(TextInput input, const CodePages& codePages,
                                          const TextFormat& format);

/// Throws RowError when the delimiters and the qualifier cannot be told apart.
void CheckDelimiters(const std::string& path, const TextFormat& format);

/// How many characters a row of fixed-width text has. Throws RowError when the lengths are missing,
/// 0, or so many that a row could not be read.
std::size_t FixedRowLength(const std::string& path, const TextFormat& format);

}  // namespace torvik::engine

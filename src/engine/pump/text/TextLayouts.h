#pragma once

#include <memory>
#include <string>

#include "engine/pump/TextFormat.h"
#include "engine/pump/text/TextInput.h"

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

}  // namespace torvik::engine

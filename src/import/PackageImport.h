#pragma once

#include <string>
#include <string_view>

#include "import/Translator.h"

namespace torvik::importing {

/// Turns a package that its designer saved as Visual Basic text into a document. `file` is its
/// name, for messages; `bytes` what is in it. The notes say what is not known, what is left out and
/// what will not run, each with its line. Throws PlatformError when there is no package in it.
Translation ImportPackage(const std::string& file, std::string_view bytes,
                          const KnownValues& known);

}  // namespace torvik::importing

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "import/Translator.h"

namespace torvik::importing {

/// What the caller wants of a text that may build several packages.
struct ImportWishes {
  std::string procedure;  ///< That which builds the package; empty: the one that makes most of it.
  std::string name;       ///< Of the package; empty: its own.
};

/// The procedures of a text that each build a package; one or none where it builds one. Throws as
/// ImportPackage does for what is no text.
std::vector<std::string> PackageProcedures(const std::string& file, std::string_view bytes);

/// Turns a package that its designer saved as Visual Basic text into a document. `file` is its
/// name, for messages; `bytes` what is in it. The notes say what is not known, what is left out and
/// what will not run, each with its line. Throws PlatformError when there is no package in it, when
/// it only runs one that is stored, and when it has no such procedure.
Translation ImportPackage(const std::string& file, std::string_view bytes, const KnownValues& known,
                          const ImportWishes& wishes = {});

}  // namespace torvik::importing

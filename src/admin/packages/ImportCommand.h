#pragma once

#include <string>
#include <vector>

namespace torvik {
struct LinuxPlatform;
}

namespace torvik::admin {

struct ImportOptions {
  std::string output;                  ///< Empty: standard output.
  std::vector<std::string> variables;  ///< "NAME=VALUE".
  std::string procedure, name;         ///< See importing::ImportWishes.
  bool isAll = false;  ///< Each package of the text; `output` is the directory of the documents.
};

/// Imports the package of a Visual Basic text. Answers the exit code: 1 when the document that
/// comes out has problems, which are told.
int ImportPackageFile(LinuxPlatform& platform, const std::string& file,
                      const ImportOptions& options, bool json);

}  // namespace torvik::admin

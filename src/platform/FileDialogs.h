#pragma once

#include <string>

namespace torvik {

/// What a dialog for a file is asked.
struct FileDialogInfo {
  std::string title;
  std::string filter;            ///< Pairs of a name and its pattern: "Text (*.txt)|*.txt|...".
  std::string defaultExtension;  ///< Added to a name that has none, without the point.
  std::string file;              ///< Where the dialog begins: a path, or empty.
  bool asksToReplace = true;     ///< Whether the user must agree when a file to write exists.
};

/// The shell's modal dialogs for files.
class FileDialogs {
 public:
  virtual ~FileDialogs() = default;

  /// The path of an existing file; empty when the user cancels.
  virtual std::string OpenFile(const FileDialogInfo& info) = 0;
  /// The path of a file to write; empty when the user cancels.
  virtual std::string SaveFile(const FileDialogInfo& info) = 0;
};

}  // namespace torvik

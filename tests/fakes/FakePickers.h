#pragma once

#include <string>
#include <vector>

#include "platform/FileDialogs.h"
#include "platform/ShellBrowser.h"

namespace torvik {

/// A user who always chooses `choice`, or cancels when it is empty.
struct FakeShellBrowser final : ShellBrowser {
  std::string choice;
  std::vector<BrowseInfo> asked;
  bool hasNetwork = true;

  std::optional<int> SHGetSpecialFolderLocation(int folder) override {
    return hasNetwork ? std::optional(folder) : std::nullopt;
  }
  std::optional<std::string> SHBrowseForFolderA(const BrowseInfo& info) override {
    asked.push_back(info);
    return choice.empty() ? std::nullopt : std::optional(choice);
  }
};

struct FakeFileDialogs final : FileDialogs {
  std::string choice;
  std::vector<FileDialogInfo> opened, saved;

  std::string OpenFile(const FileDialogInfo& info) override {
    opened.push_back(info);
    return choice;
  }
  std::string SaveFile(const FileDialogInfo& info) override {
    saved.push_back(info);
    return choice;
  }
};

}  // namespace torvik

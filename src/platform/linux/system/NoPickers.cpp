#include "platform/linux/system/NoPickers.h"

namespace torvik {
namespace {

struct NoShellBrowser final : ShellBrowser {
  std::optional<int> SHGetSpecialFolderLocation(int) override { return std::nullopt; }
  std::optional<std::string> SHBrowseForFolderA(const BrowseInfo&) override { return std::nullopt; }
};

struct NoFileDialogs final : FileDialogs {
  std::string OpenFile(const FileDialogInfo&) override { return {}; }
  std::string SaveFile(const FileDialogInfo&) override { return {}; }
};

}  // namespace

std::unique_ptr<ShellBrowser> NewNoShellBrowser() {
  return std::make_unique<NoShellBrowser>();
}

std::unique_ptr<FileDialogs> NewNoFileDialogs() {
  return std::make_unique<NoFileDialogs>();
}

}  // namespace torvik

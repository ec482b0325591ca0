#include "ui/ModSHBrowse.h"

#include "platform/ShellBrowser.h"

namespace torvik {

std::string BrowseForComputer(ShellBrowser& shell, const std::string& title) {
  BrowseInfo info{title, BrowseInfo::kComputersOnly, std::nullopt, ""};
  info.root = shell.SHGetSpecialFolderLocation(BrowseInfo::kNetworkNeighbourhood);
  return shell.SHBrowseForFolderA(info).value_or("");
}

std::string BrowseForFolder(ShellBrowser& shell, std::string& startFolder,
                            const std::string& title) {
  startFolder = StripTrailingBackslash(startFolder);
  return shell.SHBrowseForFolderA({title, 0, std::nullopt, startFolder}).value_or("");
}

std::string StripTrailingBackslash(const std::string& text) {
  return text.ends_with('\\') ? text.substr(0, text.size() - 1) : text;
}

}  // namespace torvik

#pragma once

#include <string>

namespace torvik {

class ShellBrowser;

/// The name of the computer that the user chooses on the network; empty when the user cancels.
std::string BrowseForComputer(ShellBrowser& shell, const std::string& title);

/// The path of the folder that the user chooses, beginning at `startFolder`, which loses one
/// trailing '\'; empty when the user cancels.
std::string BrowseForFolder(ShellBrowser& shell, std::string& startFolder,
                            const std::string& title);

/// The text without its last character when that is '\'.
std::string StripTrailingBackslash(const std::string& text);

}  // namespace torvik

#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace torvik {

/// What the shell's browser is asked (the record of SHBrowseForFolder).
struct BrowseInfo {
  static constexpr std::uint32_t kComputersOnly = 0x1000;
  static constexpr int kNetworkNeighbourhood = 18;

  std::string title;
  std::uint32_t flags = 0;  ///< kComputersOnly, or 0 for folders.
  std::optional<int> root;  ///< The special folder that it begins in; none: the desktop.
  std::string selection;    ///< The folder that it opens at; may be empty.
};

/// The shell's modal browser for folders and computers.
class ShellBrowser {
 public:
  virtual ~ShellBrowser() = default;

  /// The special folder as a root; nothing when the shell has none.
  virtual std::optional<int> SHGetSpecialFolderLocation(int folder) = 0;

  /// The chosen computer's name or the chosen folder's path, as spelled there; nothing when the
  /// user cancels.
  virtual std::optional<std::string> SHBrowseForFolderA(const BrowseInfo& info) = 0;
};

}  // namespace torvik

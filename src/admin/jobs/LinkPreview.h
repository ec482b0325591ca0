#pragma once

#include <string>
#include <vector>

namespace torvik {
class cDataSource;
struct LinuxPlatform;
}  // namespace torvik

namespace torvik::admin {

/// What a data link leads to: the names of its files or tables, and the first rows of one of them.
struct LinkPreview {
  std::vector<std::string> items;  ///< A directory's files, a file's or a database's tables.
  bool areAll = true;              ///< Else there are more of them.
  std::string item;                ///< The one that is shown; empty when there is none.
  std::vector<std::string> columns;
  std::vector<std::vector<std::string>> rows;
  std::string note;  ///< How a file was read: "the delimiter is ;".
};

/// Reads at most `rows` rows of `item`, of the first one when it is empty. Throws PlatformError
/// that says what cannot be read, and what to do.
LinkPreview PreviewOf(LinuxPlatform& platform, const cDataSource& link, const std::string& item,
                      std::size_t rows);

}  // namespace torvik::admin

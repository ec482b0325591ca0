#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace torvik {
class cDataSource;
}

namespace torvik::admin {

/// A data link as a file holds it: columns of dwm_data_link and their values, the columns that the
/// file leaves out being NULL.
struct LinkFile {
  std::string model;
  std::string name;
  std::vector<std::pair<std::string, std::optional<std::string>>> columns;

  /// True when a password, or what may hold one, is among them.
  bool HasSecret() const;

  /// What says where the link leads, and how to log on there.
  cDataSource Record() const;
};

/// The columns of dwm_data_link, in the table's order.
const std::vector<std::string>& LinkColumns();

/// True for the columns that must never be shown.
bool IsSecretColumn(const std::string& column);

/// Reads a data link from a TOML document; `path` is for messages. Throws PlatformError that holds
/// a line for each problem.
LinkFile ReadLinkFile(const std::string& path, const std::string& text);

}  // namespace torvik::admin

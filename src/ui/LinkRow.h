#pragma once

#include <string>

namespace torvik {

class cDataSource;

/// What the picture of a kind of data link shows.
enum class LinkPicture { Server, Files, Workbook, Database, Other };

/// A data link as its table tells of it.
struct LinkRow {
  std::string name;
  LinkPicture picture = LinkPicture::Other;
  std::string kind;     ///< "SQL Server"; of every kind, also those that have no panel.
  std::string place;    ///< Where it leads: a server with its database, a file or a directory.
  std::string fetched;  ///< How its files get there before a run; empty when nothing fetches them.
  bool isEdited = false;  ///< Since the job was saved.
  bool operator==(const LinkRow&) const = default;
};

LinkRow RowOf(const cDataSource& link);

}  // namespace torvik

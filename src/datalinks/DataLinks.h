#pragma once

#include <memory>
#include <string>
#include <vector>

#include "config/DataLinkSections.h"
#include "datalinks/cDataSources.h"

namespace torvik {

class Clock;
class CodePage;
class Messages;
class Profile;

/// A data link's section in a job file is called by this and the link's name.
inline const std::string kDataLinkSection = "Data Source::";

/// True when the connection knows a table of that name.
bool TableExists(ado::Connection& connection, const std::string& table);

/// The program-wide collection of data links: those of the job's model, with the job file's own
/// values over them. Absent until it is first loaded.
class DataLinks : public DataLinkSectionWriter {
 public:
  DataLinks(Profile& profile, const CodePage& ansi, Clock& clock, Messages& messages)
      : profile_(profile), ansi_(ansi), clock_(clock), messages_(messages) {}

  /// Replaces the collection by the links of the package's model and lists their names. Without the
  /// table a message box says so, the answer is false, the new collection stays empty and the list
  /// as it was. Throws PlatformError when the rows cannot be read.
  bool LoadDataLinks(ado::Connection& dataWarehouse, const std::string& packageName,
                     std::vector<std::string>& listEntries);

  /// Replaces the collection by links of the package's model that were read elsewhere, and lists
  /// their names.
  void ReplaceDataLinks(std::unique_ptr<cDataSources> links, const std::string& packageName,
                        std::vector<std::string>& listEntries);

  /// There is no collection from now on.
  void ReleaseDataLinks() { links_.reset(); }

  /// The link of that name, or null.
  cDataSource* FindDataLink(const std::string& name);

  /// Gives each link of the collection the values that the job file has for it. A link whose
  /// section has no name is left alone. Throws PlatformError when the file cannot be read or a
  /// number in a section is none.
  void ReadDataLinkSections(const std::string& file);

  /// The same for one link, which need not be in the collection.
  void ReadDataLinkSection(const std::string& file, cDataSource& link);

  /// Writes a section for each link, its passwords and connect string scrambled. Nothing is written
  /// when there is no collection.
  void WriteDataLinkSections(const std::string& file) override;

  /// Throws PlatformError when the name or model of a link holds the quote that a statement puts
  /// around it: the statement would break there, or find another link's row.
  void RequireUsableNames() const;

  /// Every link stores itself in its row. Throws PlatformError at the first that cannot, and before
  /// the first when a name is not usable.
  void SaveAllDataLinks(ado::Connection& dataWarehouse);

 private:
  void ListNames(const std::string& model, std::vector<std::string>& listEntries) const;
  void WriteSection(const std::string& file, const cDataSource& link);

  Profile& profile_;
  const CodePage& ansi_;
  Clock& clock_;
  Messages& messages_;
  std::unique_ptr<cDataSources> links_;
};

}  // namespace torvik

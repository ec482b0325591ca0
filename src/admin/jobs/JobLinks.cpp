#include <algorithm>

#include "admin/common/StoredName.h"
#include "admin/jobs/JobCheck.h"
#include "admin/jobs/LinkFile.h"
#include "config/modIniFilesUtils.h"
#include "datalinks/DataLinks.h"
#include "datalinks/DataWarehouse.h"
#include "datalinks/ETLPackages.h"
#include "engine/model/Problems.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/settings/IniText.h"

namespace torvik::admin {
namespace {

constexpr const char* kTable = "dwm_data_link";

void AddSecrets(CheckReport& report, const cDataSource& link) {
  for (const std::string& secret :
       {link.strDSPassword, link.strFTPPassword, link.strDSConnectString}) {
    report.AddSecret(secret);
  }
}

class LinksCheck {
 public:
  LinksCheck(JobUnderCheck& check, ado::Connection& warehouse)
      : check_(check),
        warehouse_(warehouse),
        model_(ModelNameFromPackage(check.job.DTSPackageName)),
        sections_(*check.profile, check.platform.codePages->Ansi(), *check.platform.clock,
                  *check.platform.messages) {}

  void Run() {
    if (const std::string problem = LinkNameProblem(model_); !problem.empty())
      return check_.report.Problem(What(), "the model's name " + problem);
    try {
      links_.Load(warehouse_, model_);
    } catch (const PlatformError& error) {
      return check_.report.Problem(What(), error.Description());
    }
    check_.report.Ok(What(), std::to_string(links_.Count()) + " in " + check_.job.DWDatabaseName);
    ReportUnusedSections();
    for (const auto& link : links_) {
      AddSecrets(check_.report, *link);
      CheckLink(*link);
    }
  }

 private:
  std::string What() const {
    return model_.empty() ? "data links without a model" : "data links of model " + model_;
  }

  void ReportUnusedSections() {
    for (std::size_t at = 0; at < check_.text.size();) {
      const IniLine line = ReadIniLine(check_.text, at);
      at = line.end;
      if (line.kind != IniLine::Kind::Section || !IsOfLink(line.name)) continue;
      const std::string section(line.name);
      const std::string why = WhyUnused(section);
      if (why.empty()) continue;
      check_.report.Problem("section [" + section + "]", "a run does not use it: " + why);
    }
  }

  std::string WhyUnused(const std::string& section) {
    const std::string name = section.substr(kDataLinkSection.size());
    const bool isKnown = std::any_of(links_.begin(), links_.end(), [&](const auto& link) {
      return EqualsIgnoringCase(section, kDataLinkSection + link->strName);
    });
    if (!isKnown) {
      return "there is no data link " + name + " among the " + What() +
             "; correct its name, or add the link with torvik-admin link put";
    }
    const std::string& file = check_.job.TorvConfigFile;
    if (!ReadIniString(*check_.profile, section, "Name", "", file).empty()) return {};
    return "it has no key Name; add Name=" + name;
  }

  static bool IsOfLink(std::string_view section) {
    return EqualsIgnoringCase(section.substr(0, kDataLinkSection.size()), kDataLinkSection);
  }

  void CheckLink(const cDataSource& stored) {
    const std::string what = "data link " + stored.strName;
    cDataSource link = stored;
    try {
      sections_.ReadDataLinkSection(check_.job.TorvConfigFile, link);
      AddSecrets(check_.report, link);
      RequireUsableNames(link);
      RequireRow(stored, link);
    } catch (const PlatformError& error) {
      return check_.report.Problem(what, error.Description());
    }
    CheckLinkSource(check_, link);
  }

  static void RequireUsableNames(const cDataSource& link) {
    for (const std::string& name : {link.strName, link.strModelName})
      if (const std::string problem = LinkNameProblem(name); !problem.empty())
        throw PlatformError(0, "its name or model " + engine::Quoted(name) + " " + problem,
                            "data link");
  }

  /// A run stores every link in its row before it executes the package.
  void RequireRow(const cDataSource& stored, const cDataSource& link) {
    if (link.strName == stored.strName && link.strModelName == stored.strModelName) return;
    const auto row = warehouse_.OpenRecordset(
        "SELECT * FROM dwm_data_link WHERE model = " + warehouse_.Literal(link.strModelName) +
            " AND source_name = " + warehouse_.Literal(link.strName),
        {});
    if (!row->Eof()) return;
    throw PlatformError(0,
                        "its section in the job file calls it " + link.strName +
                            " of the model \"" + link.strModelName + "\", which has no row in " +
                            kTable + " to be stored in; correct Name or ModelName there",
                        "data link");
  }

  JobUnderCheck& check_;
  ado::Connection& warehouse_;
  const std::string model_;
  DataLinks sections_;
  cDataSources links_;
};

void CheckTable(JobUnderCheck& check, ado::Connection& warehouse) {
  const std::string table = std::string("table ") + kTable;
  const std::string& database = check.job.DWDatabaseName;
  try {
    if (TableExists(warehouse, kTable)) {
      check.report.Ok(table, "is in " + database);
      return LinksCheck(check, warehouse).Run();
    }
    check.report.Problem(table, "is not in " + database +
                                    "; choose another database, or make it with torvik-admin "
                                    "server init --warehouse " +
                                    database);
  } catch (const PlatformError& error) {
    check.report.Problem(table, error.Description());
  }
  check.report.NotChecked("data links", "their table cannot be read");
}

}  // namespace

void CheckDataLinks(JobUnderCheck& check) {
  const JobSettings& job = check.job;
  if (job.DWServer.empty() || job.DWDatabaseName.empty()) {
    return check.report.NotChecked("data warehouse", "the job file does not say where it is");
  }
  const std::string what = "data warehouse " + job.DWServer;
  DataWarehouse warehouse(*check.platform.databases);
  std::string errorText;
  if (!warehouse.ConnectDataWarehouse({job.DWServer, job.DWServerTrustedLogin != VariantFalse,
                                       job.DWServerLoginUserName, job.DWServerLoginPassword},
                                      job.DWDatabaseName, errorText)) {
    check.report.Problem(what, errorText);
    return check.report.NotChecked("data links", "the data warehouse cannot be opened");
  }
  check.report.Ok(what, "opened, database " + job.DWDatabaseName);
  CheckTable(check, warehouse.Connection());
}

}  // namespace torvik::admin

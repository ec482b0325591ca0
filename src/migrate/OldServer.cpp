#include "migrate/OldServer.h"

#include <algorithm>

#include "engine/model/DataLinkFile.h"
#include "migrate/DtsrunLine.h"
#include "platform/Ado.h"
#include "platform/NumberText.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::migrate {
namespace {

std::string TextOf(const ado::Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* blob = std::get_if<ado::Blob>(&value)) return blob->bytes;
  if (const auto* whole = std::get_if<std::int64_t>(&value)) return std::to_string(*whole);
  return {};
}

std::string TextOf(const ado::Recordset& rows, const char* field) {
  return TextOf(rows.Field(std::string_view(field)));
}

int NumberIn(const ado::Recordset& rows, const char* field) {
  return NumberOf<int>(TextOf(rows, field)).value_or(0);
}

/// A truth is a bit, a byte or a word.
bool TruthIn(const ado::Recordset& rows, const char* field) {
  const std::string text = TextOf(rows, field);
  return !text.empty() && text != "0" && !EqualsIgnoringCase(text, "false");
}

/// Reads rows, or notes why they cannot be read.
template <class Use>
bool EachRow(ado::Connection& connection, const std::string& sql, std::string& problem, Use use) {
  try {
    for (const auto rows = connection.OpenRecordset(sql, {}); !rows->Eof(); rows->MoveNext())
      use(*rows);
    return true;
  } catch (const PlatformError& error) {
    problem = error.Description();
    return false;
  }
}

AgentSchedule ScheduleIn(const ado::Recordset& rows) {
  return {TextOf(rows, "schedule_name"),
          TruthIn(rows, "enabled"),
          NumberIn(rows, "freq_type"),
          NumberIn(rows, "freq_interval"),
          NumberIn(rows, "freq_subday_type"),
          NumberIn(rows, "freq_subday_interval"),
          NumberIn(rows, "freq_relative_interval"),
          NumberIn(rows, "freq_recurrence_factor"),
          NumberIn(rows, "active_start_date"),
          NumberIn(rows, "active_start_time"),
          NumberIn(rows, "active_end_time"),
          NumberIn(rows, "active_end_date")};
}

void ReadSchedules(ado::Connection& msdb, Inventory& inventory) {
  const auto add = [&](const ado::Recordset& rows) {
    const std::string name = TextOf(rows, "job_name");
    for (AgentJob& job : inventory.agentJobs)
      if (job.name == name) job.schedules.push_back(ScheduleIn(rows));
  };
  const std::string columns =
      "SELECT j.name AS job_name, s.name AS schedule_name, s.enabled, s.freq_type, "
      "s.freq_interval, s.freq_subday_type, s.freq_subday_interval, s.freq_relative_interval, "
      "s.freq_recurrence_factor, s.active_start_date, s.active_start_time, s.active_end_time, "
      "s.active_end_date "
      "FROM sysjobs j JOIN sysjobschedules ";
  std::string problem, unused;
  // Since 2005 jobs may share schedules.
  if (!EachRow(msdb,
               columns + "l ON l.job_id = j.job_id JOIN sysschedules s ON s.schedule_id = "
                         "l.schedule_id ORDER BY j.name, s.name",
               problem, add) &&
      !EachRow(msdb, columns + "s ON s.job_id = j.job_id ORDER BY j.name, s.name", unused, add))
    inventory.unread.push_back("the schedules of Agent jobs: " + problem);
}

/// "Provider" or "Data Source" of a connection string; whatever else is in it stays there.
std::string PartOf(std::string_view connectString, std::string_view wanted) {
  for (const auto& [name, value] : engine::InitialisationEntries(connectString))
    if (EqualsIgnoringCase(name, wanted)) return value;
  return {};
}

void AddLink(const ado::Recordset& rows, const std::string& database, Inventory& inventory) {
  OldLink link{database, TextOf(rows, "model"), TextOf(rows, "source_name"), {}, {}};
  const std::string by = "the data link " + link.name + " of " + link.model;
  const std::string connect = TextOf(rows, "ds_connect_string");
  const std::string provider = PartOf(connect, "Provider");
  const std::string sources[] = {TextOf(rows, "ds_server"), TextOf(rows, "ds_file"),
                                 TextOf(rows, "ds_directory"), PartOf(connect, "Data Source")};
  for (const std::string& source : sources) {
    if (link.source.empty()) link.source = source;
    inventory.places.AddSource(source, provider, by);
  }
  const std::string ftp = TextOf(rows, "ftp_server"), directory = TextOf(rows, "remote_directory");
  if (NumberIn(rows, "transfer_data") != 0) {
    link.remote = ftp + (ftp.empty() || directory.empty() ? "" : " ") + directory;
    inventory.places.AddFtpServer(ftp, by);
    inventory.places.AddPath(directory, by);
  }
  inventory.links.push_back(std::move(link));
}

}  // namespace

void ReadPackages(ado::Connection& msdb, Inventory& inventory) {
  const auto add = [&](const ado::Recordset& rows) {
    const std::string name = TextOf(rows, "name");
    auto& packages = inventory.packages;
    if (packages.empty() || packages.back().name != name) packages.push_back({name});
    OldPackage& package = packages.back();
    ++package.versions;
    package.created = TextOf(rows, "createdate");
    package.owner = TextOf(rows, "owner");
  };
  std::string problem;
  if (!EachRow(msdb,
               "SELECT name, createdate, owner FROM sysdtspackages ORDER BY name, "
               "createdate, versionid",
               problem, add))
    inventory.unread.push_back("the packages of the server: " + problem);
}

void ReadAgentJobs(ado::Connection& msdb, Inventory& inventory) {
  const auto add = [&](const ado::Recordset& rows) {
    const std::string name = TextOf(rows, "name");
    auto& jobs = inventory.agentJobs;
    if (jobs.empty() || jobs.back().name != name)
      jobs.push_back({name, TruthIn(rows, "enabled"), {}, {}, 0});
    jobs.back().steps.push_back(
        {TextOf(rows, "step_name"), TextOf(rows, "subsystem"), TextOf(rows, "command"), 0});
  };
  std::string problem;
  if (EachRow(msdb,
              "SELECT j.name, j.enabled, s.step_name, s.subsystem, s.command FROM sysjobs j JOIN "
              "sysjobsteps s ON s.job_id = j.job_id ORDER BY j.name, s.step_id",
              problem, add))
    return ReadSchedules(msdb, inventory);
  inventory.unread.push_back("Agent jobs: " + problem);
}

void ReadLinks(ado::Connection& warehouse, const std::string& database, Inventory& inventory) {
  std::string problem;
  if (!EachRow(warehouse, "SELECT * FROM dwm_data_link ORDER BY model, source_name", problem,
               [&](const ado::Recordset& rows) { AddLink(rows, database, inventory); }))
    inventory.unread.push_back("the data links of " + database + ": " + problem);
}

void AddAgentPlaces(Inventory& inventory) {
  for (const AgentJob& job : inventory.agentJobs)
    for (const AgentStep& step : job.steps)
      for (const DtsrunText& line : DtsrunLinesIn(step.command)) try {
          const DtsrunLine read = ReadDtsrunLine(line.text);
          inventory.places.AddServer(read.server, "the Agent job " + job.name);
          inventory.places.AddPath(read.log, "the Agent job " + job.name);
        } catch (const PlatformError&) {
          // the report tells of it where it tells of the step
        }
}

}  // namespace torvik::migrate

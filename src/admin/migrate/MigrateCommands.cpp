#include <cstdio>

#include "admin/common/Commands.h"
#include "admin/migrate/OldFiles.h"
#include "engine/PackageDocument.h"
#include "engine/PackageStore.h"
#include "migrate/OldServer.h"
#include "migrate/Report.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

struct MigrateOptions {
  std::string jobs;                     ///< Directory of old job files; empty: none.
  std::vector<std::string> warehouses;  ///< Databases with data links.
  std::string output;                   ///< Empty: standard output.
  std::string into = "(local)";         ///< The server of the imported packages.
  std::string jobsHere = "/etc/torvik/jobs";
};

engine::StoreLogon LogonOf(const ServerChoice& choice) {
  return {choice.server, choice.user.empty(), choice.user, ReadPassword(choice)};
}

/// What the designer stores is no text.
bool IsDocument(const std::string& text) {
  return !text.empty() && text.find('\0') == text.npos && ValidUtf8Length(text) == text.size();
}

/// What a package that is here names: its connections' sources and providers.
void AddPlacesOf(const std::string& text, const std::string& name, migrate::Inventory& inventory) {
  const std::string by = "package " + name;
  try {
    const engine::PackageModel package = engine::ReadPackageDocument(text, name);
    for (const engine::ConnectionModel& connection : package.connections)
      for (const engine::ConnectionProperty& property : connection.properties)
        if (EqualsIgnoringCase(property.name, "Data Source"))
          inventory.places.AddSource(property.value.text, connection.provider, by);
  } catch (const PlatformError& error) {
    inventory.unread.push_back(error.Description());
  }
}

void ReadPackagesHere(LinuxPlatform& platform, const MigrateOptions& options,
                      const ServerChoice& old, migrate::Inventory& inventory) {
  try {
    engine::PackageStore store(*platform.databases, options.into == old.server
                                                        ? LogonOf(old)
                                                        : engine::StoreLogon{options.into});
    for (const engine::PackageSummary& summary : store.List()) {
      const std::string text = store.Load(summary.name).text;
      if (!IsDocument(text)) continue;  // the old server may take the new ones too
      inventory.here.push_back(summary.name);
      AddPlacesOf(text, summary.name, inventory);
    }
  } catch (const PlatformError& error) {
    inventory.unread.push_back("the packages of " + options.into + ": " + error.Description());
  }
}

/// Those that were named, and those of job files on the old server; "(local)" was it where they
/// ran.
std::vector<std::string> WarehousesOf(const MigrateOptions& options,
                                      const migrate::Inventory& inventory) {
  std::vector<std::string> databases = options.warehouses;
  for (const migrate::OldJobFile& job : inventory.jobFiles) {
    const bool isThere = EqualsIgnoringCase(job.warehouseServer, inventory.server) ||
                         EqualsIgnoringCase(job.warehouseServer, "(local)");
    if (isThere && !job.database.empty() && !migrate::Has(databases, job.database))
      databases.push_back(job.database);
  }
  return databases;
}

void ReadWarehouses(LinuxPlatform& platform, const MigrateOptions& options,
                    const engine::StoreLogon& logon, migrate::Inventory& inventory) {
  for (const std::string& database : WarehousesOf(options, inventory)) try {
      const auto connection = platform.databases->NewConnection();
      connection->SetProvider("SQLOLEDB");
      connection->SetProperty("Data Source", logon.server);
      connection->SetProperty("Initial Catalog", database);
      if (logon.trusted) {
        connection->SetProperty("Integrated Security", "SSPI");
      } else {
        connection->SetProperty("User ID", logon.user);
        connection->SetProperty("Password", logon.password);
      }
      connection->Open();
      migrate::ReadLinks(*connection, database, inventory);
    } catch (const PlatformError& error) {
      inventory.unread.push_back("the data links of " + database + ": " + error.Description());
    }
}

migrate::Inventory Read(LinuxPlatform& platform, const ServerChoice& old,
                        const MigrateOptions& options) {
  migrate::Inventory inventory;
  inventory.server = old.server;
  const engine::StoreLogon logon = LogonOf(old);
  const auto msdb = engine::OpenStore(*platform.databases, logon);
  migrate::ReadPackages(*msdb, inventory);
  migrate::ReadAgentJobs(*msdb, inventory);
  migrate::AddAgentPlaces(inventory);
  inventory.places.AddServer(old.server, "this inventory");
  if (!options.jobs.empty()) ReadOldFiles(platform, options.jobs, inventory);
  ReadWarehouses(platform, options, logon, inventory);
  ReadPackagesHere(platform, options, old, inventory);
  inventory.jobsHere = PackagesOfJobs(platform, options.jobsHere);
  return inventory;
}

migrate::KnownPlaces KnownTo(const Settings& settings) {
  migrate::KnownPlaces known;
  for (const auto& [letter, directory] : settings.drives) known.drives.insert(letter);
  for (const auto& [share, directory] : settings.shares) known.shares.insert(share);
  for (const auto& [server, section] : settings.servers) known.servers.insert(server);
  for (const auto& [provider, section] : settings.providers) known.providers.insert(provider);
  return known;
}

Json JsonOf(const migrate::ReportSection& section) {
  if (section.headings.empty()) return section.settings;
  Json rows = Json::array();
  for (const auto& row : section.rows) {
    Json entry = Json::object();
    for (std::size_t i = 0; i < row.size(); ++i) entry[section.headings[i]] = row[i];
    rows.push_back(std::move(entry));
  }
  return rows;
}

Json JsonOf(const migrate::Report& report, const std::string& server) {
  Json json = {{"server", server}};
  for (const migrate::ReportSection& section : report.sections) json[section.key] = JsonOf(section);
  return json;
}

std::string TextOf(const migrate::Report& report, const std::string& server,
                   const std::string& output, bool json) {
  const std::string name = LowerAscii(output);
  if (json || name.ends_with(".json"))
    return JsonOf(report, server).dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  return name.ends_with(".html") || name.ends_with(".htm") ? Html(report) : Markdown(report);
}

int TakeInventory(LinuxPlatform& platform, const Invocation& invocation,
                  const MigrateOptions& options) {
  const migrate::Inventory inventory = Read(platform, invocation.server, options);
  const migrate::Report report = ReportOf(inventory, KnownTo(platform.settings));
  const std::string text =
      TextOf(report, inventory.server, options.output, invocation.json && options.output.empty());
  if (options.output.empty()) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return 0;
  }
  if (const std::error_code error = platform.files->ReplaceBytes(options.output, text))
    throw PlatformError(0, options.output + " cannot be written: " + error.message(), "inventory");
  PrintResult({{"file", options.output}, {"unread", inventory.unread}},
              options.output + ": " + std::to_string(migrate::PackagesOf(inventory).size()) +
                  " packages, " + std::to_string(inventory.agentJobs.size()) + " Agent jobs, " +
                  std::to_string(inventory.jobFiles.size()) + " job files, " +
                  std::to_string(inventory.links.size()) + " data links; " +
                  std::to_string(inventory.unread.size()) + " could not be read",
              invocation.json);
  return 0;
}

int ShowStatus(LinuxPlatform& platform, const Invocation& invocation,
               const MigrateOptions& options) {
  const migrate::Inventory inventory = Read(platform, invocation.server, options);
  int left = 0;
  const migrate::ReportSection status = StatusOf(inventory, left);
  if (invocation.json) {
    PrintResult({{"left", left}, {"status", JsonOf(status)}, {"unread", inventory.unread}}, "",
                true);
    return 0;
  }
  std::vector<JsonRow> rows;
  for (const auto& row : status.rows) rows.emplace_back(row.begin(), row.end());
  PrintRows(status.headings, rows, false);
  for (const std::string& what : inventory.unread) std::printf("not read: %s\n", what.c_str());
  std::printf("%d of %zu left\n", left, rows.size());
  return 0;
}

}  // namespace

void AddMigrateCommands(CLI::App& app, Invocation& invocation) {
  CommandGroup<MigrateOptions> group(app, invocation, "migrate",
                                     "what an old installation has, and what is left of it");
  MigrateOptions& given = group.Given();
  CLI::App* inventory =
      group.Add("inventory", "read what an old server and its job files have, and change nothing",
                TakeInventory);
  inventory->add_option("-o,--output", given.output,
                        "file to write, .html, .md or .json; Markdown to standard output else");
  CLI::App* status = group.Add("status", "what has not come over yet", ShowStatus);
  for (CLI::App* command : {inventory, status}) {
    AddServerOptions(*command, invocation);
    command->get_option("--server")->required();
    command->add_option("--jobs", given.jobs,
                        "directory with job files, batch files and packages, and what is below it");
    command->add_option(
        "--warehouse", given.warehouses,
        "database with data links on that server, besides those that job files name; may be "
        "repeated");
    command->add_option("--into", given.into, "server that takes the imported packages")
        ->capture_default_str();
    command->add_option("--jobs-here", given.jobsHere, "directory of the new job files")
        ->capture_default_str();
  }
}

}  // namespace torvik::admin

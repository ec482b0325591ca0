#include "admin/Completion.h"
#include "admin/common/Admin.h"
#include "admin/jobs/JobTimer.h"
#include "config/JobSettings.h"
#include "datalinks/DataWarehouse.h"
#include "datalinks/FieldReaders.h"
#include "engine/PackageStore.h"
#include "platform/Ado.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

constexpr int kTimeoutSeconds = 2;

std::string OptionOf(const Expected& expected, const std::string& name) {
  const auto found = expected.options.find(name);
  return found == expected.options.end() ? "" : found->second;
}

ServerLogon LogonOf(const Expected& expected) {
  ServerChoice choice;
  if (const std::string server = OptionOf(expected, "--server"); !server.empty())
    choice.server = server;
  choice.user = OptionOf(expected, "--user");
  choice.passwordFile = OptionOf(expected, "--password-file");
  return {choice.server, choice.user.empty(), choice.user, ReadPassword(choice)};
}

std::vector<std::string> Packages(LinuxPlatform& platform, const Expected& expected) {
  const ServerLogon logon = LogonOf(expected);
  engine::PackageStore store(*platform.databases,
                             {logon.server, logon.isTrusted, logon.user, logon.password});
  std::vector<std::string> names;
  for (const engine::PackageSummary& package : store.List()) names.push_back(package.name);
  return names;
}

/// A column of dwm_data_link, each value once; `model` empty: of all models.
std::vector<std::string> LinkValues(LinuxPlatform& platform, const Expected& expected,
                                    const std::string& column, const std::string& model) {
  const std::string database = OptionOf(expected, "--database");
  DataWarehouse warehouse(*platform.databases);
  std::string problem;
  if (database.empty() ||
      !warehouse.ConnectDataWarehouse(LogonOf(expected), database, problem, kTimeoutSeconds))
    return {};
  ado::Connection& connection = warehouse.Connection();
  const std::string where = model.empty() ? "" : " WHERE model = " + connection.Literal(model);
  const auto rows = connection.OpenRecordset(
      "SELECT DISTINCT " + column + " FROM dwm_data_link" + where + " ORDER BY " + column, {});
  std::vector<std::string> values;
  for (; !rows->Eof(); rows->MoveNext()) values.push_back(TextOf(rows->Field(column)));
  return values;
}

std::vector<std::string> Servers(const LinuxPlatform& platform) {
  std::vector<std::string> names;
  for (const auto& server : platform.settings.servers) names.push_back(server.first);
  return names;
}

std::vector<std::string> KeysOfJobs() {
  std::vector<std::string> names;
  for (const JobKey& key : JobKeys())
    if (key.kind != JobKey::Kind::Secret) names.emplace_back(key.name);
  return names;
}

}  // namespace

std::vector<std::string> NamesOf(const Expected& expected) {
  switch (expected.kind) {
    case WordKind::Any:
    case WordKind::File:
    case WordKind::Directory:
    case WordKind::Job: return {};
    case WordKind::JobKey: return KeysOfJobs();
    case WordKind::JobName: return JobsIn(UnitPlaces().Jobs());
    default: break;
  }
  LinuxPlatform platform = NewLinuxPlatform([] {});
  switch (expected.kind) {
    case WordKind::Package: return Packages(platform, expected);
    case WordKind::Model: return LinkValues(platform, expected, "model", "");
    case WordKind::Link:
      return LinkValues(platform, expected, "source_name", OptionOf(expected, "MODEL"));
    default: return Servers(platform);
  }
}

}  // namespace torvik::admin

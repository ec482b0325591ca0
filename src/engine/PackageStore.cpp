#include "engine/PackageStore.h"

#include "engine/Identifiers.h"
#include "engine/model/Problems.h"
#include "platform/Ado.h"
#include "platform/Clock.h"
#include "platform/MomentText.h"
#include "platform/OwnTransaction.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

using Milliseconds = std::chrono::milliseconds;
using Instant = std::chrono::time_point<std::chrono::system_clock, Milliseconds>;

constexpr int kConnectTimeoutSeconds = 20;

/// A SQL Server stores instants in steps of 1/300 s; versions this far apart never meet in one.
constexpr Milliseconds kBetweenVersions(10);

Instant InstantOf(const std::string& date) {
  if (const auto moment = MomentOfText(date)) return std::chrono::floor<Milliseconds>(*moment);
  throw PlatformError(0,
                      "sysdtspackages holds the createdate " + Quoted(date) +
                          ", which is no date; correct it there",
                      "package store");
}

/// The category of packages for which none is chosen; lists show it, nothing here depends on it.
constexpr const char* kLocalCategory = "B8C30002-A282-11D1-B7D9-00C04FB6EFD5";

std::string WithoutBraces(const std::string& identifier) {
  if (identifier.size() < 2 || identifier.front() != '{') return identifier;
  return identifier.substr(1, identifier.size() - 2);
}

/// Of versions of one instant, as other tools may store them, one must be the latest everywhere.
constexpr const char* kLatestFirst = " ORDER BY createdate DESC, versionid DESC";

}  // namespace

std::unique_ptr<ado::Connection> OpenStore(ado::Provider& databases, const StoreLogon& logon) {
  auto connection = databases.NewConnection();
  connection->SetProvider("SQLOLEDB");
  connection->SetConnectionTimeout(kConnectTimeoutSeconds);
  connection->SetProperty("Data Source", logon.server);
  connection->SetProperty("Initial Catalog", "msdb");
  if (logon.trusted) {
    connection->SetProperty("Integrated Security", "SSPI");
  } else {
    connection->SetProperty("User ID", logon.user);
    connection->SetProperty("Password", logon.password);
  }
  connection->Open();
  return connection;
}

PackageStore::PackageStore(ado::Provider& databases, const StoreLogon& logon)
    : server_(logon.server),
      owner_(logon.trusted ? "torvik" : logon.user),
      connection_(OpenStore(databases, logon)) {}

PackageStore::~PackageStore() = default;

std::string PackageStore::NamedAs(const std::string& name) const {
  return "name = " + connection_->Literal(name);
}

/// The condition for the versions of the latest instant, and their order.
std::string PackageStore::LatestOf(const std::string& name) const {
  return NamedAs(name) + " AND createdate = (SELECT MAX(createdate) FROM sysdtspackages WHERE " +
         NamedAs(name) + ")" + kLatestFirst;
}

std::string PackageStore::Save(const std::string& name, const std::string& description,
                               const std::string& text, Clock& clock) {
  OwnTransaction transaction(*connection_);
  auto created = std::chrono::floor<Milliseconds>(clock.Now());
  std::string id = NewIdentifier();
  const auto latest = connection_->OpenRecordset(
      "SELECT id, createdate FROM sysdtspackages WHERE " + LatestOf(name), {});
  if (!latest->Eof()) {
    id = ado::TextIn(latest->Field(0));
    created = std::max(created, InstantOf(ado::TextIn(latest->Field(1))) + kBetweenVersions);
  }
  latest->Close();

  const std::string versionId = NewIdentifier();
  const std::string createDate = MomentText(created);
  const std::string columns[] = {"name",       "id",    "versionid",   "description", "categoryid",
                                 "createdate", "owner", "packagedata", "packagetype"};
  const ado::LoadValue row[] = {name,       id,     versionId, description, kLocalCategory,
                                createDate, owner_, text,      "0"};
  const auto load = connection_->OpenBulkLoad("sysdtspackages", columns);
  std::vector<ado::Refusal> refused;
  load->Load({row, std::size(row)}, 0, refused);
  if (!refused.empty())
    throw PlatformError(refused[0].number, refused[0].description, "package store");
  if (const std::int64_t taken = load->Finish(); taken != 1)
    throw PlatformError(0,
                        "the server took " + std::to_string(taken) +
                            " rows in place of one for the package; look for a trigger on "
                            "sysdtspackages that keeps rows out",
                        "package store");
  transaction.Commit();
  return versionId;
}

StoredPackage PackageStore::Load(const std::string& name, const std::string& versionId) {
  const std::string version =
      versionId.empty()
          ? LatestOf(name)
          : NamedAs(name) + " AND versionid = " + connection_->Literal(WithoutBraces(versionId));
  const auto row = connection_->OpenRecordset(
      "SELECT name, versionid, packagedata, id FROM sysdtspackages WHERE " + version, {});
  if (row->Eof()) throw NoSuchPackage(name, versionId);
  return {ado::TextIn(row->Field(0)), ado::TextIn(row->Field(1)), ado::TextIn(row->Field(2)),
          ado::TextIn(row->Field(3))};
}

PlatformError PackageStore::NoSuchPackage(const std::string& name,
                                          const std::string& versionId) const {
  return {0,
          "the server " + Quoted(server_) + " has no package " + Quoted(name) +
              (versionId.empty() ? "" : " of version " + versionId) +
              "; see what it has with torvik-admin package " +
              (versionId.empty() ? "list" : "versions"),
          "package store"};
}

std::vector<PackageSummary> PackageStore::List() {
  const auto row = connection_->OpenRecordset(
      "SELECT p.name, p.description, v.versions, v.latest FROM sysdtspackages p JOIN "
      "(SELECT name, COUNT(*) AS versions, MAX(createdate) AS latest FROM sysdtspackages "
      "GROUP BY name) v ON v.name = p.name AND v.latest = p.createdate "
      "ORDER BY p.name, p.versionid DESC",
      {});
  std::vector<PackageSummary> packages;
  for (; !row->Eof(); row->MoveNext()) {
    std::string name = ado::TextIn(row->Field(0));
    if (!packages.empty() && packages.back().name == name) continue;
    packages.push_back({std::move(name), ado::TextIn(row->Field(1)),
                        static_cast<int>(std::get<std::int64_t>(row->Field(2))),
                        ado::TextIn(row->Field(3))});
  }
  return packages;
}

std::vector<VersionSummary> PackageStore::Versions(const std::string& name) {
  const auto row = connection_->OpenRecordset(
      "SELECT versionid, createdate, owner, description FROM sysdtspackages WHERE " +
          NamedAs(name) + kLatestFirst,
      {});
  std::vector<VersionSummary> versions;
  for (; !row->Eof(); row->MoveNext())
    versions.push_back({ado::TextIn(row->Field(0)), ado::TextIn(row->Field(1)),
                        ado::TextIn(row->Field(2)), ado::TextIn(row->Field(3))});
  if (versions.empty()) throw NoSuchPackage(name);
  return versions;
}

int PackageStore::Remove(const std::string& name) {
  return static_cast<int>(
      connection_->Execute("DELETE FROM sysdtspackages WHERE " + NamedAs(name)));
}

int PackageStore::Prune(const std::string& name, std::size_t keep) {
  OwnTransaction transaction(*connection_);
  const std::vector<VersionSummary> versions = Versions(name);
  if (versions.size() <= keep) return 0;
  const VersionSummary& last = versions[keep - 1];
  const std::string remove = "DELETE FROM sysdtspackages WHERE " + NamedAs(name);
  std::int64_t removed = connection_->Execute(
      remove + " AND createdate < (SELECT createdate FROM sysdtspackages WHERE " + NamedAs(name) +
      " AND versionid = " + connection_->Literal(last.versionId) + ")");
  for (std::size_t at = keep; at < versions.size() && versions[at].createDate == last.createDate;
       ++at)
    removed += connection_->Execute(
        remove + " AND versionid = " + connection_->Literal(versions[at].versionId));
  transaction.Commit();
  return static_cast<int>(removed);
}

}  // namespace torvik::engine

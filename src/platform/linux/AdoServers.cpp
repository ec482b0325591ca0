#include "platform/linux/AdoServers.h"

#include <charconv>
#include <map>
#include <mutex>
#include <utility>

#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/database/AdoDatabase.h"
#include "platform/linux/database/ServerPlace.h"
#include "platform/linux/odbc/AdoOdbc.h"
#include "platform/linux/postgres/AdoPostgres.h"
#include "platform/linux/sqlite/AdoSqlite.h"
#include "platform/linux/tables/AdoTableFile.h"

namespace torvik {
namespace {

constexpr int kDefaultTimeoutSeconds = 15;
constexpr const char* kSource = "database connection";

/// Collects what Open needs; all else goes to the database that Open found.
class AdoConnection final : public ado::Connection {
 public:
  explicit AdoConnection(std::shared_ptr<const Settings> settings)
      : settings_(std::move(settings)) {}

  void SetProvider(const std::string& name) override {
    provider_ = name;
    properties_.clear();
  }
  void SetConnectionTimeout(int seconds) override { timeoutSeconds_ = seconds; }
  void SetProperty(const std::string& name, const std::string& value) override {
    properties_[name] = value;
  }

  void Open() override {
    errors_.clear();
    try {
      if (database_) throw PlatformError(0, "the connection is open already", kSource);
      Replace(OpenDatabase());
    } catch (const PlatformError& error) {
      if (errors_.empty()) errors_ = {{error.number, error.Description()}};
      throw;
    }
  }
  void Close() override { Replace(nullptr); }
  ado::ObjectState State() const override {
    return database_ && database_->IsAlive() ? ado::ObjectState::Open : ado::ObjectState::Closed;
  }
  std::vector<ado::ProviderError> Errors() const override {
    return database_ && errors_.empty() ? database_->Errors() : errors_;
  }

  std::int64_t Execute(const std::string& sql) override { return Database().Execute(sql); }
  void Prepare(const std::string& sql) override { Database().Prepare(sql); }
  std::string Literal(std::string_view text) override { return Database().Literal(text); }
  std::unique_ptr<ado::Recordset> OpenRecordset(const std::string& sql,
                                                const ado::CursorOptions& options) override {
    return Database().OpenRecordset(sql, options);
  }
  std::unique_ptr<ado::Recordset> OpenSchema(ado::SchemaQuery query,
                                             std::span<const std::string> restrictions) override {
    return Database().OpenSchema(query, restrictions);
  }
  std::vector<ado::Column> TableColumns(const std::string& table) override {
    return Database().TableColumns(table);
  }
  std::unique_ptr<ado::BulkLoad> OpenBulkLoad(const std::string& table,
                                              std::span<const std::string> columns,
                                              const ado::LoadOptions& options) override {
    return Database().OpenBulkLoad(table, columns, options);
  }
  ado::StatementResult ExecuteWith(const std::string& sql, std::span<const ado::Value> parameters,
                                   std::size_t mostRows) override {
    return Database().ExecuteWith(sql, parameters, mostRows);
  }
  std::unique_ptr<ado::BulkRead> OpenBulkRead(const std::string& sql, bool alongside) override {
    return Database().OpenBulkRead(sql, alongside);
  }
  std::vector<std::string> CreateTable(const std::string& table,
                                       std::span<const ado::Column> columns) override {
    return Database().CreateTable(table, columns);
  }
  void EmptyTable(const std::string& table) override { Database().EmptyTable(table); }
  std::string CreateStagingTable(const std::string& table) override {
    return Database().CreateStagingTable(table);
  }
  std::int64_t ReplaceRows(const std::string& table, const std::string& staging) override {
    return Database().ReplaceRows(table, staging);
  }
  std::string CreateSharedStagingTable(const std::string& table) override {
    return Database().CreateSharedStagingTable(table);
  }
  std::int64_t AppendRows(const std::string& table, const std::string& staging,
                          std::span<const std::string> columns) override {
    return Database().AppendRows(table, staging, columns);
  }
  void ReleaseStagingTable(const std::string& table, const std::string& staging) override {
    Database().ReleaseStagingTable(table, staging);
  }
  ado::MergeCounts MergeRows(const std::string& table, const std::string& staging,
                             const ado::MergeOptions& options) override {
    return Database().MergeRows(table, staging, options);
  }
  std::optional<bool> HasOpenTransaction() override { return Database().HasOpenTransaction(); }
  void BeginTrans() override { Database().BeginTrans(); }
  void CommitTrans() override { Database().CommitTrans(); }
  void RollbackTrans() override { Database().RollbackTrans(); }
  void SetSavepoint() override { Database().SetSavepoint(); }
  void RollbackToSavepoint() override { Database().RollbackToSavepoint(); }

  void Cancel() override {
    const std::lock_guard guard(databaseGuard_);
    if (database_) database_->Cancel();
  }

 private:
  std::unique_ptr<AdoDatabase> OpenDatabase() {
    const ServerPlace place =
        FindServerPlace(*settings_, provider_, Property("Data Source"), DriverOfDataSource);
    switch (place.kind) {
      case ServerPlace::Kind::TableFile:
        return OpenTableFile(place.path, Property("Extended Properties"));
      case ServerPlace::Kind::PostgreSql:
        if (TakesPostgresPlace(place.address))
          return OpenPostgresDatabase(Logon(place.address), TimeoutSeconds(), errors_);
        [[fallthrough]];
      case ServerPlace::Kind::Odbc:
        return OpenOdbcDatabase(Logon(place.address), TimeoutSeconds(), errors_);
      case ServerPlace::Kind::Embedded: break;
    }
    return OpenSqliteDatabase(place.path, Property("Initial Catalog"), TimeoutSeconds(),
                              place.durability);
  }

  DatabaseLogon Logon(const ServerAddress& place) const {
    DatabaseLogon logon{place, Property("Initial Catalog"),
                        EqualsIgnoringCase(Property("Integrated Security"), "SSPI"),
                        Property("User ID"), Property("Password")};
    if (!place.logon.user.empty()) TakeLogonOfSettings(logon);
    return logon;
  }

  void TakeLogonOfSettings(DatabaseLogon& logon) const {
    logon.isTrusted = false;
    logon.user = logon.address.logon.user;
    logon.password.clear();
    const SecretReference& reference = logon.address.logon.password;
    if (reference.IsEmpty()) return;
    if (const std::string problem = ReadSecret(reference, logon.password); !problem.empty())
      throw PlatformError(0, "[server " + Property("Data Source") + "]: " + problem, kSource);
  }

  std::string Property(const std::string& name) const {
    const auto found = properties_.find(name);
    return found == properties_.end() ? "" : found->second;
  }

  int TimeoutSeconds() const {
    const std::string text = Property("Connect Timeout");
    int seconds = timeoutSeconds_;
    std::from_chars(text.data(), text.data() + text.size(), seconds);
    return seconds;
  }

  AdoDatabase& Database() {
    errors_.clear();
    if (database_) return *database_;
    errors_ = {{0, "the connection is not open"}};
    throw PlatformError(0, errors_[0].description, kSource);
  }

  /// The old database closes outside the lock: that may take as long as a disk takes.
  void Replace(std::unique_ptr<AdoDatabase> database) {
    const std::lock_guard guard(databaseGuard_);
    database_.swap(database);
  }

  const std::shared_ptr<const Settings> settings_;
  std::string provider_;
  std::map<std::string, std::string> properties_;
  int timeoutSeconds_ = kDefaultTimeoutSeconds;
  std::vector<ado::ProviderError> errors_;  ///< Of calls that reached no database.
  std::unique_ptr<AdoDatabase> database_;
  std::mutex databaseGuard_;  ///< Cancel comes from another thread.
};

class AdoProvider final : public ado::Provider {
 public:
  explicit AdoProvider(Settings settings)
      : settings_(std::make_shared<const Settings>(std::move(settings))) {}

  std::unique_ptr<ado::Connection> NewConnection() override {
    return std::make_unique<AdoConnection>(settings_);
  }

 private:
  const std::shared_ptr<const Settings> settings_;
};

}  // namespace

std::unique_ptr<ado::Provider> NewAdoProvider(Settings settings) {
  return std::make_unique<AdoProvider>(std::move(settings));
}

}  // namespace torvik

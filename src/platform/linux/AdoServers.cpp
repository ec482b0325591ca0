#include "platform/linux/AdoServers.h"

#include <charconv>
#include <map>
#include <mutex>
#include <utility>

#include "platform/PlatformError.h"
#include "platform/linux/AdoDatabase.h"
#include "platform/linux/AdoSqlite.h"

namespace torvik {
namespace {

constexpr int kDefaultTimeoutSeconds = 15;
constexpr const char* kSource = "database connection";

PlatformError UnknownServer(const std::string& server) {
  return PlatformError(0,
                       "the server \"" + server + "\" is not known; add a section [server " +
                           server + "] with backend = embedded and directory = PATH to torvik.conf",
                       kSource);
}

PlatformError UnknownBackend(const std::string& server, const std::string& backend) {
  return PlatformError(0,
                       "the server \"" + server + "\" is not known: section [server " + server +
                           "] of torvik.conf asks for the backend \"" + backend +
                           "\"; the backend there is: embedded",
                       kSource);
}

/// Collects what Open needs; all else goes to the database that Open found.
class AdoConnection final : public ado::Connection {
 public:
  explicit AdoConnection(ServerLookup lookup) : lookup_(std::move(lookup)) {}

  void SetProvider(const std::string&) override {
    // The server text alone decides which library is used.
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
      errors_ = {{error.number, error.Description()}};
      throw;
    }
  }
  void Close() override { Replace(nullptr); }
  ado::ObjectState State() const override {
    return database_ ? ado::ObjectState::Open : ado::ObjectState::Closed;
  }
  std::vector<ado::ProviderError> Errors() const override {
    return database_ && errors_.empty() ? database_->Errors() : errors_;
  }

  std::int64_t Execute(const std::string& sql) override { return Database().Execute(sql); }
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
                                              std::span<const std::string> columns) override {
    return Database().OpenBulkLoad(table, columns);
  }
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
  std::unique_ptr<AdoDatabase> OpenDatabase() const {
    const std::string server = Property("Data Source");
    const auto place = lookup_(server);
    if (!place) throw UnknownServer(server);
    if (place->backend != "embedded") throw UnknownBackend(server, place->backend);
    return OpenSqliteDatabase(place->directory, Property("Initial Catalog"), TimeoutSeconds());
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

  const ServerLookup lookup_;
  std::map<std::string, std::string> properties_;
  int timeoutSeconds_ = kDefaultTimeoutSeconds;
  std::vector<ado::ProviderError> errors_;  ///< Of calls that reached no database.
  std::unique_ptr<AdoDatabase> database_;
  std::mutex databaseGuard_;  ///< Cancel comes from another thread.
};

class AdoProvider final : public ado::Provider {
 public:
  explicit AdoProvider(ServerLookup lookup) : lookup_(std::move(lookup)) {}

  std::unique_ptr<ado::Connection> NewConnection() override {
    return std::make_unique<AdoConnection>(lookup_);
  }

 private:
  const ServerLookup lookup_;
};

}  // namespace

std::unique_ptr<ado::Provider> NewAdoProvider(ServerLookup lookup) {
  return std::make_unique<AdoProvider>(std::move(lookup));
}

}  // namespace torvik

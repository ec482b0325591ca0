#pragma once

#include <memory>
#include <string>

#include "fakes/TemporaryDirectory.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/linux/AdoServers.h"
#include "platform/linux/sqlite/EmbeddedServer.h"

namespace torvik {

/// How rows are opened that will be changed.
constexpr ado::CursorOptions kLocked{ado::CursorLocation::UseClient, ado::CursorType::Dynamic,
                                     ado::LockType::Pessimistic};

/// Settings in which "(local)" is the embedded server of a directory.
inline Settings EmbeddedSettings(const std::string& directory) {
  Settings settings;
  settings.servers["(local)"] = {"embedded", directory};
  return settings;
}

/// An embedded server in a directory of its own, which goes away with it.
class EmbeddedFixture {
 public:
  EmbeddedFixture() {
    CreateEmbeddedServer(Directory());
    CreateWarehouse(Directory(), "dw");
  }

  std::string Directory() const { return disk_.PathOf("server"); }
  ado::Provider& Databases() { return *databases_; }

  std::unique_ptr<ado::Connection> Open(const std::string& database = "dw",
                                        int timeoutSeconds = 20) {
    auto connection = databases_->NewConnection();
    connection->SetProperty("Data Source", "(local)");
    connection->SetProperty("Initial Catalog", database);
    connection->SetConnectionTimeout(timeoutSeconds);
    connection->Open();
    return connection;
  }

 private:
  TemporaryDirectory disk_;
  std::unique_ptr<ado::Provider> databases_ = NewAdoProvider(EmbeddedSettings(Directory()));
};

/// The text of the PlatformError that `action` throws; empty when it throws none.
template <typename Action>
std::string ErrorOf(const Action& action) {
  try {
    action();
  } catch (const PlatformError& error) {
    return error.Description();
  }
  return "";
}

/// A query's rows: values separated by '|', rows by '\n'; NULL is "-", a blob stands in < and >.
inline std::string RowsOf(auto& connection, const std::string& sql) {
  struct Printer {
    std::string operator()(const ado::Null&) const { return "-"; }
    std::string operator()(std::int64_t number) const { return std::to_string(number); }
    std::string operator()(double number) const { return std::to_string(number); }
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(const ado::Blob& blob) const { return "<" + blob.bytes + ">"; }
  };
  std::string text;
  for (auto rows = connection.OpenRecordset(sql, {}); !rows->Eof(); rows->MoveNext()) {
    if (!text.empty()) text += "\n";
    for (int field = 0; field < rows->FieldCount(); ++field)
      text += (field == 0 ? "" : "|") + std::visit(Printer{}, rows->Field(field));
  }
  return text;
}

}  // namespace torvik

#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

/// An open database: what stands behind a connection once the server has been found. The functions
/// are those of ado::Connection, by the same names and contracts; destruction rolls back what was
/// not committed, and closes. Only Cancel may be called from another thread.
class AdoDatabase {
 public:
  virtual ~AdoDatabase() = default;

  /// False once the server has gone away.
  virtual bool IsAlive() const { return true; }

  virtual std::vector<ado::ProviderError> Errors() const = 0;
  virtual std::int64_t Execute(const std::string& sql) = 0;
  virtual std::unique_ptr<ado::Recordset> OpenRecordset(const std::string& sql,
                                                        const ado::CursorOptions& options) = 0;
  virtual std::unique_ptr<ado::Recordset> OpenSchema(ado::SchemaQuery query,
                                                     std::span<const std::string> restrictions) = 0;
  virtual std::vector<ado::Column> TableColumns(const std::string& table) = 0;
  virtual std::unique_ptr<ado::BulkLoad> OpenBulkLoad(const std::string& table,
                                                      std::span<const std::string> columns) = 0;
  virtual ado::StatementResult ExecuteWith(const std::string& sql,
                                           std::span<const ado::Value> parameters) = 0;
  virtual std::unique_ptr<ado::BulkRead> OpenBulkRead(const std::string& sql, bool alongside) = 0;
  virtual void CreateTable(const std::string& table, std::span<const ado::Column> columns) = 0;
  virtual void EmptyTable(const std::string& table) = 0;
  virtual std::string CreateStagingTable(const std::string& table) = 0;
  virtual std::int64_t ReplaceRows(const std::string& table, const std::string& staging) = 0;
  virtual void BeginTrans() = 0;
  virtual void CommitTrans() = 0;
  virtual void RollbackTrans() = 0;
  virtual void SetSavepoint() = 0;
  virtual void RollbackToSavepoint() = 0;
  virtual void Cancel() = 0;
};

}  // namespace torvik

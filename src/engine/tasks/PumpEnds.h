#pragma once

#include <memory>
#include <span>
#include <string>

#include "engine/model/TomlTable.h"
#include "engine/tasks/PumpSettings.h"

namespace torvik::engine {

struct OpenedSource {
  std::unique_ptr<RowSource> rows;
  bool alongside = false;  ///< Its connection does other work while the rows are read.
};

/// The keys "source", "source_sql" and "source_table" of a task that pumps rows.
class PumpSource {
 public:
  explicit PumpSource(TaskReader& reader);

  const std::string& Connection() const { return connection_; }
  /// "orders file", or a connection and its query.
  std::string Describe() const { return connection_ + (sql_.empty() ? "" : ": " + sql_); }

  /// `others`: the connections that the pump uses besides.
  OpenedSource Open(TaskContext& context, std::span<ado::Connection* const> others) const;

 private:
  void CheckKeys(TaskReader& reader, const std::optional<PlacedText>& query,
                 const std::optional<PlacedText>& table) const;

  std::string connection_;
  bool isTextFile_ = false;
  std::string sql_;
};

/// The keys "destination" and, for a database, "table".
class PumpDestination {
 public:
  explicit PumpDestination(TaskReader& reader);

  bool IsTable() const { return !isTextFile_; }
  const std::string& Connection() const { return connection_; }
  /// "warehouse, table orders".
  std::string Describe() const {
    return connection_ + (table_.text.empty() ? "" : ", table " + table_.text);
  }
  /// Why nothing can be pumped there whatever happens; empty when it can.
  std::string WhyNot() const;

  /// Null when it is a text file.
  ado::Connection* Open(TaskContext& context) const;

  /// Pumps all rows of `source`. `connection` is what Open gave.
  PumpCounts Pump(TaskContext& context, const PumpJob& job, RowSource& source,
                  ado::Connection* connection) const;

 private:
  std::string connection_;
  bool isTextFile_ = false, isReadOnly_ = false;
  PlacedText table_;
};

}  // namespace torvik::engine

#pragma once

#include <memory>
#include <span>
#include <string>
#include <utility>

#include "engine/model/TomlTable.h"
#include "engine/pump/TextFormat.h"
#include "engine/tasks/PumpSettings.h"

namespace torvik::engine {

class Variables;

struct OpenedSource {
  std::unique_ptr<RowSource> rows;
  bool alongside = false;  ///< Its connection does other work while the rows are read.
};

/// The keys "source", "source_sql" and "source_table" of a task that pumps rows.
class PumpSource {
 public:
  explicit PumpSource(TaskReader& reader);

  const std::string& Connection() const { return connection_; }
  bool IsTextFile() const { return isTextFile_; }
  /// The path and the format of the text file.
  std::pair<std::string, TextFormat> File(TaskContext& context) const;
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

/// Where a task's rows go.
class PumpDestination {
 public:
  virtual ~PumpDestination() = default;

  /// False for a text file.
  virtual bool IsDatabase() const { return true; }
  /// True for queries that rows choose from.
  virtual bool HasQueries() const { return false; }
  virtual const std::string& Connection() const = 0;
  /// Of a table: its name, variables put in.
  virtual std::string Table(const Variables&) const { return {}; }
  /// "warehouse, table orders".
  virtual std::string Describe() const = 0;
  /// Why nothing can be pumped there whatever happens; empty when it can.
  virtual std::string WhyNot() const { return {}; }

  /// Null when it is a text file.
  virtual ado::Connection* Open(TaskContext& context) const = 0;

  /// Pumps all rows of `source`. `connection` is what Open gave.
  virtual PumpOutcome Pump(TaskContext& context, const PumpJob& job, RowSource& source,
                           ado::Connection* connection) const = 0;
};

/// The keys "destination" and, for a database, "table".
std::unique_ptr<const PumpDestination> ReadPumpDestination(TaskReader& reader);

/// The keys "destination", "table" and "queries".
std::unique_ptr<const PumpDestination> ReadQueryDestination(TaskReader& reader);

}  // namespace torvik::engine

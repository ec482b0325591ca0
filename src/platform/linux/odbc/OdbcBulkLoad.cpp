#include "platform/linux/odbc/OdbcBulkLoad.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <utility>

#include "platform/linux/database/DefaultsLoad.h"
#include "platform/linux/database/LoadText.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/odbc/OdbcCatalogue.h"
#include "platform/linux/odbc/OdbcCopyLoad.h"
#include "platform/linux/odbc/OdbcLoadSettings.h"
#include "platform/linux/odbc/OdbcParameterArray.h"
#include "platform/linux/odbc/OdbcStatement.h"
#include "platform/linux/odbc/OdbcTables.h"
#include "platform/linux/odbc/OdbcUndo.h"
#include "platform/linux/odbc/SqlServerChecks.h"

namespace torvik {
namespace {

constexpr const char* kLoadPoint = "torvik_load";
constexpr std::size_t kMostRowsOfSet = 512;
constexpr std::size_t kMostBytesOfSet = 4 << 20;  // of the rows that are sent at once

/// What the driver says about the rows of one array.
struct ArrayOutcome {
  std::vector<SQLUSMALLINT> status;
  SQLULEN processed = 0;
  std::vector<OdbcDiagnostic> diagnostics;
  std::int64_t counted = 0;  ///< Rows that the server counts.
  bool hasFailed = false;

  bool IsTaken(std::size_t row) const {
    return status[row] == SQL_PARAM_SUCCESS || status[row] == SQL_PARAM_SUCCESS_WITH_INFO;
  }
  bool AllTaken() const { return !hasFailed && SeemsTaken(); }
  /// Why a row was not taken; null when the driver does not say it of this row alone.
  const OdbcDiagnostic* ReasonOf(std::size_t row) const {
    if (status[row] != SQL_PARAM_ERROR) return nullptr;
    const auto found =
        std::ranges::find(diagnostics, static_cast<long>(row) + 1, &OdbcDiagnostic::row);
    return found == diagnostics.end() || !IsRefusal(*found) ? nullptr : &*found;
  }
  bool IsTold() const {
    // A driver may refuse an only row and leave its status as it was.
    if (hasFailed && SeemsTaken()) return false;
    return processed == status.size() && std::ranges::all_of(Rows(), [this](std::size_t row) {
             return IsTaken(row) || ReasonOf(row) != nullptr;
           });
  }

 private:
  bool SeemsTaken() const {
    return processed == status.size() &&
           std::ranges::all_of(Rows(), [this](std::size_t row) { return IsTaken(row); });
  }
  std::vector<std::size_t> Rows() const {
    std::vector<std::size_t> rows(status.size());
    for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = i;
    return rows;
  }
};

/// One INSERT, run for arrays of rows. An array with a row that is not taken is undone and sent row
/// by row, unless the driver tells the rows apart.
class OdbcBulkLoad final : public ado::BulkLoad {
 public:
  OdbcBulkLoad(std::shared_ptr<OdbcSession> session, const OdbcTable& table,
               const std::vector<ado::Column>& columns, const ado::LoadOptions& options)
      : session_(std::move(session)),
        place_("table " + QuotedTable(table)),
        columns_(columns),
        settings_(*session_, table,
                  options.givesIdentity && std::ranges::any_of(columns, &ado::Column::isIdentity)),
        array_(*session_),
        single_(*session_) {
    const std::string insert = session_->Dialect().InTransactionSql(InsertText(
        QuotedTable(table), columns,
        [this](const ado::Column& column) { return session_->Dialect().Marker(column); }));
    array_.Prepare(insert);
    single_.Prepare(insert);
    for (const ado::Column& column : columns_)
      parameters_.emplace_back(column, session_->Dialect());
    values_.resize(columns.size());
  }

  void Load(const ado::LoadRows& rows, std::size_t tolerated,
            std::vector<ado::Refusal>& refused) override {
    if (const std::string problem = WidthProblem(rows, columns_.size()); !problem.empty())
      throw session_->Refusal(place_ + ": " + problem);
    const std::size_t most = tolerated < rows.Count() ? refused.size() + tolerated : SIZE_MAX;
    for (std::size_t first = 0; first < rows.Count() && refused.size() <= most;) {
      const ado::LoadRows set = TakeSet(rows, first);
      LoadSet(set, first, most, refused);
      first += set.Count();
    }
  }

  std::int64_t Finish() override { return rows_; }

 private:
  /// As many rows from `first` on as go at once, put into the parameters.
  ado::LoadRows TakeSet(const ado::LoadRows& rows, std::size_t first) {
    for (std::size_t count = std::min(rows.Count() - first, mostRows_);; count /= 2) {
      const ado::LoadRows set{rows.values.subspan(first * rows.width, count * rows.width),
                              rows.width};
      std::size_t bytes = 0;
      for (std::size_t i = 0; i < parameters_.size(); ++i) bytes += parameters_[i].Take(set, i);
      if (count == 1 || bytes <= kMostBytesOfSet) return set;
    }
  }

  /// Rows are counted from `first` in what is refused; `most` ends it.
  void LoadSet(const ado::LoadRows& set, std::size_t first, std::size_t most,
               std::vector<ado::Refusal>& refused) {
    session_->BeginStatement();
    OdbcUndo undo(*session_, kLoadPoint);
    if (!SetArraySize(set.Count())) {
      undo.Undo();
      mostRows_ = 1;
      return LoadSingly(set, first, most, refused);
    }
    const ArrayOutcome outcome = RunArray(set.Count());
    // After an error SQL Server may have rolled back more than the row; only the point tells.
    const bool isTold = session_->Dialect().Server() != OdbcServer::SqlServer && outcome.IsTold();
    if (!outcome.AllTaken() && !isTold) {
      const PlatformError error = session_->Failure(outcome.diagnostics, place_);
      if (error.isTransient || session_->IsCancelled()) throw error;
      undo.UndoAfter(error);
      return LoadSingly(set, first, most, refused);
    }
    undo.Keep();
    rows_ += outcome.counted;
    for (std::size_t row = 0; row < set.Count(); ++row)
      if (!outcome.IsTaken(row)) {
        const ado::ProviderError& error = outcome.ReasonOf(row)->error;
        refused.push_back({first + row, error.number, place_ + ": " + error.description});
      }
  }

  /// False when the driver takes no arrays.
  bool SetArraySize(std::size_t count) {
    return SQLSetStmtAttr(array_.Handle(), SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<void*>(count),
                          0) == SQL_SUCCESS;
  }

  ArrayOutcome RunArray(std::size_t count) {
    SQLHSTMT statement = array_.Handle();
    ArrayOutcome outcome;
    outcome.status.assign(count, SQL_PARAM_UNUSED);
    SQLSetStmtAttr(statement, SQL_ATTR_PARAM_STATUS_PTR, outcome.status.data(), 0);
    SQLSetStmtAttr(statement, SQL_ATTR_PARAMS_PROCESSED_PTR, &outcome.processed, 0);
    for (std::size_t i = 0; i < parameters_.size(); ++i)
      if (!SQL_SUCCEEDED(parameters_[i].Bind(statement, static_cast<std::uint16_t>(i + 1))))
        throw session_->Failure(SQL_HANDLE_STMT, statement, place_);
    const OdbcSession::Running running(*session_, statement);
    // A driver may give one result for the array or one for each row.
    SQLRETURN code = SQLExecute(statement);
    for (std::size_t results = 0; code != SQL_NO_DATA || results == 0; ++results) {
      SQLLEN rows = 0;
      outcome.hasFailed |= !SQL_SUCCEEDED(code) && code != SQL_NO_DATA;
      if (code != SQL_SUCCESS)
        for (OdbcDiagnostic& one : OdbcDiagnostics(SQL_HANDLE_STMT, statement))
          outcome.diagnostics.push_back(std::move(one));
      if (SQL_SUCCEEDED(code) && SQL_SUCCEEDED(SQLRowCount(statement, &rows)) && rows > 0)
        outcome.counted += rows;
      if (results > count || code == SQL_INVALID_HANDLE) break;
      code = SQLMoreResults(statement);
    }
    SQLSetStmtAttr(statement, SQL_ATTR_PARAM_STATUS_PTR, nullptr, 0);
    SQLSetStmtAttr(statement, SQL_ATTR_PARAMS_PROCESSED_PTR, nullptr, 0);
    return outcome;
  }

  void LoadSingly(const ado::LoadRows& set, std::size_t first, std::size_t most,
                  std::vector<ado::Refusal>& refused) {
    for (std::size_t row = 0; row < set.Count() && refused.size() <= most; ++row) {
      OdbcUndo undo(*session_, kLoadPoint);
      try {
        for (std::size_t i = 0; i < set.width; ++i)
          values_[i] = ValueOf(columns_[i], set.Row(row)[i]);
        rows_ += single_.ExecutePrepared(values_);
        undo.Keep();
      } catch (const PlatformError& error) {
        if (!session_->IsRowAtFault(error)) throw;
        const std::string reason = place_ + ": " + error.Description();
        undo.UndoAfter(error.Saying(reason));
        refused.push_back({first + row, error.number, reason});
      }
    }
  }

  ado::Value ValueOf(const ado::Column& column, const ado::LoadValue& value) const {
    switch (value.GetKind()) {
      case ado::LoadValue::Kind::Null: return ado::Null{};
      case ado::LoadValue::Kind::Integer: return value.Integer();
      case ado::LoadValue::Kind::Real: return value.Real();
      case ado::LoadValue::Kind::Text: break;
    }
    if (column.kind == ado::ColumnKind::Binary) return ado::Blob{std::string(value.Text())};
    return session_->Dialect().Sent(column, value.Text());
  }

  const std::shared_ptr<OdbcSession> session_;
  const std::string place_;
  const std::vector<ado::Column> columns_;
  const OdbcLoadSettings settings_;
  OdbcStatement array_, single_;
  std::deque<OdbcParameterArray> parameters_;
  std::vector<ado::Value> values_;
  std::size_t mostRows_ = kMostRowsOfSet;
  std::int64_t rows_ = 0;
};

/// The columns for a bulk copy, with their places; empty when it cannot fill the table as an INSERT
/// would: the copy names every column of the table but the one that numbers the rows.
[[maybe_unused]] std::vector<OdbcBulkCopy::Target> CopyTargets(
    OdbcSession& session, const OdbcTable& table, const std::vector<ado::Column>& columns) {
  if (session.Family() != DriverFamily::FreeTds ||
      session.Dialect().Server() != OdbcServer::SqlServer)
    return {};
  std::vector<OdbcBulkCopy::Target> targets;
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    const ado::Column& column = table.columns[i];
    if (std::ranges::count(columns, column.name, &ado::Column::name) != !column.isIdentity ||
        column.isComputed || !(column.isIdentity || OdbcCopyRule(column).TakesColumn()))
      return {};
  }
  for (const ado::Column& column : columns)
    targets.push_back({column, static_cast<int>(std::ranges::find(table.columns, column.name,
                                                                  &ado::Column::name) -
                                                table.columns.begin()) +
                                   1});
  return targets;
}

}  // namespace

std::unique_ptr<ado::BulkLoad> NewOdbcBulkLoad(std::shared_ptr<OdbcSession> session,
                                               const OdbcTable& table,
                                               const std::vector<ado::Column>& columns,
                                               const ado::LoadOptions& options) {
  const auto newInserts =
      [=](const std::vector<ado::Column>& some) -> std::unique_ptr<ado::BulkLoad> {
    auto inserts = std::make_unique<OdbcBulkLoad>(session, table, some, options);
    if (session->Dialect().Server() != OdbcServer::SqlServer) return inserts;
    return NewCheckedLoad(some, "table " + QuotedTable(table), std::move(inserts));
  };
  auto inserts = options.keepsNulls ? newInserts(columns) : NewDefaultsLoad(columns, newInserts);
  auto targets = CopyTargets(*session, table, columns);
  if (targets.empty()) return inserts;
  return NewOdbcCopyLoad(std::move(session), QuotedTable(table), std::move(targets), options,
                         std::move(inserts));
}

}  // namespace torvik

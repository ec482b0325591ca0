#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/linux/database/QueryRows.h"
#include "platform/linux/odbc/OdbcParameter.h"
#include "platform/linux/odbc/OdbcSession.h"

namespace torvik {

/// One ODBC statement and its rows. Whatever fails throws the session's error.
class OdbcStatement final : public QueryRows, private PendingRows {
 public:
  explicit OdbcStatement(OdbcSession& session);
  ~OdbcStatement() override;
  OdbcStatement(const OdbcStatement&) = delete;
  OdbcStatement& operator=(const OdbcStatement&) = delete;

  void* Handle() const { return handle_; }

  /// Runs the text up to its first result with columns, or to its end; answers the rows changed on
  /// the way.
  std::int64_t Execute(const std::string& sql);
  /// Goes on to the next result with columns, or to the end; answers the rows changed on the way.
  std::int64_t ExecuteRest();

  /// Compiles a text with a marker "?" for each parameter.
  void Prepare(const std::string& sql);
  /// The same, and the server has seen the text when this returns: a driver may keep it back until
  /// it is run.
  void PrepareNow(const std::string& sql);
  /// Runs what was prepared with one value for each marker; answers the rows changed.
  std::int64_t ExecutePrepared(std::span<const ado::Value> values);

  /// Ends the rows that someone else has fetched to their end by the handle.
  void EndRows();

  /// Leaves the statements behind a query in the same text to ExecuteRest().
  void LeaveRest() { leavesRest_ = true; }

  /// Runs a catalogue function of ODBC on this statement, given its handle; then its rows are here.
  void RunCatalogue(const std::function<short(void* statement)>& function);

  int ColumnCount() const override { return static_cast<int>(columns_.size()); }
  std::string ColumnName(int column) const override;
  bool Step() override;
  ado::Value Column(int column) const override;

  /// How a column's values are fetched.
  enum class Fetch { Whole, Truth, Single, Real, Exact, Date, Moment, Bytes, Identifier, Text };
  struct ColumnInfo {
    std::string name;
    Fetch fetch;
    std::size_t size;  ///< Of a text in characters, of bytes; 0: as the driver does not say.
  };
  const std::vector<ColumnInfo>& Columns() const { return columns_; }

 private:
  using Values = std::vector<ado::Value>;

  void ReadToEnd() override;
  std::int64_t Results(short code);
  void DescribeColumns();
  bool FetchRow(Values& row);
  void RunRest();
  ado::Value Get(std::uint16_t column, Fetch fetch);
  template <class Plain>
  bool GetPlain(std::uint16_t column, short type, Plain& value);
  bool GetBytes(std::uint16_t column, short type, std::size_t unit, std::string& bytes);
  void Check(short code);

  OdbcSession& session_;
  void* handle_ = nullptr;
  std::deque<OdbcParameter> parameters_;  ///< Of the prepared text; the driver points into them.
  std::vector<ColumnInfo> columns_;
  Values row_;
  std::deque<Values> readAhead_;
  bool isAtEnd_ = true;
  bool hasStarted_ = false;
  bool leavesRest_ = false;
};

}  // namespace torvik

#include "platform/linux/odbc/OdbcBulkCopy.h"

#include <sql.h>
#include <sqlext.h>

#define TDSODBC_BCP
#include <odbcss.h>

#include <utility>

#include "platform/linux/odbc/OdbcLoadValue.h"
#include "platform/linux/odbc/OdbcSession.h"

namespace torvik {
namespace {

using ado::ColumnKind;

/// Ends a batch, whatever becomes of its rows: the connection takes nothing else before.
class Batch {
 public:
  explicit Batch(HDBC connection) : connection_(connection) {}
  ~Batch() {
    if (!isEnded_) bcp_done(connection_);
  }
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  /// Below 0 when it failed.
  int End() {
    isEnded_ = true;
    return bcp_done(connection_);
  }

 private:
  const HDBC connection_;
  bool isEnded_ = false;
};

template <class Plain>
std::string_view PlainBytes(const Plain& value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

}  // namespace

std::string_view OdbcBulkCopy::BytesOf(Slot& slot, const ado::LoadValue& value) {
  if (slot.type == BCP_TYPE_SQLINT8) return ReadNumber(value, slot.whole), PlainBytes(slot.whole);
  if (slot.type == BCP_TYPE_SQLFLT8) return ReadNumber(value, slot.real), PlainBytes(slot.real);
  if (value.IsText()) return value.Text();
  return slot.text = TextOf(value);
}

void OdbcBulkCopy::Enable(void* connection) {
  SQLSetConnectAttr(connection, SQL_COPT_SS_BCP,
                    reinterpret_cast<SQLPOINTER>(static_cast<std::uintptr_t>(SQL_BCP_ON)),
                    SQL_IS_INTEGER);
}

int OdbcBulkCopy::SocketOf(void* connection) {
  int socket = -1;
  SQLSMALLINT bytes = 0;
  const bool isTold = SQL_SUCCEEDED(
      SQLGetInfo(connection, SQL_INFO_FREETDS_SOCKET, &socket, sizeof socket, &bytes));
  return isTold ? socket : -1;
}

OdbcBulkCopy::OdbcBulkCopy(OdbcSession& session, std::string table, std::vector<Target> targets,
                           const ado::LoadOptions& options)
    : session_(session), table_(std::move(table)), options_(options) {
  for (const Target& target : targets) {
    int type = BCP_TYPE_SQLVARCHAR;
    const ColumnKind kind = target.column.kind;
    if (kind == ColumnKind::Integer || kind == ColumnKind::Boolean) type = BCP_TYPE_SQLINT8;
    if (kind == ColumnKind::Real) type = BCP_TYPE_SQLFLT8;
    slots_.push_back({OdbcCopyRule(target.column), target.place, type, {}, 0, 0});
  }
}

bool OdbcBulkCopy::Fits(std::span<const ado::LoadValue> row) const {
  for (std::size_t i = 0; i < row.size(); ++i)
    if (!slots_[i].rule.Takes(row[i])) return false;
  return true;
}

std::int64_t OdbcBulkCopy::Copy(const ado::LoadRows& rows, std::span<const std::size_t> which,
                                std::vector<std::size_t>& others) {
  session_.BeginStatement();
  const OdbcSession::Running running(session_, nullptr);
  Begin();
  Batch batch(session_.Handle());
  for (const std::size_t row : which) {
    if (!Fits(rows.Row(row))) {
      others.push_back(row);
      continue;
    }
    for (std::size_t i = 0; i < slots_.size(); ++i) Put(slots_[i], rows.Row(row)[i]);
    if (bcp_sendrow(session_.Handle()) == FAIL) throw Failure();
  }
  const int taken = batch.End();
  if (taken < 0) throw Failure();
  return taken;
}

void OdbcBulkCopy::Begin() {
  HDBC connection = session_.Handle();
  // Without these hints the server would neither check nor run triggers, and put a column's default
  // in the place of NULL.
  std::string hints =
      options_.checksConstraints ? "CHECK_CONSTRAINTS, FIRE_TRIGGERS" : "FIRE_TRIGGERS";
  if (options_.keepsNulls) hints += ", KEEP_NULLS";
  if (options_.locksTable) hints += ", TABLOCK";
  if (bcp_initA(connection, table_.c_str(), nullptr, nullptr, BCP_DIRECTION_IN) == FAIL ||
      bcp_control(connection, BCPHINTS, hints.data()) == FAIL)
    throw Failure();
}

void OdbcBulkCopy::Put(Slot& slot, const ado::LoadValue& value) {
  const std::string_view bytes = value.IsNull() ? "" : BytesOf(slot, value);
  const int length = value.IsNull() ? SQL_NULL_DATA : static_cast<int>(bytes.size());
  // The driver takes no null pointer, not even for an empty text.
  const char* data = bytes.data() == nullptr ? "" : bytes.data();
  if (bcp_bind(session_.Handle(), reinterpret_cast<const unsigned char*>(data), 0, length, nullptr,
               0, slot.type, slot.place) == FAIL)
    throw Failure();
}

PlatformError OdbcBulkCopy::Failure() {
  return session_.Failure(SQL_HANDLE_DBC, session_.Handle(), "table " + table_);
}

}  // namespace torvik

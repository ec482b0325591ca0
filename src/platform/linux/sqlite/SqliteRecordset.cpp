#include "platform/linux/sqlite/SqliteRecordset.h"

#include <utility>

#include "platform/linux/database/Recordsets.h"
#include "platform/linux/sqlite/SqliteSession.h"
#include "platform/linux/sqlite/SqliteStatement.h"
#include "platform/linux/sqlite/SqliteUpdateTarget.h"

namespace torvik {
namespace {

/// A query that keeps its session open.
class SessionRows final : public QueryRows {
 public:
  SessionRows(std::shared_ptr<SqliteSession> session, std::unique_ptr<SqliteStatement> query)
      : session_(std::move(session)), query_(std::move(query)) {}

  int ColumnCount() const override { return query_->ColumnCount(); }
  std::string ColumnName(int column) const override { return query_->ColumnName(column); }
  bool Step() override { return query_->Step(); }
  ado::Value Column(int column) const override { return query_->Column(column); }

 private:
  const std::shared_ptr<SqliteSession> session_;
  const std::unique_ptr<SqliteStatement> query_;
};

}  // namespace

std::unique_ptr<ado::Recordset> NewSqliteRecordset(std::shared_ptr<SqliteSession> session,
                                                   std::unique_ptr<SqliteStatement> query,
                                                   const ado::CursorOptions& options) {
  auto target = NewSqliteUpdateTarget(session, *query);
  auto refuse = [session](const std::string& reason) { return session->Refusal(reason); };
  auto rows = std::make_unique<SessionRows>(std::move(session), std::move(query));
  return NewRecordset(std::move(rows), options, std::move(refuse), std::move(target));
}

}  // namespace torvik

#include "platform/linux/postgres/PgBulkRead.h"

#include <utility>

#include "platform/linux/postgres/PgCopyRead.h"
#include "platform/linux/postgres/PgNamedRead.h"

namespace torvik {
namespace {

constexpr const char* kRowsAtATime = "4096";

/// Results that are at hand, one after the other.
class ResultRead : public PgNamedRead {
 public:
  ResultRead(std::shared_ptr<PgSession> session, PgResult first)
      : PgNamedRead(std::move(session)), result_(std::move(first)) {
    Describe(result_.get());
    if (names_.empty()) throw HasNoRows();
  }

  bool Next(std::span<ado::LoadValue> row) override {
    RequireWidth(row.size());
    if (row_ == PQntuples(result_.get())) {
      if (row_ == 0) return false;
      result_ = More();
      row_ = 0;
      if (PQntuples(result_.get()) == 0) return false;
    }
    for (std::size_t i = 0; i < row.size(); ++i) {
      const int column = static_cast<int>(i);
      row[i] =
          PQgetisnull(result_.get(), row_, column) != 0
              ? ado::LoadValue()
              : PgLoadValue(forms_[i], PQgetvalue(result_.get(), row_, column),
                            static_cast<std::size_t>(PQgetlength(result_.get(), row_, column)));
    }
    ++row_;
    return true;
  }

 protected:
  virtual PgResult More() { return {}; }

 private:
  PgResult result_;
  int row_ = 0;
};

/// A cursor on the server. Outside a transaction the server keeps its rows, so that it outlives the
/// statement that makes it.
class CursorRead final : public ResultRead {
 public:
  CursorRead(std::shared_ptr<PgSession> session, const std::string& cursor)
      : ResultRead(session, Fetch(*session, cursor)), cursor_(cursor) {}
  ~CursorRead() override {
    const auto errors = session_->Errors();
    try {
      session_->Run("CLOSE " + cursor_);
    } catch (const PlatformError&) {
      // It went with its transaction, or with the connection.
    }
    session_->RestoreErrors(errors);
  }

 private:
  static PgResult Fetch(PgSession& session, const std::string& cursor) {
    return session.Run(std::string("FETCH ") + kRowsAtATime + " FROM " + cursor);
  }
  PgResult More() override { return Fetch(*session_, cursor_); }

  const std::string cursor_;
};

bool IsQuery(const std::string& word) {
  return word.empty() || word == "SELECT" || word == "WITH" || word == "VALUES" || word == "TABLE";
}

bool MayReturnRows(const std::string& word) {
  return word == "INSERT" || word == "UPDATE" || word == "DELETE";
}

std::unique_ptr<ado::BulkRead> OpenCursor(std::shared_ptr<PgSession> session,
                                          const PgStatement& query) {
  const std::string cursor = session->NewName("torvik_cursor");
  PgStatement declare = query;
  declare.text = "DECLARE " + cursor + " NO SCROLL CURSOR" +
                 (session->IsInBlock() ? "" : " WITH HOLD") + " FOR " + query.text;
  try {
    session->Run(declare);
  } catch (const PlatformError& error) {
    // A query that changes or locks rows has no cursor.
    if (error.Description().find("(SQLSTATE 0A000)") == std::string::npos) throw;
    return std::make_unique<ResultRead>(session, session->Run(query));
  }
  return std::make_unique<CursorRead>(session, cursor);
}

}  // namespace

std::unique_ptr<ado::BulkRead> OpenPgBulkRead(std::shared_ptr<PgSession> session,
                                              const std::string& sql, bool alongside) {
  std::vector<PgStatement> statements = SplitStatements(session->Resolved(sql), PgMarkers::None);
  if (statements.empty()) throw session->Refusal("the SQL text has no query");
  const PgStatement query = std::move(statements.back());
  statements.pop_back();
  for (const PgStatement& statement : statements) session->Run(statement);
  const std::string word = query.FirstWord();
  if (alongside && IsQuery(word)) return OpenCursor(session, query);
  if (!alongside && (IsQuery(word) || MayReturnRows(word)))
    return std::make_unique<PgCopyRead>(session, query);
  return std::make_unique<ResultRead>(session, session->Run(query));
}

}  // namespace torvik

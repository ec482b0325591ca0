#include "platform/linux/postgres/PgCopyRead.h"

#include <optional>
#include <utility>

#include "platform/linux/postgres/PgNamedRead.h"

namespace torvik {
namespace {

constexpr const char* kReadPoint = "torvik_read";

/// COPY's text format, each row in the library's memory until the next one.
class CopyRead final : public PgNamedRead {
 public:
  CopyRead(std::shared_ptr<PgSession> session, const PgStatement& query)
      : PgNamedRead(std::move(session)), hasPoint_(session_->IsInBlock()) {
    session_->RequireIdle();
    if (hasPoint_) session_->RunOnPoint("SAVEPOINT", kReadPoint);
    try {
      Begin(query);
    } catch (const PlatformError&) {
      running_.reset();
      if (hasPoint_) session_->UndoTo(kReadPoint);
      throw;
    }
  }

  ~CopyRead() override {
    PQfreemem(line_);
    if (isAtEnd_) return;
    session_->CancelOwn();
    running_.reset();
    while (PQgetCopyData(Handle(), &line_, 0) > 0) PQfreemem(line_);
    const PgResult ignored = End();
    if (!hasPoint_) return;
    if (session_->IsInBlock()) session_->RunOnPoint("RELEASE SAVEPOINT", kReadPoint);
    session_->UndoTo(kReadPoint);
  }

  bool Next(std::span<ado::LoadValue> row) override {
    RequireWidth(row.size());
    if (isAtEnd_) return false;
    PQfreemem(std::exchange(line_, nullptr));
    const int size = PQgetCopyData(Handle(), &line_, 0);
    if (size > 0) {
      Split(line_, line_ + size - 1, row);
      return true;
    }
    Finish();
    return false;
  }

 private:
  PGconn* Handle() const { return session_->Handle(); }

  void Begin(const PgStatement& query) {
    running_.emplace(*session_);
    const PgResult prepared(PQprepare(Handle(), "", query.text.c_str(), 0, nullptr));
    if (PQresultStatus(prepared.get()) != PGRES_COMMAND_OK)
      throw session_->FailureOf(query, prepared.get(), 0);
    const PgResult described(PQdescribePrepared(Handle(), ""));
    if (PQresultStatus(described.get()) != PGRES_COMMAND_OK)
      throw session_->Failure(described.get());
    Describe(described.get());
    if (names_.empty()) {
      if (hasPoint_) session_->RunOnPoint("RELEASE SAVEPOINT", kReadPoint);
      throw HasNoRows();
    }
    constexpr std::string_view kBefore = "COPY (";
    PgResult copy = session_->Begin(std::string(kBefore) + query.text + "\n) TO STDOUT");
    if (PQresultStatus(copy.get()) == PGRES_COPY_OUT) {
      isAtEnd_ = false;
      return;
    }
    while (const PgResult next{PQgetResult(Handle())}) continue;
    throw session_->FailureOf(query, copy.get(), static_cast<int>(kBefore.size()));
  }

  void Finish() {
    const PgResult result = End();
    running_.reset();
    if (PQresultStatus(result.get()) != PGRES_COMMAND_OK) {
      const PlatformError error = session_->Failure(result.get());
      if (hasPoint_) session_->UndoTo(kReadPoint);
      throw error;
    }
    if (hasPoint_) session_->RunOnPoint("RELEASE SAVEPOINT", kReadPoint);
  }

  /// The first result behind the rows.
  PgResult End() {
    isAtEnd_ = true;
    PgResult result(PQgetResult(Handle()));
    while (const PgResult next{PQgetResult(Handle())}) continue;
    return result;
  }

  /// Takes the fields of a line apart where they lie.
  void Split(char* from, char* end, std::span<ado::LoadValue> row) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      if (end - from >= 2 && from[0] == '\\' && from[1] == 'N') {
        row[column] = ado::LoadValue();
        from += 3;
        continue;
      }
      char* const begin = from;
      while (from < end && *from != '\t' && *from != '\\') ++from;
      char* to = from;
      while (from < end && *from != '\t') {
        const char c = *from++;
        *to++ = c == '\\' && from < end ? Unescaped(*from++) : c;
      }
      row[column] = PgLoadValue(forms_[column], begin, static_cast<std::size_t>(to - begin));
      ++from;
    }
  }

  static char Unescaped(char c) {
    switch (c) {
      case 'b': return '\b';
      case 'f': return '\f';
      case 'n': return '\n';
      case 'r': return '\r';
      case 't': return '\t';
      case 'v': return '\v';
      default: return c;
    }
  }

  const bool hasPoint_;
  std::optional<PgSession::Running> running_;
  char* line_ = nullptr;
  bool isAtEnd_ = true;
};

}  // namespace

std::unique_ptr<ado::BulkRead> NewPgCopyRead(std::shared_ptr<PgSession> session,
                                             const PgStatement& query) {
  return std::make_unique<CopyRead>(std::move(session), query);
}

}  // namespace torvik

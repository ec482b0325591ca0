#include "platform/linux/postgres/PgCopyOut.h"

#include <cstdlib>
#include <utility>

namespace torvik {
namespace {

constexpr const char* kReadPoint = "torvik_read";

}  // namespace

PgCopyOut::PgCopyOut(PgSession& session, const PgStatement& query, const std::string& options)
    : session_(session), hasPoint_(session.IsInBlock()) {
  session_.RequireIdle();
  if (hasPoint_) session_.RunOnPoint("SAVEPOINT", kReadPoint);
  try {
    Begin(query, options);
  } catch (const PlatformError&) {
    running_.reset();
    if (hasPoint_) session_.UndoTo(kReadPoint);
    throw;
  }
}

PgCopyOut::~PgCopyOut() {
  PQfreemem(piece_);
  if (isAtEnd_) return;
  session_.CancelOwn();
  running_.reset();
  while (PQgetCopyData(session_.Handle(), &piece_, 0) > 0) PQfreemem(piece_);
  const PgResult ignored = End();
  if (!hasPoint_) return;
  if (session_.IsInBlock()) session_.RunOnPoint("RELEASE SAVEPOINT", kReadPoint);
  session_.UndoTo(kReadPoint);
}

std::span<char> PgCopyOut::Next() {
  if (isAtEnd_) return {};
  PQfreemem(std::exchange(piece_, nullptr));
  const int size = PQgetCopyData(session_.Handle(), &piece_, 0);
  if (size > 0) return {piece_, static_cast<std::size_t>(size)};
  Finish();
  return {};
}

void PgCopyOut::Begin(const PgStatement& query, const std::string& options) {
  running_.emplace(session_);
  constexpr std::string_view kBefore = "COPY (";
  PgResult copy = session_.Begin(std::string(kBefore) + query.text + "\n) TO STDOUT" + options);
  if (PQresultStatus(copy.get()) == PGRES_COPY_OUT) {
    isAtEnd_ = false;
    return;
  }
  while (const PgResult next{PQgetResult(session_.Handle())}) continue;
  throw session_.FailureOf(query, copy.get(), static_cast<int>(kBefore.size()));
}

void PgCopyOut::Finish() {
  const PgResult result = End();
  running_.reset();
  if (PQresultStatus(result.get()) != PGRES_COMMAND_OK) {
    const PlatformError error = session_.Failure(result.get());
    if (hasPoint_) session_.UndoTo(kReadPoint);
    throw error;
  }
  count_ = std::atoll(PQcmdTuples(result.get()));
  if (hasPoint_) session_.RunOnPoint("RELEASE SAVEPOINT", kReadPoint);
}

/// The first result behind the rows.
PgResult PgCopyOut::End() {
  isAtEnd_ = true;
  PgResult result(PQgetResult(session_.Handle()));
  while (const PgResult next{PQgetResult(session_.Handle())}) continue;
  return result;
}

}  // namespace torvik

#include "platform/linux/postgres/PgCopyIn.h"

#include <cstdlib>
#include <utility>

namespace torvik {
namespace {

constexpr const char* kLoadPoint = "torvik_load";

}  // namespace

PgCopyIn::PgCopyIn(PgSession& session, const std::string& copy, std::string place, bool hasPoint)
    : session_(session), place_(std::move(place)), hasPoint_(hasPoint) {
  session_.RequireIdle();
  const std::string point = kLoadPoint;
  running_.emplace(session_);
  result_ =
      session_.Begin(hasPoint ? "SAVEPOINT " + point + "; " + copy + "; RELEASE " + point : copy);
  while (PQresultStatus(result_.get()) == PGRES_COMMAND_OK)
    result_.reset(PQgetResult(session_.Handle()));
  isOpen_ = PQresultStatus(result_.get()) == PGRES_COPY_IN;
}

PgCopyIn::~PgCopyIn() {
  if (!running_) return;
  if (isOpen_) PQputCopyEnd(session_.Handle(), "the load is given up");
  TakeRest();
  Undo();
}

bool PgCopyIn::Send(std::string_view bytes) {
  if (isOpen_)
    isOpen_ = PQputCopyData(session_.Handle(), bytes.data(), static_cast<int>(bytes.size())) == 1;
  return isOpen_;
}

std::optional<PgError> PgCopyIn::End() {
  const bool hasBegun = PQresultStatus(result_.get()) == PGRES_COPY_IN;
  if (isOpen_) PQputCopyEnd(session_.Handle(), nullptr);
  if (hasBegun) result_.reset(PQgetResult(session_.Handle()));
  const std::int64_t taken = std::atoll(PQcmdTuples(result_.get()));
  TakeRest();
  running_.reset();
  if (PQresultStatus(result_.get()) == PGRES_COMMAND_OK) {
    count_ = taken;
    return {};
  }
  PgError error = ErrorOfResult(result_.get());
  const PlatformError failure = session_.Failure(result_.get(), place_);
  Undo();
  if (!error.IsOfARow()) throw failure;
  return error;
}

/// What follows a result of a statement; the first error takes its place.
void PgCopyIn::TakeRest() {
  while (PgResult next{PQgetResult(session_.Handle())})
    if (PQresultStatus(result_.get()) == PGRES_COMMAND_OK) result_ = std::move(next);
}

void PgCopyIn::Undo() {
  if (hasPoint_) session_.UndoTo(kLoadPoint);
}

}  // namespace torvik

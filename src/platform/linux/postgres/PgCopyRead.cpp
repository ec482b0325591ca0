#include "platform/linux/postgres/PgCopyRead.h"

#include <algorithm>
#include <utility>

#include "platform/linux/database/SqlNames.h"

namespace torvik {
namespace {

constexpr const char* kPreparePoint = "torvik_prepare";

char Unescaped(char c) {
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

bool ChangesNothing(const std::string& word) {
  return word == "SELECT" || word == "VALUES" || word == "TABLE";
}

}  // namespace

PgCopyRead::PgCopyRead(std::shared_ptr<PgSession> session, PgStatement query)
    : PgNamedRead(std::move(session)), query_(std::move(query)) {
  session_->RequireIdle();
  const bool hasPoint = session_->IsInBlock();
  if (hasPoint) session_->RunOnPoint("SAVEPOINT", kPreparePoint);
  try {
    Prepare();
  } catch (const PlatformError&) {
    if (hasPoint) session_->UndoTo(kPreparePoint);
    throw;
  }
  if (hasPoint) session_->RunOnPoint("RELEASE SAVEPOINT", kPreparePoint);
  if (names_.empty()) throw HasNoRows();
}

void PgCopyRead::Prepare() {
  const PgSession::Running running(*session_);
  PGconn* const handle = session_->Handle();
  const PgResult prepared(PQprepare(handle, "", query_.text.c_str(), 0, nullptr));
  if (PQresultStatus(prepared.get()) != PGRES_COMMAND_OK)
    throw session_->FailureOf(query_, prepared.get(), 0);
  const PgResult described(PQdescribePrepared(handle, ""));
  if (PQresultStatus(described.get()) != PGRES_COMMAND_OK) throw session_->Failure(described.get());
  Describe(described.get());
  for (int column = 0; column < PQnfields(described.get()); ++column)
    types_.push_back({PQftype(described.get(), column), PQfmod(described.get(), column)});
}

void PgCopyRead::Start() {
  if (std::exchange(hasBegun_, true)) return;
  rows_.emplace(*session_, query_, "");
}

bool PgCopyRead::Next(std::span<ado::LoadValue> row) {
  RequireWidth(row.size());
  Start();
  if (!rows_) return false;
  const std::span<char> line = rows_->Next();
  if (line.empty()) return rows_.reset(), false;
  Split(line.first(line.size() - 1), row);
  return true;
}

std::unique_ptr<PgCopyOut> PgCopyRead::OpenImages(std::span<const std::size_t> columns) {
  const auto query = Picking(columns);
  return query ? std::make_unique<PgCopyOut>(*session_, *query, " (FORMAT binary)") : nullptr;
}

std::optional<PgStatement> PgCopyRead::Picking(std::span<const std::size_t> columns) const {
  if (!ChangesNothing(query_.FirstWord())) return std::nullopt;
  bool isAll = columns.size() == names_.size();
  std::string list;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    isAll = isAll && columns[i] == i;
    list += (i == 0 ? "" : ", ") + QuotedName(names_[columns[i]]);
  }
  if (isAll) return query_;
  for (const std::size_t column : columns)
    if (std::ranges::count(names_, names_[column]) != 1) return std::nullopt;
  PgStatement picking = query_;
  picking.text = "SELECT " + list + " FROM (" + query_.text + "\n) AS torvik_rows";
  return picking;
}

/// Takes the fields of a line apart where they lie.
void PgCopyRead::Split(std::span<char> line, std::span<ado::LoadValue> row) const {
  char* from = line.data();
  char* const end = from + line.size();
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

}  // namespace torvik

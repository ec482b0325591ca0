#include "platform/linux/postgres/PgBulkLoad.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <optional>
#include <vector>

#include "platform/linux/database/LoadText.h"
#include "platform/linux/database/PickColumns.h"
#include "platform/linux/postgres/PgCatalogue.h"
#include "platform/linux/postgres/PgCopyIn.h"
#include "platform/linux/postgres/PgCopyRead.h"
#include "platform/linux/postgres/PgCopyRows.h"
#include "platform/linux/postgres/PgSession.h"
#include "platform/linux/postgres/PgTables.h"

namespace torvik {
namespace {

constexpr std::size_t kPieceSize = 12 * 1024;
constexpr std::size_t kImagesSize = 64 * 1024;
constexpr const char* kBinary = " (FORMAT binary)";
/// After so many calls with a value that the binary format does not take, text it is.
constexpr int kMostTextCalls = 3;
/// After so many refusals of rows that were judged together, each call's are judged alone.
constexpr int kMostRefusals = 3;

/// The row of a COPY, from 1, and the column that an error's context names: "COPY sale, line 123,
/// column d: "x"" in the server's language.
struct CopyPlace {
  std::size_t row = 0;  ///< 0: not named.
  std::string column;
};

CopyPlace PlaceIn(const std::string& context, const std::string& table) {
  const std::string start = "COPY " + table + ", ";
  std::size_t at = context.rfind(start);
  if (at == std::string::npos) return {};
  const std::string line = context.substr(at + start.size(), context.find('\n', at) - at);
  const std::size_t digits = line.find_first_of("0123456789");
  if (digits == std::string::npos) return {};
  CopyPlace place{std::strtoul(line.c_str() + digits, nullptr, 10), {}};
  at = line.find_first_not_of("0123456789", digits);
  if (at == std::string::npos || line.compare(at, 2, ", ") != 0) return place;
  const std::size_t name = line.find(' ', at + 2);
  if (name == std::string::npos) return place;
  place.column = line.substr(name + 1, line.find(": ", name) - name - 1);
  return place;
}

/// True for the server's own types whose bytes mean the same to every server, and whose text, by
/// which rows go that are looked at, says the same.
bool HasPortableImage(unsigned type) {
  static constexpr unsigned kTypes[] = {16,   17,   20,   21,   23,   25,   114,  700,  701,  1042,
                                        1043, 1082, 1083, 1114, 1186, 1560, 1562, 1700, 2950, 3802};
  return std::ranges::find(kTypes, type) != std::end(kTypes);
}

std::string CopyText(const PgTable& table, const std::vector<ado::Column>& columns) {
  std::string names;
  for (const ado::Column& column : columns)
    names += (names.empty() ? "" : ", ") + QuotedName(column.name);
  return "COPY " + table.Quoted() + " (" + names + ") FROM STDIN";
}

class PgBulkLoad final : public ado::BulkLoad {
 public:
  PgBulkLoad(std::shared_ptr<PgSession> session, const std::string& table,
             std::span<const std::string> columns)
      : session_(std::move(session)), table_(FindPgTable(*session_, table)) {
    const std::vector<ado::Column> all(table_.columns.begin(), table_.columns.end());
    const auto picked = PickColumns(all, columns, table,
                                    [this](const auto& why) { return session_->Refusal(why); });
    for (const ado::Column& column : picked) {
      const auto found = std::ranges::find(table_.columns, column.name, &PgColumn::name);
      types_.push_back(found->type);
      modifiers_.push_back(found->modifier);
    }
    copy_ = CopyText(table_, picked);
    givesIdentity_ = std::ranges::any_of(picked, &ado::Column::isIdentity);
    isBinary_ = std::ranges::all_of(types_, HasPgBinaryForm);
    checksAtTheEnd_ = HasTriggersBehindRows();
  }

  void Load(const ado::LoadRows& rows, std::size_t tolerated,
            std::vector<ado::Refusal>& refused) override {
    RequireWidth(rows);
    const std::size_t before = refused.size(), count = rows.Count();
    const bool seeks = tolerated > 0 || checksAtTheEnd_;
    isTextNow_ = false;
    for (std::size_t at = 0, length = count; at < count;) {
      std::size_t end = at + std::min(length, count - at);
      const auto error = Copy(rows, at, end, seeks && session_->IsInBlock());
      if (!error) {
        at = end;
        length *= 2;
        continue;
      }
      const std::size_t row = RowAtFault(*error, at, end);
      if (row == end) {
        length = (end - at) / 2;
      } else if (row > at && tolerated > 0) {
        // The rows before it go in first: it may be refused on their account.
        length = row - at;
      } else {
        refused.push_back({row, 0, Description(*error)});
        if (refused.size() - before > tolerated) return;
        ++at;
      }
    }
  }

  bool Send(const ado::LoadRows& rows) override {
    RequireWidth(rows);
    if (!ahead_) {
      // Outside a transaction each call's rows are stored for good.
      if (refusals_ > kMostRefusals || !session_->IsInBlock()) return false;
      isTextNow_ = false;
      isAheadWhole_ = true;
      ahead_ = Begin(true);
    }
    isAheadWhole_ &= AddRows(rows, 0, rows.Count(), *ahead_) == rows.Count();
    return true;
  }

  bool Settle() override {
    const std::unique_ptr<PgCopyIn> ahead = std::move(ahead_);
    if (!ahead) return true;
    // What the binary format does not take has it given up, at its scope's end.
    const bool isTaken = isAheadWhole_ && !End(*ahead, !IsText());
    if (!isTaken) ++refusals_;
    return isTaken;
  }

  std::optional<std::int64_t> LoadAll(ado::BulkRead& rows, std::span<const std::size_t> columns,
                                      const std::function<void(std::int64_t)>& progress) override {
    auto* const read = dynamic_cast<PgCopyRead*>(&rows);
    if (read == nullptr || read->HasBegun() || !TakesImagesOf(*read, columns)) return std::nullopt;
    const std::unique_ptr<PgCopyOut> images = read->OpenImages(columns);
    if (!images) return std::nullopt;
    PgCopyIn copy(*session_, copy_ + kBinary, Place(), session_->IsInBlock());
    SendImages(*images, progress, copy);
    if (copy.End()) return std::nullopt;
    rows_ += copy.Count();
    return images->Count();
  }

  std::int64_t Finish() override {
    if (givesIdentity_ && rows_ > 0) AdvanceNumbering(*session_, table_);
    return rows_;
  }

 private:
  void RequireWidth(const ado::LoadRows& rows) {
    if (const std::string problem = WidthProblem(rows, types_.size()); !problem.empty())
      throw session_->Refusal(Place() + ": " + problem);
  }

  /// True for foreign keys and triggers that look at rows when all of a statement's are stored:
  /// their errors name no row.
  bool HasTriggersBehindRows() {
    constexpr int kBefore = 2, kInsert = 4, kInstead = 64;
    const PgSession::Parameter table[] = {table_.Quoted()};
    const PgResult found = session_->RunWith(
        {"SELECT 1 FROM pg_catalog.pg_trigger WHERE tgrelid = $1::regclass AND tgtype & " +
         std::to_string(kInsert) + " <> 0 AND tgtype & " + std::to_string(kBefore + kInstead) +
         " = 0 LIMIT 1"},
        table);
    return PQntuples(found.get()) > 0;
  }

  /// The row that an error names; `end` when it names none. The only row is always the one.
  std::size_t RowAtFault(const PgError& error, std::size_t begin, std::size_t end) const {
    const std::size_t row = PlaceIn(error.context, table_.name).row;
    if (end - begin == 1) return begin;
    return row == 0 || row > end - begin ? end : begin + row - 1;
  }

  std::string Description(const PgError& error) const {
    const std::string column = PlaceIn(error.context, table_.name).column;
    return (column.empty() ? "" : "column " + column + ": ") + error.text;
  }

  /// True when the columns of a query hold what those of the table take, byte for byte.
  bool TakesImagesOf(const PgCopyRead& read, std::span<const std::size_t> columns) const {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const PgType& type = read.Types()[columns[i]];
      if (type.number != types_[i] || !HasPortableImage(type.number)) return false;
      if (modifiers_[i] != -1 && modifiers_[i] != type.modifier) return false;
    }
    return columns.size() == types_.size();
  }

  /// Loads the rows from `begin` to `end`, or fewer: `end` is then where they end. Answers an error
  /// that lies in the rows, and then none of them is loaded.
  std::optional<PgError> Copy(const ado::LoadRows& rows, std::size_t begin, std::size_t& end,
                              bool hasPoint) {
    const std::unique_ptr<PgCopyIn> copy = Begin(hasPoint);
    const std::size_t added = AddRows(rows, begin, end, *copy);
    const bool wasBinary = !IsText();
    if (added < end) {
      // The server shall judge this row, and those behind it, by their texts.
      end = added;
      isTextNow_ = true;
      if (++textCalls_ > kMostTextCalls) isBinary_ = false;
    }
    auto error = End(*copy, wasBinary);
    // In a transaction that has failed nothing can be tried again.
    const bool isLocated =
        !error || RowAtFault(*error, begin, end) < end || !session_->HasFailedBlock();
    if (!isLocated) throw session_->Refusal(Place() + ": " + error->text);
    return error;
  }

  /// Begins a COPY of rows that come as texts or in the binary format.
  std::unique_ptr<PgCopyIn> Begin(bool hasPoint) {
    buffer_.Clear();
    if (!IsText()) buffer_.Append(kPgBinaryHead);
    return std::make_unique<PgCopyIn>(*session_, copy_ + (IsText() ? "" : kBinary), Place(),
                                      hasPoint);
  }

  std::optional<PgError> End(PgCopyIn& copy, bool isBinary) {
    if (isBinary) buffer_.Append(kPgBinaryEnd);
    Flush(copy);
    auto error = copy.End();
    rows_ += copy.Count();
    return error;
  }

  /// Sends the rows from `begin` to `end`, or to the first that the binary format does not take;
  /// answers where they end.
  std::size_t AddRows(const ado::LoadRows& rows, std::size_t begin, std::size_t end,
                      PgCopyIn& copy) {
    const bool isText = IsText();
    for (std::size_t row = begin; row < end; ++row) {
      if (isText)
        AddPgTextRow(types_, rows.Row(row), buffer_);
      else if (!AddPgBinaryRow(types_, rows.Row(row), buffer_))
        return row;
      if (buffer_.Bytes().size() >= kPieceSize && !Flush(copy)) break;
    }
    return end;
  }

  /// Sends what another server sends, as it comes.
  void SendImages(PgCopyOut& images, const std::function<void(std::int64_t)>& progress,
                  PgCopyIn& copy) {
    buffer_.Clear();
    std::int64_t pieces = 0;
    for (std::span<char> piece = images.Next(); !piece.empty(); piece = images.Next()) {
      buffer_.Append({piece.data(), piece.size()});
      ++pieces;
      if (buffer_.Bytes().size() < kImagesSize) continue;
      if (!Flush(copy)) break;
      progress(pieces);
    }
    Flush(copy);
  }

  /// False when the server takes no rows.
  bool Flush(PgCopyIn& copy) {
    const bool isSent = copy.Send(buffer_.Bytes());
    buffer_.Clear();
    return isSent;
  }

  std::string Place() const { return "table " + table_.name; }

  bool IsText() const { return !isBinary_ || isTextNow_; }

  const std::shared_ptr<PgSession> session_;
  const PgTable table_;
  std::string copy_;
  std::vector<unsigned> types_;
  std::vector<int> modifiers_;
  bool isBinary_ = false;
  bool isTextNow_ = false;  ///< For the rest of a call.
  int textCalls_ = 0;
  bool checksAtTheEnd_ = false;
  bool givesIdentity_ = false;
  PgCopyBuffer buffer_;
  std::unique_ptr<PgCopyIn> ahead_;  ///< Of rows sent and not yet judged; null: none.
  bool isAheadWhole_ = true;         ///< The format took each of them.
  int refusals_ = 0;                 ///< Of rows sent.
  std::int64_t rows_ = 0;
};

}  // namespace

std::unique_ptr<ado::BulkLoad> NewPgBulkLoad(std::shared_ptr<PgSession> session,
                                             const std::string& table,
                                             std::span<const std::string> columns) {
  return std::make_unique<PgBulkLoad>(std::move(session), table, columns);
}

}  // namespace torvik

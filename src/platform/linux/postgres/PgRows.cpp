#include "platform/linux/postgres/PgRows.h"

#include <charconv>
#include <utility>

#include "platform/linux/database/ServerValues.h"

namespace torvik {
namespace {

int Nibble(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  return (c | 0x20) - 'a' + 10;
}

template <typename Number>
ado::Value NumberOr(std::string_view text) {
  Number number{};
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec == std::errc()) return number;
  return std::string(text);
}

class PgRows final : public QueryRows {
 public:
  explicit PgRows(PgResult result) : result_(std::move(result)) {}

  int ColumnCount() const override { return PQnfields(result_.get()); }
  std::string ColumnName(int column) const override {
    const char* name = PQfname(result_.get(), column);
    return name == nullptr ? "" : name;
  }
  bool Step() override { return ++row_ < PQntuples(result_.get()); }
  ado::Value Column(int column) const override { return ValueAt(result_.get(), row_, column); }

 private:
  const PgResult result_;
  int row_ = -1;
};

}  // namespace

PgForm FormOf(unsigned type) {
  switch (type) {
    case 16: return PgForm::Boolean;
    case 17: return PgForm::Bytes;
    case 20:
    case 21:
    case 23:
    case 26: return PgForm::Integer;  // int8, int2, int4, oid
    case 700:
    case 701: return PgForm::Real;
    case 1114: return PgForm::Moment;
    case 1184: return PgForm::ZonedMoment;
    case 1700: return PgForm::Decimal;
    case 2950: return PgForm::Identifier;
    default: return PgForm::Text;
  }
}

std::size_t DecodeBytes(char* text, std::size_t size) {
  if (size < 2 || text[0] != '\\' || text[1] != 'x') return size;
  for (std::size_t i = 2; i + 1 < size; i += 2)
    text[i / 2 - 1] = static_cast<char>(Nibble(text[i]) << 4 | Nibble(text[i + 1]));
  return size / 2 - 1;
}

std::size_t LengthWithoutZone(std::string_view moment) {
  const std::size_t time = moment.find(' ');
  if (time == std::string_view::npos) return moment.size();
  const std::size_t zone = moment.find_first_of("+-", time);
  // What is before Christ has that behind the zone, and is left as it is.
  return moment.ends_with("BC") ? moment.size() : std::min(zone, moment.size());
}

ado::Value ValueAt(const PGresult* result, int row, int column) {
  if (PQgetisnull(result, row, column) != 0) return ado::Null{};
  std::string text(PQgetvalue(result, row, column),
                   static_cast<std::size_t>(PQgetlength(result, row, column)));
  switch (FormOf(PQftype(result, column))) {
    case PgForm::Integer: return NumberOr<std::int64_t>(text);
    case PgForm::Boolean: return std::int64_t{text == "t"};
    case PgForm::Real: return NumberOr<double>(text);
    case PgForm::Decimal: return ExactNumber(text);
    case PgForm::ZonedMoment: return text.substr(0, LengthWithoutZone(text));
    case PgForm::Bytes: text.resize(DecodeBytes(text.data(), text.size())); return ado::Blob{text};
    case PgForm::Identifier: return InCapitals(text);
    case PgForm::Moment:
    case PgForm::Text: break;
  }
  return text;
}

std::unique_ptr<QueryRows> NewPgRows(PgResult result) {
  return std::make_unique<PgRows>(std::move(result));
}

}  // namespace torvik

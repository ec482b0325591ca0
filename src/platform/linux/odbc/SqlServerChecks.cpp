#include "platform/linux/odbc/SqlServerChecks.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "platform/NumberText.h"
#include "platform/Text.h"
#include "platform/linux/odbc/OdbcLoadValue.h"

namespace torvik {
namespace {

bool HasDigit(std::string_view text) {
  return std::ranges::any_of(text, IsDigit);
}

/// The two digits at a place; -1 when they are none.
int PairAt(std::string_view text, std::size_t at) {
  if (at + 2 > text.size() || !IsDigit(text[at]) || !IsDigit(text[at + 1])) return -1;
  return 10 * (text[at] - '0') + text[at + 1] - '0';
}

bool IsIdentifier(std::string_view text) {
  if (text.starts_with('{') && text.ends_with('}')) text = text.substr(1, text.size() - 2);
  if (text.size() != 36) return false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool isDash = at == 8 || at == 13 || at == 18 || at == 23;
    const char c = LowerAscii(text[at]);
    if (isDash ? c != '-' : !IsDigit(c) && (c < 'a' || c > 'f')) return false;
  }
  return true;
}

/// False for what is plainly no time; other forms are the server's to judge.
bool MayBeTime(std::string_view text) {
  if (!HasDigit(text)) return false;
  if (text.size() < 5 || text[2] != ':') return true;
  return PairAt(text, 0) <= 23 && PairAt(text, 3) <= 59 && PairAt(text, 6) <= 59;
}

bool MayBeMoment(std::string_view text) {
  if (!HasDigit(text)) return false;
  if (text.size() < 10 || text[4] != '-' || text[7] != '-') return true;
  const int month = PairAt(text, 5), day = PairAt(text, 8);
  return month >= 1 && month <= 12 && day >= 1 && day <= 31 &&
         (text.size() < 11 || MayBeTime(text.substr(11)));
}

/// `most` is the largest amount, in units of the last digit; one more is possible below 0.
bool IsAmount(std::string_view text, std::int64_t most) {
  const bool isNegative = text.starts_with('-');
  const std::string_view digits = text.substr(isNegative ? 1 : 0);
  const std::size_t point = std::min(digits.find('.'), digits.size());
  std::string units(digits.substr(0, point));
  for (std::size_t place = 1; place <= 4; ++place)
    units += point + place < digits.size() ? digits[point + place] : '0';
  const auto amount = NumberOf<std::uint64_t>(units);
  return amount && *amount <= static_cast<std::uint64_t>(most) + isNegative;
}

/// What a column is checked for; the text says what a value is not.
struct Check {
  const char* type;
  bool (*takes)(std::string_view text);
  const char* wanted;
};

constexpr Check kChecks[] = {
    {"uniqueidentifier", IsIdentifier, "is no identifier"},
    {"time", MayBeTime, "is no time of day"},
    {"datetimeoffset", MayBeMoment, "is no date and time"},
    {"datetime", [](std::string_view text) { return text >= "1753"; }, "lies before 1753"},
    {"smalldatetime",
     [](std::string_view text) { return text >= "1900" && text < "2079-06-06 23:59:30"; },
     "lies outside 1900-01-01 to 2079-06-06"},
    {"money",
     [](std::string_view text) { return IsAmount(text, std::numeric_limits<std::int64_t>::max()); },
     "is outside the range of money"},
    {"smallmoney",
     [](std::string_view text) { return IsAmount(text, std::numeric_limits<std::int32_t>::max()); },
     "is outside the range of smallmoney"},
    {"real",
     [](std::string_view text) {
       const auto number = NumberOf<double>(text);
       return !number || std::abs(*number) <= std::numeric_limits<float>::max();
     },
     "is outside the range of real"}};

const Check* CheckOf(const ado::Column& column) {
  const std::string type = LowerAscii(column.declaredType.substr(0, column.declaredType.find('(')));
  const auto* found = std::ranges::find(kChecks, type, &Check::type);
  return found == std::end(kChecks) ? nullptr : found;
}

class CheckedLoad final : public ado::BulkLoad {
 public:
  CheckedLoad(const std::vector<ado::Column>& columns, std::string place,
              std::unique_ptr<ado::BulkLoad> inner)
      : place_(std::move(place)), inner_(std::move(inner)), width_(columns.size()) {
    for (std::size_t i = 0; i < columns.size(); ++i)
      if (const Check* check = CheckOf(columns[i])) checks_.push_back({i, check, columns[i].name});
  }

  void Load(const ado::LoadRows& rows, std::size_t tolerated,
            std::vector<ado::Refusal>& refused) override {
    if (checks_.empty() || rows.width != width_) return inner_->Load(rows, tolerated, refused);
    const std::size_t before = refused.size();
    std::vector<std::size_t> which;
    for (std::size_t row = 0; row < rows.Count(); ++row) {
      std::string misfit = MisfitOf(rows.Row(row));
      if (misfit.empty())
        which.push_back(row);
      else
        refused.push_back({row, 0, std::move(misfit)});
    }
    const std::size_t misfits = refused.size() - before;
    if (misfits == 0) return inner_->Load(rows, tolerated, refused);
    if (misfits > tolerated) return;
    LoadOthers(rows, which, tolerated - misfits, refused);
    std::ranges::sort(refused.begin() + static_cast<std::ptrdiff_t>(before), refused.end(), {},
                      &ado::Refusal::row);
  }

  std::int64_t Finish() override { return inner_->Finish(); }

 private:
  struct Checked {
    std::size_t place;
    const Check* check;
    std::string name;
  };

  std::string MisfitOf(std::span<const ado::LoadValue> row) const {
    for (const auto& [place, check, name] : checks_) {
      if (row[place].IsNull()) continue;
      const std::string number = row[place].IsText() ? "" : TextOf(row[place]);
      const std::string_view text = row[place].IsText() ? row[place].Text() : number;
      if (!check->takes(text))
        return place_ + ", column " + name + ": \"" + std::string(text) + "\" " + check->wanted;
    }
    return "";
  }

  void LoadOthers(const ado::LoadRows& rows, const std::vector<std::size_t>& which,
                  std::size_t tolerated, std::vector<ado::Refusal>& refused) {
    std::vector<ado::LoadValue> values;
    for (const std::size_t row : which)
      values.insert(values.end(), rows.Row(row).begin(), rows.Row(row).end());
    const std::size_t before = refused.size();
    inner_->Load({values, rows.width}, tolerated, refused);
    for (std::size_t i = before; i < refused.size(); ++i) refused[i].row = which[refused[i].row];
  }

  const std::string place_;
  const std::unique_ptr<ado::BulkLoad> inner_;
  const std::size_t width_;
  std::vector<Checked> checks_;
};

}  // namespace

std::unique_ptr<ado::BulkLoad> NewCheckedLoad(const std::vector<ado::Column>& columns,
                                              std::string place,
                                              std::unique_ptr<ado::BulkLoad> inner) {
  if (std::ranges::none_of(columns, CheckOf)) return inner;
  return std::make_unique<CheckedLoad>(columns, std::move(place), std::move(inner));
}

}  // namespace torvik

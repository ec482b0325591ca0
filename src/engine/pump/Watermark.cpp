#include "engine/pump/Watermark.h"

#include <array>
#include <charconv>
#include <utility>
#include <vector>

#include "engine/pump/RowBatch.h"
#include "platform/NumberText.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

std::string_view WithoutLeading(std::string_view text, char character) {
  text.remove_prefix(std::min(text.find_first_not_of(character), text.size()));
  return text;
}

std::string_view WithoutTrailing(std::string_view text, char character) {
  return text.substr(0, text.find_last_not_of(character) + 1);
}

/// A decimal number in its parts, without the zeros that say nothing.
struct Decimal {
  explicit Decimal(std::string_view text) {
    isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) text.remove_prefix(1);
    const std::size_t point = std::min(text.find('.'), text.size());
    whole = WithoutLeading(text.substr(0, point), '0');
    fraction = WithoutTrailing(text.substr(std::min(point + 1, text.size())), '0');
    isNegative &= !whole.empty() || !fraction.empty();
  }

  int CompareSize(const Decimal& other) const {
    if (whole.size() != other.whole.size()) return whole.size() < other.whole.size() ? -1 : 1;
    if (const int order = whole.compare(other.whole)) return order;
    return fraction.compare(other.fraction);
  }

  bool isNegative;
  std::string_view whole, fraction;
};

/// A time's parts of a second may have zeros behind them, or be left out.
std::string_view WithoutEmptyFraction(std::string_view time) {
  if (time.find('.') == std::string_view::npos) return time;
  return WithoutTrailing(WithoutTrailing(time, '0'), '.');
}

/// The digits of a value that is not NULL; those of a number lie in `digits`.
std::string_view TextOf(const ado::LoadValue& value, std::array<char, 400>& digits) {
  if (value.IsText()) return value.Text();
  const auto end =
      value.GetKind() == ado::LoadValue::Kind::Integer
          ? std::to_chars(digits.begin(), digits.end(), value.Integer())
          : std::to_chars(digits.begin(), digits.end(), value.Real(), std::chars_format::fixed);
  return {digits.data(), static_cast<std::size_t>(end.ptr - digits.data())};
}

}  // namespace

int CompareDecimals(std::string_view a, std::string_view b) {
  const Decimal left(a), right(b);
  if (left.isNegative != right.isNegative) return left.isNegative ? -1 : 1;
  return left.isNegative ? right.CompareSize(left) : left.CompareSize(right);
}

Watermark::Watermark(std::string column, std::optional<std::string> mark)
    : column_(std::move(column)),
      mark_(mark ? std::optional(MarkOf(std::move(*mark))) : std::nullopt),
      highest_(mark_) {}

Watermark::Mark Watermark::MarkOf(std::string text) {
  const auto number = NumberOf<std::int64_t>(text);
  return {std::move(text), number};
}

void Watermark::Resolve(const ado::Column& column, std::size_t position) {
  using enum ado::ColumnKind;
  isNumber_ = column.kind == Integer || column.kind == Decimal;
  position_ = position;
  if (isNumber_ || column.kind == Date || column.kind == DateTime) return;
  throw PlatformError(0,
                      "the watermark's column " + column.name +
                          (column.declaredType.empty() ? "" : " (" + column.declaredType + ")") +
                          " holds neither whole or decimal numbers nor dates; choose one that does",
                      "data pump");
}

bool Watermark::IsBeyond(const ado::LoadValue& value, const Mark& mark) const {
  if (value.GetKind() == ado::LoadValue::Kind::Integer && mark.number)
    return value.Integer() > *mark.number;
  std::array<char, 400> digits;
  const std::string_view text = TextOf(value, digits);
  if (isNumber_) return CompareDecimals(text, mark.text) > 0;
  return WithoutEmptyFraction(text) > WithoutEmptyFraction(mark.text);
}

void Watermark::Keep(RowBatch& batch) const {
  if (!mark_ || batch.RowCount() == 0) return;
  std::vector<ado::LoadValue> values;
  std::vector<RowOrigin> origins;
  for (std::size_t i = 0; i < batch.RowCount(); ++i) {
    const auto row = batch.Row(i);
    if (!IsBeyond(row[position_], *mark_)) {
      batch.CountSkippedRow();
      continue;
    }
    values.insert(values.end(), row.begin(), row.end());
    origins.push_back(batch.Origin(i));
  }
  if (origins.size() < batch.RowCount()) batch.SwapRows(values, batch.Rows().width, origins);
}

void Watermark::Note(std::span<const ado::LoadValue> row) {
  const ado::LoadValue& value = row[position_];
  if (highest_ && !IsBeyond(value, *highest_)) return;
  std::array<char, 400> digits;
  highest_ = MarkOf(std::string(TextOf(value, digits)));
}

std::optional<std::string> Watermark::Highest() const {
  return highest_ ? std::optional(highest_->text) : std::nullopt;
}

}  // namespace torvik::engine

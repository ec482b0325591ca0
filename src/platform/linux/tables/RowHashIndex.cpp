#include "platform/linux/tables/RowHashIndex.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <string_view>

#include "platform/NumberText.h"
#include "platform/Text.h"

namespace torvik {
namespace {

std::optional<double> NumberIn(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  const auto number = NumberOf<double>(text);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

bool IsNull(const ado::Value& value) {
  return std::holds_alternative<ado::Null>(value);
}

struct Hasher {
  std::uint64_t operator()(const ado::Null&) const { return 0; }
  std::uint64_t operator()(std::int64_t number) const {
    return (*this)(static_cast<double>(number));
  }
  std::uint64_t operator()(double number) const { return std::hash<double>()(number); }
  std::uint64_t operator()(const std::string& text) const {
    const std::string_view trimmed = Trimmed(text, " \t\n\v\f\r");
    if (const auto number = NumberIn(trimmed)) return (*this)(*number);
    return std::hash<std::string>()(LowerAscii(trimmed));
  }
  std::uint64_t operator()(const ado::Blob& blob) const {
    return std::hash<std::string>()(blob.bytes);
  }
};

}  // namespace

std::uint64_t LooseHash(std::span<const ado::Value> values) {
  std::uint64_t hash = 0;
  for (const ado::Value& value : values)
    hash = (hash ^ std::visit(Hasher(), value)) * 0x9E3779B97F4A7C15U;
  return hash;
}

RowHashIndex::RowHashIndex(FileRows& rows, std::span<const int> columns) {
  std::vector<ado::Value> values(columns.size());
  while (rows.Step()) {
    std::ranges::transform(columns, values.begin(),
                           [&](int column) { return rows.Column(column); });
    // NULL equals nothing.
    if (std::ranges::none_of(values, IsNull)) places_.emplace_back(LooseHash(values), rows.Place());
  }
  std::ranges::sort(places_);
}

std::span<const std::pair<std::uint64_t, std::int64_t>> RowHashIndex::Find(
    std::span<const ado::Value> values) const {
  const auto hashOf = &std::pair<std::uint64_t, std::int64_t>::first;
  const std::uint64_t hash = LooseHash(values);
  return {std::ranges::lower_bound(places_, hash, {}, hashOf),
          std::ranges::upper_bound(places_, hash, {}, hashOf)};
}

}  // namespace torvik

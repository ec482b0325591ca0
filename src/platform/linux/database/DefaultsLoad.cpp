#include "platform/linux/database/DefaultsLoad.h"

#include <algorithm>
#include <deque>
#include <map>
#include <utility>

namespace torvik {
namespace {

/// The places of the values that a row brings, from 0.
using Places = std::vector<std::size_t>;

class DefaultsLoad final : public ado::BulkLoad {
 public:
  DefaultsLoad(const std::vector<ado::Column>& columns, LoadOpener open)
      : columns_(columns), open_(std::move(open)) {
    for (std::size_t place = 0; place < columns_.size(); ++place) {
      all_.push_back(place);
      if (!columns_[place].defaultText.empty()) withDefault_.push_back(place);
    }
    LoadOf(all_);
  }
  ~DefaultsLoad() override {
    // What a load has set for its session ends before what an earlier one has set.
    while (!loads_.empty()) loads_.pop_back();
  }
  DefaultsLoad(const DefaultsLoad&) = delete;
  DefaultsLoad& operator=(const DefaultsLoad&) = delete;

  void Load(const ado::LoadRows& rows, std::size_t tolerated,
            std::vector<ado::Refusal>& refused) override {
    if (rows.width != columns_.size()) return LoadOf(all_).Load(rows, tolerated, refused);
    std::map<Places, std::vector<std::size_t>> groups;
    std::vector<std::size_t>& whole = groups[all_];
    for (std::size_t row = 0; row < rows.Count(); ++row)
      (IsWhole(rows.Row(row)) ? whole : groups[PlacesOf(rows.Row(row))]).push_back(row);
    const auto before = static_cast<std::ptrdiff_t>(refused.size());
    for (const auto& [places, which] : groups) {
      const std::size_t soFar = refused.size() - static_cast<std::size_t>(before);
      if (soFar > tolerated) break;
      LoadGroup(rows, places, which, tolerated - soFar, refused);
    }
    std::sort(refused.begin() + before, refused.end(),
              [](const auto& a, const auto& b) { return a.row < b.row; });
  }

  bool Send(const ado::LoadRows& rows) override {
    if (rows.width != columns_.size()) return false;
    for (std::size_t row = 0; row < rows.Count(); ++row)
      if (!IsWhole(rows.Row(row))) return false;
    return LoadOf(all_).Send(rows);
  }

  bool Settle() override { return LoadOf(all_).Settle(); }

  std::int64_t Finish() override {
    std::int64_t rows = 0;
    for (const auto& [places, load] : loads_) rows += load->Finish();
    return rows;
  }

 private:
  bool IsWhole(std::span<const ado::LoadValue> row) const {
    return std::ranges::none_of(withDefault_,
                                [&](std::size_t place) { return row[place].IsNull(); });
  }
  Places PlacesOf(std::span<const ado::LoadValue> row) const {
    Places places;
    for (const std::size_t place : all_)
      if (!row[place].IsNull() || columns_[place].defaultText.empty()) places.push_back(place);
    return places;
  }

  void LoadGroup(const ado::LoadRows& rows, const Places& places,
                 const std::vector<std::size_t>& which, std::size_t tolerated,
                 std::vector<ado::Refusal>& refused) {
    if (which.empty()) return;
    if (which.size() == rows.Count() && places.size() == rows.width)
      return LoadOf(all_).Load(rows, tolerated, refused);
    const std::size_t before = refused.size();
    if (places.empty()) {
      for (std::size_t row = 0; row < which.size() && row <= tolerated; ++row)
        refused.push_back({row, 0, "the row has no value but defaults; give it one"});
    } else {
      std::vector<ado::LoadValue> values;
      values.reserve(which.size() * places.size());
      for (const std::size_t row : which)
        for (const std::size_t place : places) values.push_back(rows.Row(row)[place]);
      LoadOf(places).Load({values, places.size()}, tolerated, refused);
    }
    for (std::size_t i = before; i < refused.size(); ++i) refused[i].row = which[refused[i].row];
  }

  ado::BulkLoad& LoadOf(const Places& places) {
    const auto known = std::ranges::find(loads_, places, [](const auto& one) { return one.first; });
    if (known != loads_.end()) return *known->second;
    std::vector<ado::Column> columns;
    for (const std::size_t place : places) columns.push_back(columns_[place]);
    return *loads_.emplace_back(places, open_(columns)).second;
  }

  const std::vector<ado::Column> columns_;
  const LoadOpener open_;
  Places all_, withDefault_;
  std::deque<std::pair<Places, std::unique_ptr<ado::BulkLoad>>> loads_;
};

}  // namespace

std::unique_ptr<ado::BulkLoad> NewDefaultsLoad(const std::vector<ado::Column>& columns,
                                               LoadOpener open) {
  const bool hasDefault =
      std::ranges::any_of(columns, [](const auto& column) { return !column.defaultText.empty(); });
  if (!hasDefault) return open(columns);
  return std::make_unique<DefaultsLoad>(columns, std::move(open));
}

}  // namespace torvik

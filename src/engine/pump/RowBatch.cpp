#include "engine/pump/RowBatch.h"

#include <cstring>
#include <utility>

namespace torvik::engine {

void RowBatch::Clear() {
  used_ = 0;
  origins_.clear();
  badRows_.clear();
  skipped_ = 0;
  textBytes_ = 0;
  texts_->release();
}

void RowBatch::AddBadRow(const RowOrigin& origin, RowError error) {
  badRows_.push_back({origin, std::move(error)});
}

void RowBatch::SortBadRows() {
  std::ranges::stable_sort(badRows_, {}, [](const BadRow& row) { return row.origin.position; });
}

void RowBatch::DropBadRowsBehind(const RowOrigin& origin) {
  std::erase_if(badRows_, [&](const BadRow& row) { return row.origin.position > origin.position; });
}

std::span<const ado::LoadValue> RowBatch::Row(std::size_t row) const {
  return std::span(values_).subspan(row * width_, width_);
}

void RowBatch::SwapRows(std::vector<ado::LoadValue>& values, std::size_t width,
                        std::vector<RowOrigin>& origins) {
  values_.swap(values);
  origins_.swap(origins);
  used_ = values_.size();
  width_ = width;
}

void RowBatch::KeepRange(std::int64_t first, std::int64_t from, std::int64_t to) {
  std::vector<ado::LoadValue> values;
  std::vector<RowOrigin> origins;
  std::vector<BadRow> badRows;
  std::size_t good = 0, bad = 0;
  for (std::int64_t number = first; good < origins_.size() || bad < badRows_.size(); ++number) {
    const bool isBad =
        good == origins_.size() ||
        (bad < badRows_.size() && badRows_[bad].origin.position < origins_[good].position);
    const bool keeps = number >= from && number <= to;
    if (isBad) {
      if (keeps) badRows.push_back(badRows_[bad]);
      ++bad;
      continue;
    }
    if (keeps) {
      const auto row = Row(good);
      values.insert(values.end(), row.begin(), row.end());
      origins.push_back(origins_[good]);
    }
    ++good;
  }
  badRows_.swap(badRows);
  SwapRows(values, width_, origins);
}

std::span<char> RowBatch::Block(std::size_t bytes) {
  // One long row does not keep its memory for all that follow.
  if (block_.size() / 4 > bytes) std::vector<char>().swap(block_);
  if (block_.size() < bytes) block_.resize(bytes);
  return block_;
}

std::size_t RowBatch::Bytes() const {
  return block_.size() + textBytes_ + values_.size() * sizeof values_[0] +
         origins_.capacity() * sizeof origins_[0];
}

std::span<char> RowBatch::Allocate(std::size_t bytes) {
  textBytes_ += bytes;
  return {static_cast<char*>(texts_->allocate(bytes, 1)), bytes};
}

std::string_view RowBatch::Store(std::string_view text) {
  const std::span<char> copy = Allocate(text.size());
  if (!text.empty()) std::memcpy(copy.data(), text.data(), text.size());
  return {copy.data(), copy.size()};
}

}  // namespace torvik::engine

#include "engine/pump/RowBatch.h"

#include <cstring>

namespace torvik::engine {

void RowBatch::Clear() {
  values_.clear();
  positions_.clear();
  texts_->release();
}

std::span<ado::LoadValue> RowBatch::AddRow(std::int64_t position, std::size_t width) {
  width_ = width;
  positions_.push_back(position);
  values_.resize(values_.size() + width);
  return std::span(values_).last(width);
}

std::span<const ado::LoadValue> RowBatch::Row(std::size_t row) const {
  return std::span(values_).subspan(row * width_, width_);
}

void RowBatch::SwapValues(std::vector<ado::LoadValue>& values, std::size_t width) {
  values_.swap(values);
  width_ = width;
}

std::span<char> RowBatch::Block(std::size_t bytes) {
  if (block_.size() < bytes) block_.resize(bytes);
  return block_;
}

std::span<char> RowBatch::Allocate(std::size_t bytes) {
  return {static_cast<char*>(texts_->allocate(bytes, 1)), bytes};
}

std::string_view RowBatch::Store(std::string_view text) {
  const std::span<char> copy = Allocate(text.size());
  std::memcpy(copy.data(), text.data(), text.size());
  return {copy.data(), copy.size()};
}

}  // namespace torvik::engine

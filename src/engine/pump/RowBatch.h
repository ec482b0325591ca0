#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <span>
#include <string_view>
#include <vector>

#include "platform/Ado.h"

namespace torvik::engine {

/// Rows of text values on their way from a source to a destination. The values point into the
/// batch's own memory and stay valid until it is cleared, which keeps that memory for the next
/// rows.
class RowBatch {
 public:
  /// Forgets the rows and every text; keeps the memory.
  void Clear();

  /// Adds a row of `width` values, all NULL; every row of a batch has the same width. `position` is
  /// the row's number as its source counts: a line of a file, a row of a query. The answer is valid
  /// until the next row is added.
  std::span<ado::LoadValue> AddRow(std::int64_t position, std::size_t width);

  std::size_t RowCount() const { return positions_.size(); }
  std::span<const ado::LoadValue> Row(std::size_t row) const;
  std::int64_t Position(std::size_t row) const { return positions_[row]; }

  /// Exchanges the values of all rows, row after row, for `values`: RowCount() times `width` of
  /// them. Positions and texts stay.
  void SwapValues(std::vector<ado::LoadValue>& values, std::size_t width);

  /// At least `bytes` bytes for a source to read into. Asking again may move the block: values must
  /// not point into it by then.
  std::span<char> Block(std::size_t bytes);

  /// Room for a text of `bytes` bytes beside the block.
  std::span<char> Allocate(std::size_t bytes);
  /// A copy of `text` in the batch's own memory.
  std::string_view Store(std::string_view text);

 private:
  std::vector<ado::LoadValue> values_;
  std::vector<std::int64_t> positions_;
  std::size_t width_ = 0;
  std::vector<char> block_;
  std::unique_ptr<std::pmr::monotonic_buffer_resource> texts_ =
      std::make_unique<std::pmr::monotonic_buffer_resource>();
};

}  // namespace torvik::engine

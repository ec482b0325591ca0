#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <span>
#include <string_view>
#include <vector>

#include "engine/pump/RowError.h"
#include "platform/Bulk.h"

namespace torvik::engine {

/// A row as it stands in its source.
struct RowOrigin {
  std::int64_t position = 0;    ///< As the source counts: a line of a file, a row of a query.
  std::uint64_t offset = 0;     ///< Of the row's first byte in the file.
  std::uint64_t length = 0;     ///< Of the row in the file, its end included; 0 for a query.
  std::string_view bytes = {};  ///< The row's own bytes; not all of them where it is too long.
};

/// A row that could not be read.
struct BadRow {
  RowOrigin origin;
  RowError error;
};

/// Rows of values on their way from a source to a destination. The values point into the
/// batch's own memory and stay valid until it is cleared, which keeps that memory for the next
/// rows.
class RowBatch {
 public:
  /// Forgets the rows and every text; keeps the memory.
  void Clear();

  /// Adds a row of `width` values, all of which the caller sets; every row of a batch has the same
  /// width. The answer is valid until the next row is added.
  std::span<ado::LoadValue> AddRow(const RowOrigin& origin, std::size_t width) {
    width_ = width;
    origins_.push_back(origin);
    const std::size_t begin = used_;
    used_ += width;
    if (used_ > values_.size()) values_.resize(2 * used_);
    return std::span(values_).subspan(begin, width);
  }

  /// The row that was added last is none after all.
  void TakeBackRow() {
    origins_.pop_back();
    used_ -= width_;
  }

  /// Adds a row that could not be read, in place of its values.
  void AddBadRow(const RowOrigin& origin, RowError error);
  const std::vector<BadRow>& BadRows() const { return badRows_; }
  /// In the order of their origins.
  void SortBadRows();
  /// Forgets those that stand behind a row.
  void DropBadRowsBehind(const RowOrigin& origin);

  /// Rows that are neither loaded nor rejected: a script leaves them out.
  void CountSkippedRow() { ++skipped_; }
  std::int64_t SkippedRows() const { return skipped_; }

  std::size_t RowCount() const { return origins_.size(); }
  std::span<const ado::LoadValue> Row(std::size_t row) const;
  const RowOrigin& Origin(std::size_t row) const { return origins_[row]; }

  /// The memory that it takes.
  std::size_t Bytes() const;

  /// All rows, one after the other; there must be one.
  ado::LoadRows Rows() const { return {std::span(values_).first(used_), width_}; }

  /// Exchanges the rows for others made from them: `width` values for each of `origins`. Texts
  /// stay.
  void SwapRows(std::vector<ado::LoadValue>& values, std::size_t width,
                std::vector<RowOrigin>& origins);

  /// Keeps the rows whose number is in a range, the good and the bad ones counted together in the
  /// order of their origins. `first` is the number of the batch's first row.
  void KeepRange(std::int64_t first, std::int64_t from, std::int64_t to);

  /// At least `bytes` bytes for a source to read into. Asking again may move the block: values must
  /// not point into it by then.
  std::span<char> Block(std::size_t bytes);

  /// Room for a text of `bytes` bytes beside the block.
  std::span<char> Allocate(std::size_t bytes);
  /// A copy of `text` in the batch's own memory.
  std::string_view Store(std::string_view text);

 private:
  std::vector<ado::LoadValue> values_;  // the rows', and room for more
  std::size_t used_ = 0;                // how many are the rows'
  std::vector<RowOrigin> origins_;
  std::vector<BadRow> badRows_;
  std::int64_t skipped_ = 0;
  std::size_t width_ = 0;
  std::vector<char> block_;
  std::size_t textBytes_ = 0;
  std::unique_ptr<std::pmr::monotonic_buffer_resource> texts_ =
      std::make_unique<std::pmr::monotonic_buffer_resource>();
};

}  // namespace torvik::engine

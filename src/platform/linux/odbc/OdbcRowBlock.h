#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/Bulk.h"
#include "platform/linux/odbc/OdbcStatement.h"

namespace torvik {

/// Fetches the rows of a query by blocks, into memory that the driver fills.
class OdbcRowBlock {
 public:
  /// True when the statement's columns are such that a block can hold them.
  static bool Fits(const OdbcSession& session, const OdbcStatement& query);

  /// Throws the session's error when the driver does not take the block.
  OdbcRowBlock(OdbcSession& session, OdbcStatement& query);
  ~OdbcRowBlock();
  OdbcRowBlock(const OdbcRowBlock&) = delete;
  OdbcRowBlock& operator=(const OdbcRowBlock&) = delete;

  /// The next row; false when there are no more. Texts are valid until the next call.
  bool Next(std::span<ado::LoadValue> row);

  using Texts = std::unique_ptr<std::vector<std::string>>;
  /// Hands over the texts of the current row: they stay valid for as long as these live.
  Texts TakeTexts() { return std::exchange(texts_, NewTexts()); }

 private:
  struct Slot {
    OdbcStatement::Fetch fetch;
    short type = 0;          ///< Of the values in memory (SQL_C_...).
    std::size_t stride = 0;  ///< Bytes from one value to the next.
    std::string data;
    std::vector<long> lengths;
  };
  Texts NewTexts() const { return std::make_unique<std::vector<std::string>>(slots_.size()); }
  static Slot SlotOf(const OdbcStatement::ColumnInfo& column);
  bool FetchBlock();
  ado::LoadValue ValueOf(const Slot& slot, std::string& text) const;
  std::string TextOf(const Slot& slot, const char* data, std::size_t length) const;

  OdbcSession& session_;
  OdbcStatement& query_;
  std::vector<Slot> slots_;
  Texts texts_;  ///< Of the current row, by column.
  std::vector<std::uint16_t> status_;
  std::size_t fetched_ = 0;  ///< Rows of the block.
  std::size_t next_ = 0;     ///< Among them.
  bool isAtEnd_ = false;
};

}  // namespace torvik

#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CodePage.h"

namespace torvik {

/// The bytes of a record, read from its start to its end; a record may go on in others. What reads
/// behind the end throws std::runtime_error.
class XlsBytes {
 public:
  explicit XlsBytes(std::vector<std::string_view> pieces) : pieces_(std::move(pieces)) {}

  std::uint8_t Byte() { return static_cast<std::uint8_t>(Bytes(1)[0]); }
  std::uint16_t Word() { return static_cast<std::uint16_t>(Number(2)); }
  std::uint32_t Long() { return static_cast<std::uint32_t>(Number(4)); }
  std::uint64_t Quad() { return Number(8); }
  double Double();
  std::string Bytes(std::size_t size);
  void Skip(std::size_t size);
  /// What is left in the record itself and in those that it goes on in.
  std::size_t Left() const;

  /// The characters of a text of wide or narrow ones. Where it goes on in another record, that one
  /// says anew which they are.
  std::string Characters(std::size_t count, bool isWide);

  /// A text as it stands in cells of BIFF8: its size, flags, characters, and behind them its fonts
  /// and how it is pronounced, which are skipped.
  std::string Text();

 private:
  std::uint64_t Number(std::size_t size);
  std::string_view Take(std::size_t most);

  std::vector<std::string_view> pieces_;
  std::size_t piece_ = 0;
};

/// One record of a workbook's stream.
struct XlsRecord {
  std::uint16_t type;
  std::vector<std::string_view> pieces;  ///< Its own bytes and those of the records it goes on in.
};

/// Takes the record at `position` and goes behind it; nothing at the end of the stream. Throws
/// std::runtime_error for one that ends behind the stream.
std::optional<XlsRecord> TakeXlsRecord(std::string_view stream, std::size_t& position);

}  // namespace torvik

#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/linux/system/Posix.h"

namespace torvik {

/// The file beside a dBase table that holds its long texts: .dbt of dBase III and IV, .fpt of
/// FoxPro.
class DbaseMemo {
 public:
  /// `tablePath` is the table's; the memo file has its name with another ending. It is opened when
  /// a text is first asked for.
  explicit DbaseMemo(std::string tablePath) : tablePath_(std::move(tablePath)) {}

  /// The bytes that begin in a block. Throws PlatformError when there are none.
  std::string TextAt(std::uint64_t block);

 private:
  void Open();
  std::string BytesAt(std::uint64_t offset, std::size_t most) const;
  std::string UntilEndMark(std::uint64_t offset) const;
  std::string Sized(std::uint64_t offset, std::uint64_t size) const;

  const std::string tablePath_;
  std::string path_;
  std::unique_ptr<Descriptor> file_;
  bool isFoxPro_ = false;
  std::uint64_t blockSize_ = 512;
};

}  // namespace torvik

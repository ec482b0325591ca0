#pragma once

#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Bulk.h"

namespace torvik {

/// Rows that are set aside in a temporary file without a name and read back in their order.
class RowSpool {
 public:
  /// Each throws PlatformError when the file cannot be made, written or read.
  RowSpool();
  void Add(std::span<const ado::LoadValue> row);
  /// Goes from adding to reading.
  void Rewind();
  /// The next row, of as many values as were added; false when there are no more. Texts are valid
  /// until the next call.
  bool Next(std::span<ado::LoadValue> row);

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  void Write(const void* data, std::size_t size);
  void Read(void* data, std::size_t size);

  std::unique_ptr<std::FILE, CloseFile> file_;
  std::size_t rows_ = 0;
  std::vector<std::string> texts_;  ///< Of the row read last, by column.
};

}  // namespace torvik

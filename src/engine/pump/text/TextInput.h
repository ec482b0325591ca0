#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/Files.h"

namespace torvik::engine {

/// The bytes that a text source reads: those of a file, or a part of them that begins and ends
/// between two rows.
struct TextInput {
  std::string path;
  std::unique_ptr<FileReader> bytes;
  /// False of a part that others go before: it has neither mark nor header line.
  bool isStart = true;
  std::uint64_t offset = 0;  ///< Of the first byte in the file.
  std::int64_t line = 1;     ///< On which that byte stands.
};

/// The bytes of a whole file, which may be compressed or a pipe. Throws RowError when it cannot be
/// opened. `files` must outlive the input.
TextInput OpenTextInput(Files& files, const std::string& path, Compression compression);

}  // namespace torvik::engine

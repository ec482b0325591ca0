#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "engine/pump/PumpTools.h"
#include "engine/pump/text/BlockReader.h"
#include "platform/CodePage.h"
#include "platform/PlatformError.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik::engine {

/// The rows of a text, without their digits: lines and offsets depend on what stands before. What
/// they say of their own bytes must be true.
inline std::string FuzzedRows(const std::string& text, const TextFormat& format) {
  static const auto codePages = NewIconvCodePages("utf-8");
  static RowBatch batch;  // whose memory is dear
  SlowFiles files;
  files.texts["in"] = text;
  try {
    Reading reading = ReadOn(*OpenTextSource(files, *codePages, "in", format), std::move(batch));
    if (!reading.gap.empty()) std::abort();
    if (text.compare(reading.start, reading.bytes.size(), reading.bytes) != 0) std::abort();
    std::erase_if(reading.rows, [](char c) { return c >= '0' && c <= '9'; });
    return reading.rows;
  } catch (const PlatformError&) {
    return "error";
  }
}

/// Reads the text in one of four encodings; `atBlockEnd` once more where the end of a block cuts
/// it, which must make no difference.
inline void FuzzText(const std::string& text, TextFormat format, unsigned encoding,
                     bool atBlockEnd) {
  static const char* const names[] = {"utf-8", "windows-1252", "utf-16le", "shift_jis"};
  format.encoding = names[encoding % 4];
  const std::string rows = FuzzedRows(text, format);
  if (!atBlockEnd) return;
  // A line to skip before it, of the length that remains.
  const std::size_t unit = encoding % 4 == 2 ? 2 : 1;
  const bool isFixed = format.layout == TextLayout::Fixed;
  const std::string end = format.rowDelimiter.empty()     ? "\n"
                          : format.rowDelimiter != "none" ? format.rowDelimiter
                                                          : "";
  std::size_t length = BlockReader::kBlockBytes / unit - end.size() - text.size() / 2 / unit;
  if (isFixed && end.empty()) {
    length -= length % 6;  // of whole rows
    format.skipRows += static_cast<int>(length / 6);
  } else {
    ++format.skipRows;
  }
  std::string before(length, 'x');
  before += end;
  if (unit == 2) {
    static const std::string wide = [] {
      std::string text;
      for (std::size_t i = 0; i < BlockReader::kBlockBytes / 2; ++i) text += std::string("x\0", 2);
      return text;
    }();
    before = wide.substr(0, 2 * length);
    for (const char c : end) before.append({c, '\0'});
  }
  const std::string again = FuzzedRows(before + text, format);
  // A byte-order mark counts at a file's start alone.
  if (rows != "error" && !text.starts_with("\xEF\xBB\xBF") && !text.starts_with("\xFF\xFE") &&
      again != rows)
    std::abort();
}

}  // namespace torvik::engine

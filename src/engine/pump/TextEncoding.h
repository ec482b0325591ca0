#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "platform/CodePage.h"

namespace torvik::engine {

/// How the bytes of a text file become UTF-8.
struct TextEncoding {
  std::string name;
  std::size_t markBytes = 0;  ///< Of the byte-order mark at the file's start.
  /// For bytes that can be scanned as they are, value by value; null for UTF-8.
  std::unique_ptr<CodePage> codePage = {};
  /// For the others, before they are scanned: two that stand at different places of the text.
  std::unique_ptr<TextDecoder> decoder = {};
  std::unique_ptr<TextDecoder> follower = {};
};

constexpr std::size_t kLongestByteOrderMark = 4;

/// The encoding called `name` of the file that begins with `head`, which holds at least as many
/// bytes as the longest byte-order mark if the file does. utf-16 and utf-32 go by the mark, without
/// one they are little-endian. Throws RowError when the encoding is not known or the mark is that
/// of another one.
TextEncoding FindEncoding(const std::string& path, const CodePages& codePages,
                          const std::string& name, std::string_view head);

/// How texts of a new file are encoded; null for UTF-8. `mark` gets the byte-order mark that it
/// begins with. Throws RowError when the encoding is not known.
std::unique_ptr<TextEncoder> FindEncoder(const std::string& path, const CodePages& codePages,
                                         const std::string& name, std::string& mark);

}  // namespace torvik::engine

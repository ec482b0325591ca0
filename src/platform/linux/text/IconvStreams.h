#pragma once

#include <iconv.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/CodePage.h"

namespace torvik {

/// A conversion of iconv(3) from one encoding to another.
class IconvHandle {
 public:
  IconvHandle(const std::string& to, const std::string& from);
  ~IconvHandle();
  IconvHandle(const IconvHandle&) = delete;
  IconvHandle& operator=(const IconvHandle&) = delete;

  bool IsOpen() const;

  /// Begins a text anew.
  void Reset();
  /// Converts; both lose from their front what was used. Answers 0, or why it ended before `in`
  /// did: EILSEQ (invalid), EINVAL (`in` ends inside a character), E2BIG (`out` is full).
  int Convert(std::string_view& in, std::span<char>& out);
  /// Puts out what the conversion still holds back; 0 or E2BIG.
  int Flush(std::span<char>& out);

 private:
  iconv_t handle_;
};

/// Null when iconv does not know the encoding.
std::unique_ptr<TextDecoder> NewIconvDecoder(const std::string& encoding);
std::unique_ptr<TextEncoder> NewIconvEncoder(const std::string& encoding);

}  // namespace torvik

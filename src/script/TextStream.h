#pragma once

#include <string>
#include <system_error>

#include "script/Object.h"

namespace torvik::script {

class FileAccess;

/// A text file that a script reads or writes. What is written reaches the file at Close, when there
/// is much of it, and when the stream goes.
class TextStream final : public Object {
 public:
  /// For reading: takes in the whole file. `path` is an allowed one.
  static Value OpenToRead(Context& context, const std::string& path);
  /// For writing behind what the file, which exists, holds.
  static Value OpenToWrite(Context& context, const std::string& path);

  TextStream(FileAccess& files, Heap& heap, std::string path, Value content, bool reads);
  ~TextStream() override;

  std::string_view TypeName() const override { return "TextStream"; }
  int FindMember(std::string_view name) const override;
  Value Invoke(Context& context, int member, std::span<const Value> arguments) override;

 private:
  Value ReadCharacters(Context& context, const Value& count);
  Value ReadLine(Context& context);
  void Write(Context& context, std::string_view text);
  std::error_code Flush();
  void Close();
  void ExpectReading(bool reads) const;

  FileAccess& files_;
  const std::string path_;
  Value content_;        ///< Of a file that is read.
  std::size_t at_ = 0;   ///< In its bytes.
  std::string pending_;  ///< Written, not yet in the file.
  std::int32_t line_ = 1;
  const bool reads_;
  bool isOpen_ = true;
};

}  // namespace torvik::script

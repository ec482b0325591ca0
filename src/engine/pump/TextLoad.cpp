#include "engine/pump/TextLoad.h"

#include <utility>

#include "engine/pump/RowError.h"
#include "engine/pump/TextEncoding.h"
#include "engine/pump/TextRow.h"
#include "platform/CodePage.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

constexpr std::size_t kWriteAtOnce = std::size_t{256} << 10;

class TextLoad final : public ado::BulkLoad {
 public:
  TextLoad(Files& files, const CodePages& codePages, const std::string& path,
           const TextFormat& format, const std::vector<std::string>& columns)
      : path_(path), columns_(columns), encoding_(format.encoding) {
    const auto newRow = format.layout == TextLayout::Fixed ? NewFixedRow : NewDelimitedRow;
    row_ = newRow(path, format, columns);
    std::string mark;
    encoder_ =
        FindEncoder(path, codePages, encoding_ == kDetectEncoding ? "utf-8" : encoding_, mark);
    const std::string before = format.append ? EndOf(files, format) : "";
    std::error_code error;
    file_ = files.OpenWrite(path, format.append, format.compression, error);
    if (error || !file_) throw RowError::CannotWrite(path, error);
    file_->EndOn(format.cancelled);
    if (before.empty())
      Begin(mark, format.firstRowColumnName);
    else
      EndLastRow(before, WrittenRowDelimiter(format));
  }

  void Load(const ado::LoadRows& rows, std::size_t tolerated,
            std::vector<ado::Refusal>& refused) override {
    const std::size_t before = refused.size();
    for (std::size_t row = 0; row < rows.Count() && refused.size() - before <= tolerated; ++row) {
      const std::string reason = Append(rows.Row(row));
      if (!reason.empty()) refused.push_back({row, 0, reason});
      rows_ += reason.empty() ? 1 : 0;
      if (bytes_.size() >= kWriteAtOnce) Write();
    }
  }

  std::int64_t Finish() override {
    Write();
    if (const auto error = file_->Commit()) throw RowError::CannotWrite(path_, error);
    return rows_;
  }

 private:
  /// The last bytes of the file as it is; empty when it has none.
  std::string EndOf(Files& files, const TextFormat& format) const {
    constexpr std::size_t kEndBytes = 1000;
    std::string end;
    std::uint64_t size = 0;
    if (files.Size(path_, size) || size == 0) return end;
    std::error_code error;
    const auto reader = files.OpenUnpacked(path_, format.compression, error);
    std::string buffer(kWriteAtOnce, '\0');
    for (std::size_t got = 1; !error && got > 0;) {
      got = reader->Read(buffer.data(), buffer.size(), error);
      end.append(buffer, 0, got);
      if (end.size() > kEndBytes) end.erase(0, end.size() - kEndBytes);
    }
    if (error) throw RowError::CannotOpen(path_, error);
    return end;
  }

  void Begin(const std::string& mark, bool header) {
    bytes_ = mark;
    if (!header) return;
    const std::vector<ado::LoadValue> names(columns_.begin(), columns_.end());
    const std::string reason = Append(names);
    if (!reason.empty()) throw RowError::BadFormat(path_, "the header line: " + reason);
  }

  /// A file to append to may lack the end of its last row.
  void EndLastRow(const std::string& before, const std::string& rowDelimiter) {
    std::string wanted = rowDelimiter == "\r\n" ? "\n" : rowDelimiter, bytes;
    if (!Encode(wanted, bytes)) return;
    if (before.ends_with(bytes)) return;
    Encode(rowDelimiter, bytes_);
  }

  /// Answers why the row cannot be written, empty when it was.
  std::string Append(std::span<const ado::LoadValue> values) {
    text_.clear();
    const std::string reason = row_->Append(values, text_);
    if (!reason.empty() || Encode(text_, bytes_)) return reason;
    std::string ignored;
    for (std::size_t column = 0; column < values.size(); ++column)
      if (values[column].IsText() && !Encode(values[column].Text(), ignored))
        return UnwritableValue(columns_[column],
                               "it has a character that the encoding " + encoding_ + " lacks");
    return "the row cannot be written in the encoding " + encoding_;
  }

  /// False when the encoding lacks a character; `bytes` then stay as they were.
  bool Encode(const std::string_view text, std::string& bytes) {
    if (encoder_) return encoder_->Encode(text, bytes);
    if (ValidUtf8Length(text) != text.size()) return false;
    bytes += text;
    return true;
  }

  void Write() {
    if (const auto error = file_->Write(bytes_)) throw RowError::CannotWrite(path_, error);
    bytes_.clear();
  }

  const std::string path_;
  const std::vector<std::string> columns_;
  const std::string encoding_;
  std::unique_ptr<TextRow> row_;
  std::unique_ptr<TextEncoder> encoder_;  // null for UTF-8
  std::unique_ptr<FileWriter> file_;
  std::string text_, bytes_;
  std::int64_t rows_ = 0;
};

}  // namespace

std::unique_ptr<ado::BulkLoad> OpenTextLoad(Files& files, const CodePages& codePages,
                                            const std::string& path, const TextFormat& format,
                                            const std::vector<std::string>& columns) {
  return std::make_unique<TextLoad>(files, codePages, path, format, columns);
}

}  // namespace torvik::engine

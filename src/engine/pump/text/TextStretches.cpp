#include "engine/pump/text/TextStretches.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "engine/pump/RowError.h"

namespace torvik::engine {
namespace {

/// The bytes of a stretch.
class StretchReader final : public FileReader {
 public:
  explicit StretchReader(std::string bytes) : bytes_(std::move(bytes)) {}

  std::size_t Read(char* buffer, std::size_t capacity, std::error_code&) override {
    const std::size_t got = bytes_.copy(buffer, capacity, at_);
    at_ += got;
    return got;
  }
  void EndOn(const std::atomic<bool>*) override {}

 private:
  const std::string bytes_;
  std::size_t at_ = 0;
};

}  // namespace

NotInParts::NotInParts(const std::string& path, const std::string& reason)
    : PlatformError(0, path + " cannot be read in parts: " + reason, "data pump") {}

TextStretches::TextStretches(TextInput file, TextRules rules, std::size_t bytes,
                             std::size_t firstBytes)
    : file_(std::move(file)), rules_(std::move(rules)), size_(bytes), firstSize_(firstBytes) {}

std::optional<TextInput> TextStretches::Next() {
  std::string bytes = std::exchange(kept_, {});
  Cut cut;
  for (std::size_t wanted = file_.isStart ? firstSize_ : size_; cut.bytes == 0;
       wanted = 2 * bytes.size()) {
    Fill(bytes, wanted);
    if (bytes.empty()) return std::nullopt;
    cut = atEnd_ && bytes.size() <= kMaxRowBytes ? Cut{bytes.size()} : FindCut(bytes);
    if (cut.bytes == 0 && bytes.size() > 2 * kMaxRowBytes) throw TooLong();
  }
  kept_ = bytes.substr(cut.bytes);
  bytes.resize(cut.bytes);
  const auto lines =
      rules_.countsLineFeeds ? std::count(bytes.begin(), bytes.end(), '\n') : cut.rows;
  TextInput stretch{file_.path, std::make_unique<StretchReader>(std::move(bytes)), file_.isStart,
                    file_.offset, file_.line};
  file_.isStart = false;
  file_.offset += cut.bytes;
  file_.line += lines;
  return stretch;
}

NotInParts TextStretches::TooLong() const {
  return {file_.path,
          "more than " + std::to_string(kMaxRowBytes >> 20) + " MiB stand between two rows' ends"};
}

void TextStretches::Fill(std::string& bytes, std::size_t wanted) {
  std::size_t filled = bytes.size();
  if (filled < wanted) bytes.resize(wanted);
  while (!atEnd_ && filled < wanted) {
    std::error_code error;
    const std::size_t got = file_.bytes->Read(&bytes[filled], wanted - filled, error);
    if (error) throw RowError::CannotRead(file_.path, file_.offset + filled, error);
    atEnd_ = got == 0;
    filled += got;
  }
  bytes.resize(filled);
}

TextStretches::Cut TextStretches::FindCut(std::string& bytes) {
  Cut cut;
  std::int64_t rows = 0;
  std::size_t at = 0;
  if (file_.isStart) {
    at = SkipStart(bytes);
    rows = rules_.linesToSkip;
  }
  while (at < bytes.size()) {
    bool isEmpty = false;
    const std::size_t end = RowEnd(bytes, at, isEmpty);
    if (end == 0) break;
    if (end - at > kMaxRowBytes) throw TooLong();
    ++rows;
    at = end;
    if (!isEmpty) cut = {at, rows};
  }
  if (atEnd_) cut = {bytes.size(), rows};
  return cut;
}

/// Where the row at `from` ends; 0 when it goes on behind `bytes`.
std::size_t TextStretches::RowEnd(std::string& bytes, std::size_t from, bool& isEmpty) {
  char* const begin = bytes.data();
  char* const end = begin + bytes.size();
  RowScan scan = rules_.scanner.Scan(begin + from, end, atEnd_);
  if (scan.outcome == RowScan::Outcome::TextAfterQuote) {
    scan = rules_.scanner.SkipLine(scan.at, end, atEnd_);
  } else if (scan.outcome == RowScan::Outcome::Row) {
    const auto fields = rules_.scanner.Fields();
    isEmpty = fields.size() == 1 && !fields[0].quoted && fields[0].begin == fields[0].end;
  }
  switch (scan.outcome) {
    case RowScan::Outcome::NeedMore: return 0;
    case RowScan::Outcome::Row: return static_cast<std::size_t>(scan.at - begin);
    default: return bytes.size();  // an open quote takes all that follows
  }
}

/// Behind the mark and the lines that are skipped; the end of `bytes` where they are not all there.
std::size_t TextStretches::SkipStart(std::string& bytes) {
  char* const begin = bytes.data();
  char* const end = begin + bytes.size();
  char* at = begin + std::min(rules_.markBytes, bytes.size());
  for (int line = 0; line < rules_.linesToSkip && at < end; ++line) {
    const RowScan scan = rules_.scanner.SkipLine(at, end, atEnd_);
    at = scan.outcome == RowScan::Outcome::Row ? scan.at : end;
  }
  return static_cast<std::size_t>(at - begin);
}

}  // namespace torvik::engine

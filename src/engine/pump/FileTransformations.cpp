#include <algorithm>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "engine/pump/Conversion.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/RowError.h"
#include "engine/pump/TextEncoding.h"
#include "engine/pump/Transformation.h"
#include "engine/pump/WholeFile.h"
#include "platform/CodePage.h"
#include "platform/Files.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

constexpr std::size_t kMaxFileBytes = std::size_t{16} << 20;

/// Why `name` may not be used; it comes with the data, and must not lead out of the directory.
std::string Misnamed(std::string_view name) {
  if (name.empty()) return "is empty; it must name a file";
  const bool leadsOut = name.find_first_of("/\\") != std::string_view::npos || name == "." ||
                        name == ".." || name.find('\0') != std::string_view::npos;
  return leadsOut ? "is not a plain file name; names may not lead out of the directory" : "";
}

bool IsBinary(const ColumnFiles& place) {
  return EqualsIgnoringCase(place.encoding, "binary");
}

/// False when the bytes are not in the encoding.
bool DecodeWhole(const TextEncoding& encoding, const CodePage& utf8, std::string_view bytes,
                 std::string& text) {
  if (!encoding.decoder) {
    const CodePage& codePage = encoding.codePage ? *encoding.codePage : utf8;
    return codePage.DecodeStrict(bytes, text) == CodePage::kAllValid;
  }
  constexpr std::size_t kPiece = std::size_t{1} << 16;
  std::vector<char> piece(kPiece);
  while (!bytes.empty()) {
    std::span<char> room(piece);
    encoding.decoder->Decode(bytes, room, true);
    text.append(piece.data(), piece.size() - room.size());
  }
  return text.find(TextDecoder::kInvalid) == text.npos;
}

class ReadFile final : public Transformation {
 public:
  explicit ReadFile(const ColumnFiles& place)
      : place_(place), utf8_(place.codePages.Open("utf-8")) {
    if (!IsBinary(place_)) FindEncoding(place_.directory, place_.codePages, place_.encoding, {});
  }

  std::string Apply(const TransformedRow& row, ado::LoadValue& value) override {
    if (value.IsNull()) return {};
    const std::string name(TextOfValue(value, row.batch));
    if (std::string misnamed = Misnamed(name); !misnamed.empty()) return misnamed;
    const std::string path = place_.directory + name;
    std::string content;
    if (const std::string reason = ReadWhole(place_.files, path, kMaxFileBytes, content);
        !reason.empty())
      return "names a file that cannot be read (" + path + "): " + reason;
    if (IsBinary(place_)) return value = row.batch.Store(content), "";
    std::string text;
    if (!Decode(path, content, text))
      return "names a file that is not in the given encoding (" + path + ")";
    value = row.batch.Store(text);
    return {};
  }

 private:
  bool Decode(const std::string& path, std::string_view content, std::string& text) const {
    try {
      const TextEncoding encoding = FindEncoding(path, place_.codePages, place_.encoding,
                                                 content.substr(0, kLongestByteOrderMark));
      return DecodeWhole(encoding, *utf8_, content.substr(encoding.markBytes), text);
    } catch (const RowError&) {
      return false;  // the mark of another encoding
    }
  }

  const ColumnFiles place_;
  const std::unique_ptr<CodePage> utf8_;
};

class WriteFile final : public Transformation {
 public:
  WriteFile(const ColumnFiles& place, std::size_t nameColumn, FileMode mode)
      : place_(place), nameColumn_(nameColumn), mode_(mode) {
    if (!IsBinary(place_))
      encoder_ = FindEncoder(place_.directory, place_.codePages, place_.encoding, mark_);
  }

  std::string Apply(const TransformedRow& row, ado::LoadValue& value) override {
    const std::string name(TextOfValue(row.source[nameColumn_], row.batch));
    if (std::string misnamed = Misnamed(name); !misnamed.empty())
      return "cannot be written: its file name \"" + name + "\" " + misnamed;
    std::string content;
    if (!Encode(TextOfValue(value, row.batch), content))
      return "has a character that " + place_.encoding + " lacks; it cannot be written to " +
             place_.directory + name;
    const std::error_code error = value.IsNull() ? WriteNothing(name) : Write(name, content);
    if (error) return "cannot be written to " + place_.directory + name + ": " + error.message();
    value = row.batch.Store(name);
    return {};
  }

 private:
  bool Encode(std::string_view text, std::string& content) const {
    if (encoder_) return encoder_->Encode(text, content);
    content = text;
    return true;
  }

  /// The bytes of the file; an error is that of a file that cannot be looked at.
  std::error_code Length(const std::string& path, std::uint64_t& bytes) const {
    const std::error_code error = place_.files.Size(path, bytes);
    if (error != std::errc::no_such_file_or_directory) return error;
    bytes = 0;
    return {};
  }

  std::error_code Write(const std::string& name, const std::string& content) {
    const std::string path = place_.directory + name;
    const bool isFirst = written_.insert(name).second;
    if (mode_ == FileMode::Replace && isFirst)
      return place_.files.ReplaceBytes(path, mark_ + content);
    if (mode_ == FileMode::Error) {
      if (const auto error = Missing(path)) return error;
      return place_.files.ReplaceBytes(path, mark_ + content);
    }
    std::uint64_t bytes = 0;
    if (const auto error = Length(path, bytes)) return error;
    return place_.files.AppendBytes(path, (bytes == 0 ? mark_ : std::string()) + content);
  }

  std::error_code WriteNothing(const std::string& name) {
    const std::string path = place_.directory + name;
    if (mode_ == FileMode::Error) return Missing(path);
    if (mode_ == FileMode::Append || written_.contains(name)) return {};
    const std::error_code error = place_.files.Remove(path);
    return error == std::errc::no_such_file_or_directory ? std::error_code() : error;
  }

  /// Clear where there is no file.
  std::error_code Missing(const std::string& path) const {
    FileStatus status;
    const std::error_code error = place_.files.Status(path, status);
    if (!error) return std::make_error_code(std::errc::file_exists);
    return error == std::errc::no_such_file_or_directory ? std::error_code() : error;
  }

  const ColumnFiles place_;
  const std::size_t nameColumn_;
  const FileMode mode_;
  std::unique_ptr<TextEncoder> encoder_;  // null: bytes as they are, or UTF-8
  std::string mark_;                      // at the beginning of a file
  std::set<std::string> written_;         // by this pump
};

}  // namespace

std::unique_ptr<Transformation> NewReadFile(const ColumnFiles& place) {
  return std::make_unique<ReadFile>(place);
}

std::unique_ptr<Transformation> NewWriteFile(const ColumnFiles& place, std::size_t nameColumn,
                                             FileMode mode) {
  return std::make_unique<WriteFile>(place, nameColumn, mode);
}

}  // namespace torvik::engine

#include "platform/linux/tables/dbase/DbaseMemo.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "platform/linux/tables/common/LittleEndian.h"
#include "platform/linux/tables/common/TableFile.h"

namespace torvik {
namespace {

/// No text is longer: what says so is damaged.
constexpr std::uint64_t kLongestText = std::uint64_t{1} << 30;

std::uint32_t BigEndian(std::string_view bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i)
    number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
  return number;
}

}  // namespace

void DbaseMemo::Open() {
  if (file_) return;
  for (const char* ending : {".dbt", ".DBT", ".fpt", ".FPT"}) {
    path_ = std::filesystem::path(tablePath_).replace_extension(ending).string();
    Descriptor file = OpenFile(path_, O_RDONLY | O_NONBLOCK);
    if (!file.IsOpen()) continue;
    file_ = std::make_unique<Descriptor>(std::move(file));
    isFoxPro_ = ending[1] == 'f' || ending[1] == 'F';
    break;
  }
  if (!file_)
    throw TableFileError(tablePath_,
                         "has long texts, and its memo file (.dbt or .fpt) is not beside it; copy "
                         "it there");
  const std::string head = BytesAt(0, 32);
  if (head.size() < 8) throw TableFileError(path_, "is damaged: it has no header");
  // FoxPro: the block's size from byte 6; dBase IV: from byte 20; dBase III has none.
  if (isFoxPro_)
    blockSize_ = BigEndian(head, 4) & 0xFFFF;
  else if (head.size() >= 22)
    blockSize_ = LittleEndian<std::uint16_t>(head, 20);
  if (blockSize_ == 0) blockSize_ = isFoxPro_ ? 1 : 512;
}

std::string DbaseMemo::TextAt(std::uint64_t block) {
  constexpr std::size_t kHead = 8;
  Open();
  const std::uint64_t offset = block * blockSize_;
  const std::string head = BytesAt(offset, kHead);
  if (head.empty())
    throw TableFileError(path_, "is damaged: it has no block " + std::to_string(block));
  if (isFoxPro_) {
    if (head.size() < kHead) throw TableFileError(path_, "is damaged: it ends within a block");
    return Sized(offset + kHead, BigEndian(head, 4));
  }
  // dBase IV writes the length, which includes these eight bytes.
  if (head.size() == kHead && head.starts_with("\xFF\xFF\x08"))
    return Sized(offset + kHead,
                 std::max<std::uint64_t>(kHead, LittleEndian<std::uint32_t>(head, 4)) - kHead);
  return UntilEndMark(offset);
}

std::string DbaseMemo::BytesAt(std::uint64_t offset, std::size_t most) const {
  std::string bytes(most, '\0');
  const ssize_t got = pread(file_->Number(), bytes.data(), most, static_cast<off_t>(offset));
  if (got < 0) throw TableFileError(path_, "cannot be read: " + LastSystemError().message());
  bytes.resize(static_cast<std::size_t>(got));
  return bytes;
}

std::string DbaseMemo::Sized(std::uint64_t offset, std::uint64_t size) const {
  std::error_code error;
  const std::uint64_t whole = std::filesystem::file_size(path_, error);
  if (size > kLongestText || error || offset > whole || size > whole - offset)
    throw TableFileError(path_, "is damaged: a text ends behind the file");
  return BytesAt(offset, static_cast<std::size_t>(size));
}

/// dBase III: up to a byte 0x1A.
std::string DbaseMemo::UntilEndMark(std::uint64_t offset) const {
  constexpr std::size_t kPiece = 4096;
  std::string text;
  while (text.size() < kLongestText) {
    const std::string piece = BytesAt(offset + text.size(), kPiece);
    const std::size_t end = piece.find('\x1A');
    text.append(piece, 0, end);
    if (end != piece.npos || piece.size() < kPiece) return text;
  }
  throw TableFileError(path_, "is damaged: a text has no end");
}

}  // namespace torvik

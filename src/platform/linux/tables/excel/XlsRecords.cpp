#include "platform/linux/tables/excel/XlsRecords.h"

#include <algorithm>
#include <bit>

#include "platform/linux/text/Utf16.h"

namespace torvik {
namespace {

constexpr std::uint16_t kContinue = 0x003C;

std::uint16_t WordAt(std::string_view bytes, std::size_t at) {
  return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[at]) |
                                    static_cast<unsigned char>(bytes[at + 1]) << 8);
}

}  // namespace

double XlsBytes::Double() {
  return std::bit_cast<double>(Quad());
}

std::uint64_t XlsBytes::Number(std::size_t size) {
  const std::string bytes = Bytes(size);
  std::uint64_t number = 0;
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte)
    number = number << 8 | static_cast<unsigned char>(*byte);
  return number;
}

/// Between one byte and `most` of those that stand together.
std::string_view XlsBytes::Take(std::size_t most) {
  while (piece_ < pieces_.size() && pieces_[piece_].empty()) ++piece_;
  if (piece_ == pieces_.size()) throw std::runtime_error("a record ends too early");
  const std::string_view taken = pieces_[piece_].substr(0, most);
  pieces_[piece_].remove_prefix(taken.size());
  return taken;
}

std::string XlsBytes::Bytes(std::size_t size) {
  std::string bytes;
  while (bytes.size() < size) bytes += Take(size - bytes.size());
  return bytes;
}

void XlsBytes::Skip(std::size_t size) {
  while (size > 0) size -= Take(size).size();
}

std::size_t XlsBytes::Left() const {
  std::size_t left = 0;
  for (std::size_t i = piece_; i < pieces_.size(); ++i) left += pieces_[i].size();
  return left;
}

std::string XlsBytes::Characters(std::size_t count, bool isWide) {
  std::u16string characters;
  while (characters.size() < count) {
    if (piece_ < pieces_.size() && pieces_[piece_].empty()) {
      ++piece_;
      isWide = (Byte() & 1) != 0;
    }
    const std::size_t width = isWide ? 2 : 1;
    std::string bytes(Take((count - characters.size()) * width));
    if (bytes.size() % width != 0) bytes += Bytes(1);
    for (std::size_t i = 0; i < bytes.size(); i += width)
      characters += isWide ? static_cast<char16_t>(WordAt(bytes, i))
                           : static_cast<char16_t>(static_cast<unsigned char>(bytes[i]));
  }
  std::erase(characters, u'\0');
  return FromUtf16(characters);
}

std::string XlsBytes::Text() {
  constexpr unsigned kWide = 1, kPronounced = 4, kFonts = 8;
  const std::size_t count = Word();
  const unsigned flags = Byte();
  const std::size_t fonts = flags & kFonts ? Word() : 0;
  const std::size_t pronounced = flags & kPronounced ? Long() : 0;
  std::string text = Characters(count, (flags & kWide) != 0);
  Skip(fonts * 4 + pronounced);
  return text;
}

std::optional<XlsRecord> TakeXlsRecord(std::string_view stream, std::size_t& position) {
  constexpr std::size_t kHead = 4;
  std::optional<XlsRecord> record;
  while (position + kHead <= stream.size()) {
    const std::uint16_t type = WordAt(stream, position);
    if (record && type != kContinue) break;
    const std::size_t size = WordAt(stream, position + 2);
    if (position + kHead + size > stream.size())
      throw std::runtime_error("a record ends behind the end of the file");
    if (!record) record = XlsRecord{type, {}};
    record->pieces.push_back(stream.substr(position + kHead, size));
    position += kHead + size;
  }
  return record;
}

}  // namespace torvik

#include "platform/linux/postgres/PgCopyRows.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>

namespace torvik {
namespace {

constexpr unsigned kBytea = 17;
constexpr std::size_t kRoomOfNumberText = 40;

char* PutText(char* to, std::string_view text) {
  if (!text.empty()) std::memcpy(to, text.data(), text.size());
  return to + text.size();
}

/// What COPY's text format cannot hold as it is.
char EscapeOf(char c) {
  switch (c) {
    case '\\': return '\\';
    case '\n': return 'n';
    case '\r': return 'r';
    case '\t': return 't';
    default: return 0;
  }
}

char* PutEscaped(char* to, std::string_view text) {
  for (const char c : text) {
    // All that need escaping but the backslash are control characters.
    const char escape = static_cast<unsigned char>(c) > '\r' && c != '\\' ? '\0' : EscapeOf(c);
    if (escape != 0) *to++ = '\\';
    *to++ = escape != 0 ? escape : c;
  }
  return to;
}

char* PutHex(char* to, std::string_view bytes) {
  to = PutText(to, "\\\\x");
  for (const char c : bytes) {
    *to++ = "0123456789abcdef"[static_cast<unsigned char>(c) >> 4];
    *to++ = "0123456789abcdef"[static_cast<unsigned char>(c) & 0xF];
  }
  return to;
}

char* PutText(char* to, unsigned type, const ado::LoadValue& value) {
  switch (value.GetKind()) {
    case ado::LoadValue::Kind::Null: return PutText(to, "\\N");
    case ado::LoadValue::Kind::Integer:
      return std::to_chars(to, to + kRoomOfNumberText, value.Integer()).ptr;
    case ado::LoadValue::Kind::Real:
      return std::to_chars(to, to + kRoomOfNumberText, value.Real()).ptr;
    case ado::LoadValue::Kind::Text: break;
  }
  return type == kBytea ? PutHex(to, value.Text()) : PutEscaped(to, value.Text());
}

}  // namespace

char* PgCopyBuffer::Room(std::size_t bytes) {
  if (capacity_ - size_ < bytes) {
    capacity_ = std::bit_ceil(size_ + bytes);
    std::unique_ptr<char[]> larger(new char[capacity_]);
    if (size_ > 0) std::memcpy(larger.get(), data_.get(), size_);
    data_ = std::move(larger);
  }
  return data_.get() + size_;
}

void PgCopyBuffer::Append(std::string_view bytes) {
  SetEnd(PutText(Room(bytes.size()), bytes));
}

void AddPgTextRow(std::span<const unsigned> types, std::span<const ado::LoadValue> row,
                  PgCopyBuffer& out) {
  std::size_t room = 0;
  for (const ado::LoadValue& value : row)
    room += kRoomOfNumberText + (value.IsText() ? 2 * value.Text().size() : 0);
  char* to = out.Room(room);
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (i > 0) *to++ = '\t';
    to = PutText(to, types[i], row[i]);
  }
  *to++ = '\n';
  out.SetEnd(to);
}

}  // namespace torvik

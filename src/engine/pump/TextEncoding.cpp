#include "engine/pump/TextEncoding.h"

#include <algorithm>

#include "engine/pump/RowError.h"
#include "engine/pump/TextFormat.h"
#include "platform/CodePage.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

struct ByteOrderMark {
  const char* encoding;
  std::string_view bytes;
};

/// The longer one first where one begins another.
constexpr ByteOrderMark kMarks[] = {{"utf-8", "\xEF\xBB\xBF"},
                                    {"utf-32le", {"\xFF\xFE\0\0", 4}},
                                    {"utf-32be", {"\0\0\xFE\xFF", 4}},
                                    {"utf-16le", "\xFF\xFE"},
                                    {"utf-16be", "\xFE\xFF"}};

const ByteOrderMark* MarkOf(std::string_view head) {
  for (const ByteOrderMark& mark : kMarks)
    if (head.starts_with(mark.bytes)) return &mark;
  return nullptr;
}

/// The usual spelling of the names that are told apart here: "UTF8", "utf_16" and "ucs-2" as well.
std::string Usual(const std::string& name) {
  std::string lower = LowerAscii(name), letters = lower;
  std::erase_if(letters, [](char c) { return c == '-' || c == '_'; });
  if (letters.starts_with("ucs2")) letters.replace(0, 4, "utf16");
  if (letters.starts_with("ucs4")) letters.replace(0, 4, "utf32");
  for (const char* known :
       {"utf-8", "utf-16", "utf-16le", "utf-16be", "utf-32", "utf-32le", "utf-32be"}) {
    std::string same = known;
    std::erase(same, '-');
    if (same == letters) return known;
  }
  return lower;
}

bool LeavesByteOrderOpen(const std::string& name) {
  return name == "utf-16" || name == "utf-32";
}

/// The encoding that `name` means in a file with that mark, or without one.
std::string Meant(const std::string& name, const ByteOrderMark* mark) {
  if (name == kDetectEncoding) return mark ? mark->encoding : "utf-8";
  if (!LeavesByteOrderOpen(name)) return name;
  const bool isOfMark = mark && std::string_view(mark->encoding).starts_with(name);
  return isOfMark ? mark->encoding : name + "le";
}

}  // namespace

TextEncoding FindEncoding(const std::string& path, const CodePages& codePages,
                          const std::string& name, std::string_view head) {
  const ByteOrderMark* mark = MarkOf(head);
  TextEncoding encoding{Meant(Usual(name), mark), mark ? mark->bytes.size() : 0};
  if (encoding.name != "utf-8") {
    encoding.codePage = codePages.Open(encoding.name);
    if (!encoding.codePage) encoding.decoder = codePages.OpenDecoder(encoding.name);
    if (!encoding.codePage && !encoding.decoder) throw RowError::UnknownEncoding(path, name);
    if (encoding.decoder) encoding.follower = codePages.OpenDecoder(encoding.name);
  }
  if (mark && encoding.name != mark->encoding)
    throw RowError::OtherByteOrderMark(path, mark->encoding, name);
  return encoding;
}

std::unique_ptr<TextEncoder> FindEncoder(const std::string& path, const CodePages& codePages,
                                         const std::string& name, std::string& mark) {
  const std::string usual = Usual(name), meant = Meant(usual, nullptr);
  mark.clear();
  if (meant == "utf-8") return nullptr;
  auto encoder = codePages.OpenEncoder(meant);
  if (!encoder) throw RowError::UnknownEncoding(path, name);
  const auto isMeant = [&](const ByteOrderMark& one) { return one.encoding == meant; };
  if (LeavesByteOrderOpen(usual)) mark = std::ranges::find_if(kMarks, isMeant)->bytes;
  return encoder;
}

}  // namespace torvik::engine

#include "platform/linux/mail/MailText.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>

#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/mail/MailFailure.h"

namespace torvik {
namespace {

constexpr std::size_t kLineLength = 78;
/// Of the bytes in one encoded word, so that it has at most 75 characters.
constexpr std::size_t kEncodedBytes = 45;

bool IsAscii(std::string_view text) {
  return AsciiLength(text) == text.size();
}

std::string Base64(std::string_view bytes) {
  constexpr const char* kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i)
      group = group << 8 | (i < count ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    for (std::size_t i = 0; i < 4; ++i)
      text += i <= count ? kDigits[group >> (18 - 6 * i) & 63] : '=';
  }
  return text;
}

/// Encoded words, each of whole characters.
std::vector<std::string> EncodedWords(std::string_view text) {
  std::vector<std::string> words;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t length = 0;
    while (at + length < text.size()) {
      const auto next = std::max<std::size_t>(1, CharacterLength(text.substr(at + length)));
      if (length + next > kEncodedBytes) break;
      length += next;
    }
    words.push_back("=?UTF-8?B?" + Base64(text.substr(at, length)) + "?=");
    at += length;
  }
  return words;
}

/// The words of an ASCII text, each with the blanks before it but for the one that a line break
/// stands for. A text that looks like an encoded word is encoded, so that it stays itself.
std::vector<std::string> Words(std::string_view text) {
  if (!IsAscii(text) || text.find("=?") != std::string_view::npos || Trimmed(text) != text)
    return EncodedWords(text);
  std::vector<std::string> words;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = text.find_first_not_of(' ', at);
    const std::size_t end = std::min(text.find(' ', begin), text.size());
    words.emplace_back(text.substr(at, end - at));
    if (words.back().size() >= kLineLength) return EncodedWords(text);
    at = end + 1;
  }
  return words;
}

std::string Folded(const std::string& name, const std::vector<std::string>& words) {
  std::string line = name + ":";
  std::size_t length = line.size();
  for (const std::string& word : words) {
    const bool isFull = length + 1 + word.size() > kLineLength && length > name.size() + 1;
    line += isFull ? "\r\n " : " ";
    length = isFull ? 1 : length + 1;
    line += word;
    length += word.size();
  }
  return line;
}

std::string QuotedName(const std::string& name) {
  std::string quoted = "\"";
  for (const char c : name) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

bool IsAddress(std::string_view address) {
  const std::size_t at = address.rfind('@');
  const bool isPlain = std::all_of(address.begin(), address.end(), [](unsigned char c) {
    return c > 0x20 && c < 0x7F &&
           std::string_view("<>()[],;:\\\"").find(static_cast<char>(c)) == std::string_view::npos;
  });
  return isPlain && at != std::string_view::npos && at > 0 && at + 1 < address.size() &&
         address.find('@') == at;
}

MailAddress ReadAddress(std::string_view text) {
  MailAddress read{"", std::string(text)};
  const std::size_t open = text.rfind('<');
  if (open != std::string_view::npos && text.back() == '>') {
    read.address = Trimmed(text.substr(open + 1, text.size() - open - 2));
    read.name = Trimmed(text.substr(0, open));
    if (read.name.size() >= 2 && read.name.front() == '"' && read.name.back() == '"')
      read.name = read.name.substr(1, read.name.size() - 2);
  }
  if (!IsAddress(read.address))
    throw MailFailure(
        "\"" + std::string(text) +
        "\" is not a mail address; write a@example.com or Name <a@example.com>, in ASCII "
        "but for the name");
  return read;
}

}  // namespace

void RefuseControlCharacters(std::string_view text, const std::string& what) {
  const bool isClean =
      std::all_of(text.begin(), text.end(), [](unsigned char c) { return c >= 0x20 && c != 0x7F; });
  if (!isClean)
    throw MailFailure(what +
                      " of the mail holds a line break or another control character; take it "
                      "out");
}

std::vector<MailAddress> ReadAddresses(const std::string& list) {
  RefuseControlCharacters(list, "an address");
  std::vector<MailAddress> addresses;
  bool isQuoted = false;
  std::size_t begin = 0;
  for (std::size_t at = 0; at <= list.size(); ++at) {
    const bool isEnd = at == list.size() || (!isQuoted && (list[at] == ',' || list[at] == ';'));
    if (!isEnd) {
      isQuoted = isQuoted != (list[at] == '"');
      continue;
    }
    const auto text = Trimmed(std::string_view(list).substr(begin, at - begin));
    if (!text.empty()) addresses.push_back(ReadAddress(text));
    begin = at + 1;
  }
  return addresses;
}

std::string HeadLine(const std::string& name, std::string_view text) {
  return Folded(name, Words(text));
}

std::string HeadLine(const std::string& name, const std::vector<MailAddress>& addresses) {
  std::vector<std::string> words;
  for (const MailAddress& one : addresses) {
    const bool isPlain = IsAscii(one.name) && one.name.find("=?") == std::string::npos;
    if (one.name.empty()) {
      words.push_back(one.address);
    } else if (isPlain) {
      words.push_back(QuotedName(one.name) + " <" + one.address + ">");
    } else {
      const auto encoded = EncodedWords(one.name);
      words.insert(words.end(), encoded.begin(), encoded.end());
      words.push_back("<" + one.address + ">");
    }
    if (&one != &addresses.back()) words.back() += ",";
  }
  return Folded(name, words);
}

std::string MailDate(const std::tm& local) {
  constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  char text[64];
  const long minutes = local.tm_gmtoff / 60, distance = minutes < 0 ? -minutes : minutes;
  std::snprintf(text, sizeof text, "%s, %02d %s %d %02d:%02d:%02d %c%02ld%02ld",
                kDays[local.tm_wday], local.tm_mday, kMonths[local.tm_mon], local.tm_year + 1900,
                local.tm_hour, local.tm_min, local.tm_sec, minutes < 0 ? '-' : '+', distance / 60,
                distance % 60);
  return text;
}

std::string AttachmentDisposition(const std::string& fileName) {
  if (IsAscii(fileName)) return "attachment; filename=" + QuotedName(fileName);
  std::string encoded = "attachment; filename*=UTF-8''";
  for (const char c : fileName) {
    const auto byte = static_cast<unsigned char>(c);
    char digits[4];
    std::snprintf(digits, sizeof digits, "%%%02X", byte);
    encoded += byte < 0x80 && (std::isalnum(byte) || c == '.' || c == '-' || c == '_')
                   ? std::string(1, c)
                   : digits;
  }
  return encoded;
}

std::string WithNetworkLineEnds(std::string_view text) {
  std::string lines;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool isCrLf = text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n';
    if (text[at] != '\r' && text[at] != '\n') {
      lines += text[at];
    } else if (!isCrLf) {
      lines += "\r\n";
    }
  }
  return lines;
}

}  // namespace torvik

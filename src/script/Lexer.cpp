#include "script/Lexer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/DateText.h"
#include "script/ScriptError.h"

namespace torvik::script {

namespace {

constexpr std::size_t longestName = 255;
constexpr std::size_t longestShownLine = 200;

bool IsLetter(char c) {
  const char lower = LowerAscii(c);
  return (lower >= 'a' && lower <= 'z') || static_cast<unsigned char>(c) >= 0x80;
}
bool IsNamePart(char c) {
  return IsLetter(c) || IsDigit(c) || c == '_';
}

class Lexer {
 public:
  explicit Lexer(std::string_view source) : source_(source) {
    if (source_.starts_with("\xEF\xBB\xBF")) source_.remove_prefix(3);
  }

  std::vector<Token> Read() {
    while (at_ < source_.size()) ReadOne();
    start_ = Now();
    Add(TokenKind::EndOfLine);
    Add(TokenKind::EndOfText);
    return std::move(tokens_);
  }

 private:
  char Here(std::size_t ahead = 0) const {
    return at_ + ahead < source_.size() ? source_[at_ + ahead] : '\0';
  }
  Place Now() const { return {line_, static_cast<int>(at_ - lineStart_) + 1}; }

  [[noreturn]] void Fail(int number, const Place& place) const {
    throw SyntaxError(number, place.line, place.column);
  }

  Token& Add(TokenKind kind, std::string text = {}) {
    Token& token = tokens_.emplace_back();
    token.kind = kind;
    token.text = std::move(text);
    token.place = start_;
    token.blankBefore = blank_;
    blank_ = false;
    return token;
  }

  void ReadOne() {
    start_ = Now();
    const char c = Here();
    if (c == '\r' || c == '\n') {
      Add(TokenKind::EndOfLine);
      SkipLineEnd();
    } else if (c == ' ' || c == '\t' || c == '\f' || c == '\v' || c == '\xC2') {
      SkipBlank(c);
    } else if (c == '\'') {
      SkipComment();
    } else if (c == '_' && IsContinuation()) {
      SkipComment();
      SkipLineEnd();
      blank_ = true;
    } else if (c == '"') {
      ReadText();
    } else if (c == '#') {
      ReadDate();
    } else if (IsDigit(c) || (c == '.' && IsDigit(Here(1)))) {
      ReadNumber();
    } else if (c == '&' && IsRadix()) {
      ReadRadix();
    } else if (IsLetter(c)) {
      ReadName();
    } else if (c == '[') {
      ReadBracketed();
    } else {
      ReadSymbol();
    }
  }

  void SkipBlank(char c) {
    if (c == '\xC2' && Here(1) != '\xA0') return ReadName();
    at_ += c == '\xC2' ? 2 : 1;
    blank_ = true;
  }

  void SkipLineEnd() {
    if (Here() == '\r' && Here(1) == '\n') ++at_;
    if (at_ < source_.size()) ++at_;
    ++line_;
    lineStart_ = at_;
  }

  void SkipComment() { at_ = std::min(source_.find_first_of("\r\n", at_), source_.size()); }

  bool IsContinuation() const {
    const std::size_t next = source_.find_first_not_of(" \t", at_ + 1);
    return next == std::string_view::npos || source_[next] == '\r' || source_[next] == '\n';
  }

  void ReadText() {
    std::string text;
    for (++at_;; ++at_) {
      const std::size_t stop = std::min(source_.find_first_of("\"\r\n", at_), source_.size());
      text += source_.substr(at_, stop - at_);
      at_ = stop;
      if (Here() != '"') Fail(1033, start_);
      ++at_;
      if (Here() != '"') break;
      text += '"';
    }
    Add(TokenKind::Literal).value = Value::OfText(text);
  }

  void ReadDate() {
    const std::size_t end = source_.find_first_of("#\r\n", at_ + 1);
    if (end == std::string_view::npos || source_[end] != '#') {
      ++at_;
      Add(TokenKind::Symbol, "#");
      return;
    }
    const auto date = DateOfText(source_.substr(at_ + 1, end - at_ - 1));
    if (!date) Fail(1002, start_);
    at_ = end + 1;
    Add(TokenKind::Literal).value = Value::OfDate(*date);
  }

  void ReadNumber() {
    const std::size_t first = at_;
    while (IsDigit(Here())) ++at_;
    bool whole = true;
    if (Here() == '.') {
      whole = false;
      for (++at_; IsDigit(Here());) ++at_;
    }
    if (LowerAscii(Here()) == 'e') {
      const std::size_t sign = Here(1) == '+' || Here(1) == '-' ? 1 : 0;
      if (IsDigit(Here(1 + sign))) {
        whole = false;
        for (at_ += 1 + sign; IsDigit(Here());) ++at_;
      }
    }
    if (IsNamePart(Here())) Fail(1031, start_);
    const std::string text(source_.substr(first, at_ - first));
    const double number = std::strtod(text.c_str(), nullptr);
    if (!std::isfinite(number)) Fail(1031, start_);
    Add(TokenKind::Literal).value = whole && number <= 2147483647.0
                                        ? Value::OfWhole(static_cast<std::int64_t>(number))
                                        : Value::OfDouble(number);
  }

  /// The end of "&HFF", "&O17"; `at_` where there is none.
  std::size_t RadixEnd() const {
    const char radix = LowerAscii(Here(1));
    if (radix != 'h' && radix != 'o') return at_;
    std::size_t end = at_ + 2;
    const std::string_view digits = radix == 'h' ? "0123456789abcdefABCDEF" : "01234567";
    while (end < source_.size() && digits.find(source_[end]) != std::string_view::npos) ++end;
    const bool isNumber = end > at_ + 2 && (end == source_.size() || !IsNamePart(source_[end]));
    return isNumber ? end : at_;
  }
  bool IsRadix() const { return RadixEnd() > at_; }

  void ReadRadix() {
    const std::size_t end = RadixEnd();
    const std::string_view text = source_.substr(at_, end - at_);
    const auto number = NumberOfText(text);
    if (!number) Fail(1031, start_);
    at_ = end;
    const bool isLong = Here() == '&';
    if (isLong) ++at_;
    std::int64_t whole = static_cast<std::int64_t>(*number);
    if (isLong && whole < 0 && whole >= -32768) whole = static_cast<std::uint16_t>(whole);
    Add(TokenKind::Literal).value = Value::OfWhole(whole);
    if (isLong) tokens_.back().value = Value::OfLong(static_cast<std::int32_t>(whole));
  }

  void ReadName() {
    const std::size_t first = at_;
    while (IsNamePart(Here())) ++at_;
    const std::string_view name = source_.substr(first, at_ - first);
    if (EqualsIgnoringCase(name, "rem") && !IsMemberName()) return SkipComment();
    AddName(name, false);
  }

  bool IsMemberName() const { return !tokens_.empty() && tokens_.back().IsSymbol("."); }

  void ReadBracketed() {
    const std::size_t end = source_.find_first_of("]\r\n", at_);
    if (end == std::string_view::npos || source_[end] != ']') Fail(1007, start_);
    const std::string_view name = source_.substr(at_ + 1, end - at_ - 1);
    at_ = end + 1;
    AddName(name, true);
  }

  void AddName(std::string_view name, bool bracketed) {
    if (name.size() > longestName) Fail(1030, start_);
    Token& token = Add(TokenKind::Name, std::string(name));
    token.lower = LowerAscii(name);
    token.bracketed = bracketed;
  }

  void ReadSymbol() {
    static constexpr std::string_view pairs[] = {"<=", ">=", "<>", "=<", "=>", "><"};
    static constexpr std::string_view same[] = {"<=", ">=", "<>", "<=", ">=", "<>"};
    for (std::size_t i = 0; i < std::size(pairs); ++i) {
      if (source_.substr(at_, 2) != pairs[i]) continue;
      at_ += 2;
      Add(TokenKind::Symbol, std::string(same[i]));
      return;
    }
    const char c = Here();
    if (std::string_view("()+-*/\\^&=<>,.:!@").find(c) == std::string_view::npos || c == '\0')
      Fail(1032, start_);
    ++at_;
    Add(c == ':' ? TokenKind::Colon : TokenKind::Symbol, std::string(1, c));
  }

  std::string_view source_;
  std::size_t at_ = 0, lineStart_ = 0;
  int line_ = 1;
  Place start_;
  bool blank_ = false;
  std::vector<Token> tokens_;
};

}  // namespace

std::string LineOf(std::string_view source, int line) {
  std::size_t at = 0;
  for (; line > 1; --line) {
    at = source.find_first_of("\r\n", at);
    if (at == std::string_view::npos) return {};
    at += source.substr(at, 2) == "\r\n" ? 2 : 1;
  }
  source = Trimmed(source.substr(at, source.find_first_of("\r\n", at) - at), kWhiteSpace);
  return std::string(FirstCharacters(source, longestShownLine));
}

std::vector<Token> ReadTokens(std::string_view source) {
  try {
    return Lexer(source).Read();
  } catch (ScriptError& error) {
    error.sourceLine = LineOf(source, error.line);
    throw;
  }
}

}  // namespace torvik::script

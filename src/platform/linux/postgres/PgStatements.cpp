#include "platform/linux/postgres/PgStatements.h"

#include <algorithm>

#include "platform/Text.h"
#include "platform/linux/database/SqlNames.h"

namespace torvik {
namespace {

bool IsNameCharacter(char c) {
  return (LowerAscii(c) >= 'a' && LowerAscii(c) <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '$' || static_cast<unsigned char>(c) >= 0x80;
}

/// Reads a text statement by statement.
class Splitter {
 public:
  Splitter(std::string_view sql, PgMarkers markers) : sql_(sql), markers_(markers) {}

  std::vector<PgStatement> Split() {
    while (at_ < sql_.size()) Step();
    EndStatement();
    return std::move(statements_);
  }

 private:
  void Step() {
    const char c = sql_[at_];
    if (c == '\'') return Take(QuoteEnd('\'', IsEscapeText()));
    if (c == '"') return Take(QuoteEnd('"', false));
    if (sql_.substr(at_, 2) == "--") return Skip(std::min(sql_.find('\n', at_), sql_.size()));
    if (sql_.substr(at_, 2) == "/*") return Skip(CommentEnd());
    if (c == '$') return Take(DollarEnd());
    if (IsNameCharacter(c)) return Word();
    if (c == ';' && brackets_ == 0 && blocks_ == 0) return EndStatement();
    if (c == '?' && markers_ == PgMarkers::Numbered) return Marker();
    if (c == '(') ++brackets_;
    if (c == ')' && brackets_ > 0) --brackets_;
    if (c == ' ' || (c >= '\t' && c <= '\r')) return Skip(at_ + 1);
    Take(at_ + 1);
  }

  /// What counts as content: a statement begins with it.
  void Take(std::size_t end) {
    if (current_.text.empty()) current_.line = LineOf(sql_, at_);
    current_.text.append(sql_.substr(at_, end - at_));
    at_ = end;
  }

  /// Blanks and comments, which stay inside a statement alone.
  void Skip(std::size_t end) {
    if (!current_.text.empty()) current_.text.append(sql_.substr(at_, end - at_));
    at_ = end;
  }

  void Marker() {
    if (current_.text.empty()) current_.line = LineOf(sql_, at_);
    current_.text += "$" + std::to_string(++current_.markers);
    ++at_;
  }

  /// The body of a SQL function, BEGIN ATOMIC ... END, holds statements of its own.
  void Word() {
    std::size_t end = at_;
    while (end < sql_.size() && IsNameCharacter(sql_[end])) ++end;
    const std::string word = LowerAscii(sql_.substr(at_, end - at_));
    if (word == "atomic" && lastWord_ == "begin") blocks_ = 1;
    if (blocks_ > 0 && word == "case") ++blocks_;
    if (blocks_ > 0 && word == "end") --blocks_;
    lastWord_ = word;
    Take(end);
  }

  void EndStatement() {
    if (!current_.text.empty()) statements_.push_back(std::move(current_));
    current_ = {};
    brackets_ = blocks_ = 0;
    lastWord_.clear();
    ++at_;
  }

  /// True when the quote begins a text with backslashes: E'...'.
  bool IsEscapeText() const {
    return at_ > 0 && LowerAscii(sql_[at_ - 1]) == 'e' &&
           (at_ == 1 || !IsNameCharacter(sql_[at_ - 2]));
  }

  std::size_t QuoteEnd(char quote, bool escapes) const {
    for (std::size_t end = at_ + 1; end < sql_.size(); ++end) {
      if (escapes && sql_[end] == '\\') {
        ++end;
      } else if (sql_[end] == quote) {
        if (end + 1 == sql_.size() || sql_[end + 1] != quote) return end + 1;
        ++end;
      }
    }
    return sql_.size();
  }

  /// Comments may stand in comments.
  std::size_t CommentEnd() const {
    std::size_t end = at_ + 2;
    for (int depth = 1; depth > 0 && end < sql_.size();) {
      const std::string_view two = sql_.substr(end, 2);
      if (two == "/*") ++depth;
      if (two == "*/") --depth;
      end += two == "/*" || two == "*/" ? 2 : 1;
    }
    return end;
  }

  /// Behind $tag$ ... $tag$; behind the dollar alone when it begins no such text.
  std::size_t DollarEnd() const {
    std::size_t tagEnd = at_ + 1;
    while (tagEnd < sql_.size() && sql_[tagEnd] != '$' && IsNameCharacter(sql_[tagEnd])) ++tagEnd;
    const bool isDigit = at_ + 1 < sql_.size() && sql_[at_ + 1] >= '0' && sql_[at_ + 1] <= '9';
    if (isDigit || tagEnd >= sql_.size() || sql_[tagEnd] != '$') return at_ + 1;
    const std::string_view tag = sql_.substr(at_, tagEnd + 1 - at_);
    const std::size_t closing = sql_.find(tag, tagEnd + 1);
    return closing == std::string_view::npos ? sql_.size() : closing + tag.size();
  }

  const std::string_view sql_;
  const PgMarkers markers_;
  std::size_t at_ = 0;
  int brackets_ = 0;
  int blocks_ = 0;  ///< BEGIN ATOMIC and the CASEs inside that have not ended.
  std::string lastWord_;
  PgStatement current_;
  std::vector<PgStatement> statements_;
};

}  // namespace

std::string PgStatement::FirstWord() const {
  std::string word;
  for (const char c : text) {
    if (!IsNameCharacter(c)) break;
    word += LowerAscii(c) == c && c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  }
  return word;
}

std::vector<PgStatement> SplitStatements(std::string_view sql, PgMarkers markers) {
  return Splitter(sql, markers).Split();
}

}  // namespace torvik

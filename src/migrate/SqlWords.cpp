#include "migrate/SqlWords.h"

#include <algorithm>

#include "platform/Text.h"

namespace torvik::migrate {
namespace {

bool IsWordCharacter(char c) {
  const char low = LowerAscii(c);
  return (low >= 'a' && low <= 'z') || IsDigit(c) || c == '_' || c == '@' || c == '#' || c == '$' ||
         (static_cast<unsigned char>(c) & 0x80) != 0;
}

class Words {
 public:
  explicit Words(std::string_view sql) : sql_(sql) {}

  std::vector<SqlWord> Read() {
    while (at_ < sql_.size()) Next();
    return std::move(words_);
  }

 private:
  bool Sees(std::string_view text) const { return sql_.substr(at_).starts_with(text); }

  void Go(std::size_t to) {
    to = std::min(to, sql_.size());
    line_ += static_cast<int>(std::count(sql_.begin() + at_, sql_.begin() + to, '\n'));
    at_ = to;
  }

  void Next() {
    const char c = sql_[at_];
    if (kWhiteSpace.find(c) != kWhiteSpace.npos) return Go(at_ + 1);
    if (Sees("--")) return Go(sql_.find('\n', at_));
    if (Sees("/*")) return Comment();
    if (c == '\'') return Quoted(SqlWord::Kind::Text, '\'');
    if (c == '[') return Quoted(SqlWord::Kind::Name, ']');
    if (c == '"') return Quoted(SqlWord::Kind::Name, '"');
    if (Sees("N'") || Sees("n'")) {
      ++at_;
      return Quoted(SqlWord::Kind::Text, '\'');
    }
    if (IsWordCharacter(c)) return Word();
    words_.push_back({SqlWord::Kind::Sign, std::string(1, c), line_});
    Go(at_ + 1);
  }

  /// Comments may hold each other.
  void Comment() {
    std::size_t at = at_ + 2;
    for (int depth = 1; depth > 0 && at < sql_.size();) {
      const std::string_view rest = sql_.substr(at);
      const int change = rest.starts_with("/*") ? 1 : rest.starts_with("*/") ? -1 : 0;
      depth += change;
      at += change == 0 ? 1 : 2;
    }
    Go(at);
  }

  void Quoted(SqlWord::Kind kind, char end) {
    SqlWord word{kind, "", line_, end == ']'};
    std::size_t at = at_ + 1;
    for (; at < sql_.size(); ++at) {
      if (sql_[at] == end && (at + 1 == sql_.size() || sql_[at + 1] != end)) break;
      if (sql_[at] == end) ++at;
      word.text += sql_[at];
    }
    words_.push_back(std::move(word));
    Go(at + 1);
  }

  void Word() {
    std::size_t end = at_;
    while (end < sql_.size() && IsWordCharacter(sql_[end])) ++end;
    const std::string_view text = sql_.substr(at_, end - at_);
    const auto kind = text[0] == '@'     ? SqlWord::Kind::Variable
                      : IsDigit(text[0]) ? SqlWord::Kind::Number
                                         : SqlWord::Kind::Name;
    words_.push_back(
        {kind, kind == SqlWord::Kind::Variable ? LowerAscii(text) : std::string(text), line_});
    Go(end);
  }

  std::string_view sql_;
  std::size_t at_ = 0;
  int line_ = 1;
  std::vector<SqlWord> words_;
};

}  // namespace

std::vector<SqlWord> SqlWordsOf(std::string_view sql) {
  return Words(sql).Read();
}

}  // namespace torvik::migrate

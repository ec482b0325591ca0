#include "migrate/SqlAdvice.h"

#include <algorithm>

#include "migrate/SqlWords.h"
#include "platform/Text.h"

namespace torvik::migrate {
namespace {

using Kind = SqlWord::Kind;

struct Advice {
  const char* word;
  bool isFunction;  ///< A '(' follows.
  const char* text;
};

constexpr Advice kAdvice[] = {
    {"TOP", false, "TOP n: LIMIT n at the end of the query"},
    {"ISNULL", true, "ISNULL(a, b): COALESCE(a, b)"},
    {"GETDATE", true, "GETDATE(): CURRENT_TIMESTAMP"},
    {"CONVERT", true,
     "CONVERT(type, a): CAST(a AS type); with a style strftime('%Y-%m-%d', a) on an embedded "
     "server, to_char(a, 'YYYY-MM-DD') on PostgreSQL"},
    {"LEN", true, "LEN(a): LENGTH(RTRIM(a))"},
    {"CHARINDEX", true,
     "CHARINDEX(a, b): INSTR(b, a) on an embedded server, STRPOS(b, a) on "
     "PostgreSQL"},
    {"DATEADD", true,
     "DATEADD(day, n, a): datetime(a, n || ' days') on an embedded server, a + n * "
     "INTERVAL '1 day' on PostgreSQL"},
    {"DATEDIFF", true,
     "DATEDIFF(day, a, b): julianday(b) - julianday(a) on an embedded server, "
     "CAST(b AS date) - CAST(a AS date) on PostgreSQL"},
    {"DATEPART", true,
     "DATEPART(year, a): strftime('%Y', a) on an embedded server, EXTRACT(year "
     "FROM a) on PostgreSQL"},
    {"YEAR", true,
     "YEAR(a): strftime('%Y', a) on an embedded server, EXTRACT(year FROM a) on "
     "PostgreSQL"},
    {"NOLOCK", false, "NOLOCK: nothing, readers do not wait for writers"},
    {"EXEC", false, "EXEC: procedures stay on their server; write their statements here"},
    {"EXECUTE", false, "EXECUTE: procedures stay on their server; write their statements here"},
    {"DECLARE", false, "DECLARE, SET, IF, WHILE: a global variable of the package, or a script"}};

class Text {
 public:
  explicit Text(std::string_view sql) : words_(SqlWordsOf(sql)) {}

  std::vector<std::string> Read() {
    for (std::size_t at = 0; at < words_.size(); ++at) {
      for (const Advice& advice : kAdvice)
        if (IsWord(at, advice.word) && (!advice.isFunction || IsSign(at + 1, "(")))
          Add(advice.text);
      if (IsAlias(at)) Add("SELECT alias = expression: SELECT expression AS alias");
      if (IsSelectInto(at))
        Add("SELECT ... INTO t FROM ...: CREATE TABLE t AS SELECT ... FROM ...");
      if (words_[at].isBracketed) Add("[name]: \"name\", which every server takes");
      if (IsSign(at, "+") && (IsText(at + 1) || (at > 0 && IsText(at - 1))))
        Add("'text' + a: 'text' || a");
    }
    return std::move(advice_);
  }

 private:
  bool IsWord(std::size_t at, const char* word) const {
    return at < words_.size() && words_[at].kind == Kind::Name && !words_[at].isBracketed &&
           EqualsIgnoringCase(words_[at].text, word);
  }
  bool IsSign(std::size_t at, const char* sign) const {
    return at < words_.size() && words_[at].kind == Kind::Sign && words_[at].text == sign;
  }
  bool IsText(std::size_t at) const { return at < words_.size() && words_[at].kind == Kind::Text; }

  /// A name and '=' behind SELECT or a comma of its list.
  bool IsAlias(std::size_t at) {
    if (IsSign(at, "(")) ++depth_;
    if (IsSign(at, ")")) --depth_;
    if (IsWord(at, "SELECT")) listDepth_ = depth_;
    if (IsWord(at, "FROM") && depth_ == listDepth_) listDepth_ = -1;
    if (at == 0 || depth_ != listDepth_ || !IsSign(at + 1, "=") || words_[at].kind != Kind::Name)
      return false;
    const bool isBehindTop = at > 2 && words_[at - 1].kind == Kind::Number && IsWord(at - 2, "TOP");
    return isBehindTop || IsWord(at - 1, "SELECT") || IsWord(at - 1, "DISTINCT") ||
           IsSign(at - 1, ",");
  }

  /// INTO that is not behind INSERT.
  bool IsSelectInto(std::size_t at) {
    if (IsWord(at, "SELECT")) isInSelect_ = true;
    if (IsWord(at, "FROM") || IsSign(at, ";")) isInSelect_ = false;
    return isInSelect_ && IsWord(at, "INTO");
  }

  void Add(const std::string& text) {
    if (std::ranges::find(advice_, text) == advice_.end()) advice_.push_back(text);
  }

  const std::vector<SqlWord> words_;
  std::vector<std::string> advice_;
  int depth_ = 0, listDepth_ = -1;
  bool isInSelect_ = false;
};

}  // namespace

std::vector<std::string> AdviceFor(std::string_view sql) {
  return Text(sql).Read();
}

}  // namespace torvik::migrate

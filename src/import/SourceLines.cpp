#include "import/SourceLines.h"

#include <algorithm>

#include "platform/Text.h"
#include "script/ScriptError.h"

namespace torvik::importing {
namespace {

using script::Token;
using script::TokenKind;

/// More physical lines than these are never one statement.
constexpr int kMostContinued = 1000;

/// Pairs of surrogates are one character; one alone is U+FFFD.
std::string FromUtf16(std::string_view bytes, bool isBigEndian) {
  const auto unitAt = [&](std::size_t at) {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    return static_cast<char32_t>(isBigEndian ? first << 8 | second : second << 8 | first);
  };
  const auto isOf = [](char32_t unit, char32_t first) { return unit >> 10 == first >> 10; };
  constexpr char32_t kHigh = 0xD800, kLow = 0xDC00, kReplacement = 0xFFFD;
  std::string utf8;
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
    char32_t point = unitAt(at);
    const bool isPair = isOf(point, kHigh) && at + 3 < bytes.size() && isOf(unitAt(at + 2), kLow);
    if (isPair) {
      point = 0x10000 + ((point - kHigh) << 10 | (unitAt(at + 2) - kLow));
      at += 2;
    } else if (isOf(point, kHigh) || isOf(point, kLow)) {
      point = kReplacement;
    }
    AppendCodePoint(point, utf8);
  }
  return utf8;
}

std::string FromWindows1252(std::string_view bytes) {
  // What the code page has from 0x80 to 0x9F; 0 where it has nothing.
  static constexpr unsigned kHigh[] = {
      0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
      0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
      0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};
  std::string utf8;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    const unsigned high = byte >= 0x80 && byte < 0xA0 ? kHigh[byte - 0x80] : 0;
    AppendCodePoint(high != 0 ? high : byte, utf8);
  }
  return utf8;
}

/// Whether a character behind a name says its type: "$" and "%" always, the others where nothing
/// follows that they could work on.
bool IsTypeMark(char c, std::string_view rest) {
  if (c == '$' || c == '%') return true;
  if (c != '&' && c != '#' && c != '!' && c != '@') return false;
  const bool isApart = rest.empty() || rest[0] == ' ' || rest[0] == ')' || rest[0] == ',';
  const std::string_view next = Trimmed(rest, " \t\f\v");
  const bool isDeclared = next.size() > 2 && EqualsIgnoringCase(next.substr(0, 3), "as ");
  return isApart && (next.empty() || next[0] == '=' || next[0] == ')' || next[0] == ',' ||
                     isDeclared || (c != '&' && rest[0] == ' '));
}

/// The bytes of a quotation mark as word processors and web pages have it, or of a blank that does
/// not break.
constexpr std::string_view kOpenQuote = "\xE2\x80\x9C", kCloseQuote = "\xE2\x80\x9D",
                           kFixedBlank = "\xC2\xA0";

/// The line without its comment, and without the marks of types behind names ("Chr$"). Texts may
/// stand between typographic quotes, which become plain ones.
std::string CleanedLine(std::string_view line) {
  std::string clean;
  bool isText = false, isTypographic = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const std::string_view here = line.substr(i, 3);
    const bool isQuote = here == kOpenQuote || here == kCloseQuote;
    if (isQuote && (!isText || isTypographic)) {
      isText = isTypographic = !isText;
      clean += '"';
      i += here.size() - 1;
      continue;
    }
    if (!isText && here.starts_with(kFixedBlank)) {
      clean += ' ';
      ++i;
      continue;
    }
    const char c = line[i];
    if (c == '"') isText = !isText;
    if (!isText && c == '\'') break;
    const bool isBehindName =
        i > 0 && (std::isalnum(static_cast<unsigned char>(line[i - 1])) || line[i - 1] == '_');
    if (!isText && isBehindName && IsTypeMark(c, line.substr(i + 1))) continue;
    clean += c;
  }
  return std::string(Trimmed(clean, " \t\f\v"));
}

/// Visual Basic's own sign, and an operator or an open list as Visual Basic .NET takes them.
bool IsContinued(std::string& line) {
  if (line == "_" || line.ends_with(" _") || line.ends_with("\t_")) {
    line.pop_back();
    return true;
  }
  return !line.empty() && std::string_view("&,(+").find(line.back()) != std::string_view::npos;
}

bool StartsWithWord(std::string_view line, std::string_view word) {
  return line.size() >= word.size() && EqualsIgnoringCase(line.substr(0, word.size()), word) &&
         (line.size() == word.size() || line[word.size()] == ' ' || line[word.size()] == '\t');
}

/// Whether a form's or a class's description begins here, which ends with its first attribute.
bool IsHeader(std::string_view line) {
  return StartsWithWord(line, "VERSION") || StartsWithWord(line, "BEGIN");
}

Token Symbol(const Token& like, const char* text) {
  Token symbol = like;
  symbol.kind = TokenKind::Symbol;
  symbol.text = text;
  return symbol;
}

/// The named arguments of a line, each up to its end.
class NamedArguments {
 public:
  explicit NamedArguments(std::vector<Token>& simple) : simple_(simple) {}

  /// "a:=" begins as a call of "a:".
  void Begin(Token name) {
    name.bracketed = true;  // no reserved word
    name.lower += ':';
    name.text.clear();
    simple_.insert(simple_.end(), {name, Symbol(name, "(")});
    open_.push_back(depth_);
  }

  /// Closes those that end before `token`.
  void EndBefore(const Token& token) {
    const bool endsAll = token.kind == TokenKind::EndOfText || token.kind == TokenKind::Colon;
    const bool endsOne = token.IsSymbol(",") || token.IsSymbol(")");
    while (!open_.empty() && (endsAll || (endsOne && open_.back() >= depth_))) {
      simple_.push_back(Symbol(token, ")"));
      open_.pop_back();
    }
    depth_ += token.IsSymbol("(") ? 1 : token.IsSymbol(")") ? -1 : 0;
  }

 private:
  std::vector<Token>& simple_;
  std::vector<int> open_;  // the parentheses that each stands in
  int depth_ = 0;
};

/// "New A.B(...)" becomes a call of "New" with the name as its text; the named argument "a:=b"
/// becomes the call "a:"(b); what is said of the own object ("Me.x") is said of the name alone.
void Simplify(std::vector<Token>& tokens) {
  std::vector<Token> simple;
  NamedArguments named(simple);
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const bool isMember = !simple.empty() && simple.back().IsSymbol(".");
    if (tokens[i].IsWord("me") && !isMember && tokens[i + 1].IsSymbol(".")) {
      ++i;
      continue;
    }
    if (tokens[i].IsWord("new") && !isMember && tokens[i + 1].kind == TokenKind::Name) {
      std::string name;
      std::size_t at = i + 1;
      for (; tokens[at].kind == TokenKind::Name || tokens[at].IsSymbol("."); ++at)
        name += tokens[at].text;
      Token made = tokens[i];
      made.bracketed = true;  // no reserved word
      simple.push_back(made);
      Token literal = tokens[i];
      literal.kind = TokenKind::Literal;
      literal.value = script::Value::OfText(name);
      simple.insert(simple.end(), {Symbol(tokens[i], "("), literal, Symbol(tokens[i], ")")});
      i = at - 1;
      continue;
    }
    if (tokens[i].kind == TokenKind::Name && i + 2 < tokens.size() &&
        tokens[i + 1].kind == TokenKind::Colon && tokens[i + 2].IsSymbol("=")) {
      named.Begin(tokens[i]);
      i += 2;
      continue;
    }
    named.EndBefore(tokens[i]);
    simple.push_back(tokens[i]);
  }
  tokens = std::move(simple);
}

void TakeApart(SourceLine& line) {
  // Attributes and instructions to the compiler.
  if (line.text[0] == '<' || line.text[0] == '#') return;
  try {
    line.tokens = script::ReadTokens(line.text);
    std::erase_if(line.tokens,
                  [](const Token& token) { return token.kind == TokenKind::EndOfLine; });
    Simplify(line.tokens);
  } catch (const script::ScriptError&) {
    line.tokens.clear();
    line.isUnderstood = false;
  }
}

}  // namespace

std::string DecodedSource(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  if (bytes.starts_with("\xFF\xFE")) return FromUtf16(bytes.substr(2), false);
  if (bytes.starts_with("\xFE\xFF")) return FromUtf16(bytes.substr(2), true);
  return ValidUtf8Length(bytes) == bytes.size() ? std::string(bytes) : FromWindows1252(bytes);
}

std::vector<SourceLine> ReadSourceLines(std::string_view source) {
  std::vector<SourceLine> lines;
  int number = 0, continued = 0;
  bool isHeader = false, goesOn = false;
  for (std::size_t at = 0; at < source.size();) {
    const std::size_t end = std::min(source.find_first_of("\r\n", at), source.size());
    const std::string_view raw = Trimmed(source.substr(at, end - at), " \t\f\v");
    at = end + (source.substr(end, 2) == "\r\n" ? 2 : 1);
    ++number;
    if (lines.empty() && IsHeader(raw)) isHeader = true;
    if (isHeader && !StartsWithWord(raw, "Attribute")) continue;
    isHeader = false;
    std::string text = CleanedLine(raw);
    const bool isEnd = text.empty() && !goesOn;
    if (isEnd) continue;
    const bool ends = !IsContinued(text) || ++continued > kMostContinued;
    if (goesOn)
      lines.back().text += (lines.back().text.ends_with(' ') ? "" : " ") + text;
    else
      lines.push_back({number, text, {}, true});
    goesOn = !ends;
    if (ends) continued = 0;
  }
  for (SourceLine& line : lines)
    if (!line.text.empty()) TakeApart(line);
  return lines;
}

}  // namespace torvik::importing

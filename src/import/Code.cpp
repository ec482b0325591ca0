#include "import/Code.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <iterator>

#include "import/SourceLines.h"
#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/Parser.h"
#include "script/ScriptError.h"

namespace torvik::importing {
namespace {

using script::ExpressionPtr;
using script::Token;
using script::TokenCursor;
using script::TokenKind;

/// Deeper blocks are taken for damage.
constexpr int kDeepest = 200;

/// Where a block ends: a word ("else"), or "end" with one behind it ("end if").
using Ends = std::initializer_list<std::string_view>;

std::unique_ptr<Node> NewNode(NodeKind kind, int line) {
  auto node = std::make_unique<Node>();
  node->kind = kind;
  node->line = line;
  return node;
}

bool IsAnyWord(const Token& token, std::initializer_list<std::string_view> words) {
  return std::ranges::any_of(words, [&](std::string_view word) { return token.IsWord(word); });
}

/// The words before what is declared.
bool IsModifier(const Token& token) {
  return IsAnyWord(
      token, {"public", "private", "friend", "protected", "shared", "static", "overrides",
              "overridable", "withevents", "shadows", "readonly", "notinheritable", "default"});
}

/// Statements that say nothing of a package.
bool IsIdle(const Token& token) {
  return IsAnyWord(
      token, {"attribute", "imports", "implements", "inherits", "resume",   "goto",      "stop",
              "randomize", "erase",   "open",       "close",    "print",    "write",     "redim",
              "declare",   "event",   "raiseevent", "on",       "doevents", "namespace", "class",
              "module",    "deftype", "beep",       "delegate"});
}

/// Descriptions of types, which go on to their end.
bool IsType(const Token& token) {
  return IsAnyWord(token, {"type", "enum", "structure", "interface"});
}

class Reader {
 public:
  explicit Reader(std::string_view source) : lines_(ReadSourceLines(source)) {}

  Code Read() {
    while (at_ < lines_.size()) {
      if (IsProcedure(Line()))
        ReadProcedure();
      else
        ReadLine(code_.body);
    }
    return std::move(code_);
  }

 private:
  const SourceLine& Line() const { return lines_[at_]; }

  static std::size_t BehindModifiers(const SourceLine& line) {
    std::size_t at = 0;
    while (at < line.tokens.size() && IsModifier(line.tokens[at])) ++at;
    return at;
  }

  static bool IsProcedure(const SourceLine& line) {
    const std::size_t at = BehindModifiers(line);
    return at + 1 < line.tokens.size() &&
           IsAnyWord(line.tokens[at], {"sub", "function", "property"}) &&
           line.tokens[at + 1].kind == TokenKind::Name;
  }

  void ReadProcedure() {
    const SourceLine& head = Line();
    ++at_;
    std::size_t at = BehindModifiers(head);
    const std::string kind = head.tokens[at++].lower;
    if (kind == "property" && IsAnyWord(head.tokens[at], {"get", "let", "set"})) ++at;
    Procedure procedure;
    procedure.line = head.number;
    procedure.name = head.tokens[at].text;
    procedure.lower = head.tokens[at].lower;
    ReadParameters(head, at + 1, procedure);
    ReadBlock(procedure.body, {"end sub", "end function", "end property"});
    code_.procedures.push_back(std::move(procedure));
  }

  /// Those of a head, whose tokens from `at` on are "(ByVal a As String, Optional b = 1) As ...".
  static void ReadParameters(const SourceLine& line, std::size_t at, Procedure& procedure) {
    TokenCursor cursor(line.tokens);
    cursor.Return(at);
    if (!cursor.TakeSymbol("(")) return;
    while (!cursor.AtEnd() && !cursor.TakeSymbol(")")) {
      Parameter parameter = ReadParameter(cursor);
      if (!parameter.name.empty()) procedure.parameters.push_back(std::move(parameter));
      SkipTo(cursor, {",", ")"});
      cursor.TakeSymbol(",");
    }
  }

  static Parameter ReadParameter(TokenCursor& cursor) {
    Parameter parameter;
    while (IsAnyWord(cursor.Here(), {"byval", "byref", "optional", "paramarray"}))
      parameter.isOptional = cursor.Take().lower == "optional" || parameter.isOptional;
    if (cursor.Here().kind != TokenKind::Name) return parameter;
    parameter.name = cursor.Take().lower;
    if (cursor.Here().IsSymbol("(")) SkipGroup(cursor);
    if (cursor.TakeWord("as"))
      while (cursor.Here().kind == TokenKind::Name || cursor.Here().IsSymbol("."))
        parameter.type += cursor.Take().text;
    parameter.type = LowerAscii(parameter.type);
    if (cursor.TakeSymbol("=")) parameter.value = ReadDefault(cursor);
    return parameter;
  }

  static ExpressionPtr ReadDefault(TokenCursor& cursor) {
    try {
      return script::ParseExpression(cursor);
    } catch (const script::ScriptError&) {
      return nullptr;  // not understood: as if nothing were given
    }
  }

  static void SkipTo(TokenCursor& cursor, std::initializer_list<std::string_view> symbols) {
    const auto isHere = [&](std::string_view symbol) { return cursor.Here().IsSymbol(symbol); };
    while (!cursor.AtEnd() && std::ranges::none_of(symbols, isHere)) {
      if (cursor.Here().IsSymbol("("))
        SkipGroup(cursor);
      else
        cursor.Take();
    }
  }

  /// Reads up to one of the ends, which is taken; answers it, empty at the end of the text.
  std::string ReadBlock(Nodes& nodes, Ends ends) {
    while (at_ < lines_.size()) {
      const std::string end = EndAt(ends);
      if (!end.empty()) return end;
      // A block that is not closed ends with its procedure.
      if (IsProcedure(Line())) return {};
      ReadLine(nodes);
    }
    return {};
  }

  /// The end that stands here, whose line is not taken where it says more ("elseif", "case").
  std::string EndAt(Ends ends) {
    const auto& tokens = Line().tokens;
    if (tokens.empty()) return {};
    for (const std::string_view end : ends) {
      const std::size_t blank = end.find(' ');
      const bool isHere = blank == end.npos
                              ? tokens[0].IsWord(end)
                              : tokens.size() > 1 && tokens[0].IsWord(end.substr(0, blank)) &&
                                    tokens[1].IsWord(end.substr(blank + 1));
      if (!isHere) continue;
      const bool saysMore = IsAnyWord(tokens[0], {"elseif", "else", "case", "loop", "catch"});
      if (!saysMore) ++at_;
      return std::string(end);
    }
    return {};
  }

  /// One line, with the block that it begins.
  void ReadLine(Nodes& nodes) {
    const SourceLine& line = Line();
    ++at_;
    if (!line.isUnderstood) return Keep(line, nodes);
    if (line.tokens.empty()) return;
    if (++depth_ > kDeepest) {
      Keep(line, nodes);
    } else {
      try {
        TokenCursor cursor(line.tokens);
        ReadStatements(cursor, line, nodes);
      } catch (const script::ScriptError&) {
        Keep(line, nodes);
      }
    }
    --depth_;
  }

  static void Keep(const SourceLine& line, Nodes& nodes) {
    auto node = NewNode(NodeKind::NotUnderstood, line.number);
    node->text = line.text;
    nodes.push_back(std::move(node));
  }

  /// Those that stand on one line.
  void ReadStatements(TokenCursor& cursor, const SourceLine& line, Nodes& nodes) {
    // A line's number, or its name.
    if (cursor.Here().kind == TokenKind::Literal) cursor.Take();
    if (cursor.Here().kind == TokenKind::Name && cursor.Next().kind == TokenKind::Colon &&
        !script::IsReserved(cursor.Here()))
      cursor.Take();
    for (;;) {
      while (cursor.Here().kind == TokenKind::Colon) cursor.Take();
      if (cursor.Here().kind == TokenKind::EndOfText || cursor.Here().IsWord("else")) return;
      ReadStatement(cursor, line, nodes);
      if (!cursor.AtEnd() && !cursor.Here().IsWord("else")) cursor.Fail(1025);
    }
  }

  void ReadStatement(TokenCursor& cursor, const SourceLine& line, Nodes& nodes) {
    const Token& first = cursor.Here();
    const int number = line.number;
    if (first.IsWord("if")) return ReadIf(cursor, line, nodes);
    if (first.IsWord("select")) return ReadSelect(cursor, number, nodes);
    if (first.IsWord("for")) return ReadFor(cursor, number, nodes);
    if (IsAnyWord(first, {"do", "while"})) return ReadLoop(cursor, number, nodes);
    if (IsAnyWord(first, {"with", "using", "synclock"})) return ReadWith(cursor, number, nodes);
    if (first.IsWord("try")) return ReadTry(cursor, number, nodes);
    if (IsAnyWord(first, {"exit", "return", "end", "throw", "goto"}))
      return ReadExit(cursor, number, nodes);
    if (IsModifier(first) || IsAnyWord(first, {"dim", "const", "global"}))
      return ReadDeclaration(cursor, number, nodes);
    if (first.IsWord("option")) return ReadOption(cursor);
    if (IsIdle(first)) return SkipRest(cursor);
    if (IsType(first) && cursor.Next().kind == TokenKind::Name) return ReadType(cursor, nodes);
    ReadCallOrAssignment(cursor, number, nodes);
  }

  void ReadOption(TokenCursor& cursor) {
    cursor.Take();
    const bool isBase = cursor.TakeWord("base") && cursor.Here().kind == TokenKind::Literal;
    if (isBase && cursor.Here().value.IsNumber())
      code_.arrayBase = script::ToDouble(cursor.Here().value) == 1 ? 1 : 0;
    SkipRest(cursor);
  }

  static void SkipRest(TokenCursor& cursor) {
    while (!cursor.AtEnd()) cursor.Take();
  }

  /// Of types only the constants of an enumeration matter.
  void ReadType(TokenCursor& cursor, Nodes& nodes) {
    const bool isEnum = cursor.Here().IsWord("enum");
    const std::string end = "end " + cursor.Here().lower;
    SkipRest(cursor);
    for (int next = 0; at_ < lines_.size() && EndAt({end}).empty(); ++at_)
      if (isEnum && !Line().tokens.empty()) nodes.push_back(EnumConstant(Line(), next));
  }

  /// `next` is the number of a constant that has none, and becomes that of the next one.
  static std::unique_ptr<Node> EnumConstant(const SourceLine& line, int& next) {
    auto node = NewNode(NodeKind::Constant, line.number);
    TokenCursor cursor(line.tokens);
    node->declarations.push_back({cursor.Take().lower, "", false});
    auto value = std::make_unique<script::Expression>();
    value->literal = script::Value::OfWhole(next);
    if (cursor.TakeSymbol("=")) value = script::ParseExpression(cursor);
    constexpr double kMost = 2147483646;
    if (value->literal.IsNumber() && std::abs(script::ToDouble(value->literal)) < kMost)
      next = static_cast<int>(script::ToDouble(value->literal)) + 1;
    node->expressions.push_back(std::move(value));
    return node;
  }

  void ReadCallOrAssignment(TokenCursor& cursor, int number, Nodes& nodes) {
    const bool isCall = cursor.TakeWord("call");
    if (!isCall && !cursor.TakeWord("set")) cursor.TakeWord("let");
    ExpressionPtr target = script::ParseReference(cursor);
    auto node = NewNode(NodeKind::Call, number);
    const bool appends =
        (cursor.Here().IsSymbol("&") || cursor.Here().IsSymbol("+")) && cursor.Next().IsSymbol("=");
    if (appends) cursor.Take();
    if (!isCall && cursor.TakeSymbol("=")) {
      node->kind = appends ? NodeKind::Append : NodeKind::Assign;
      node->expressions.push_back(std::move(target));
      node->expressions.push_back(script::ParseExpression(cursor));
    } else {
      // "a.Add x, y" without parentheses.
      if (!cursor.AtEnd() && !cursor.Here().IsWord("else")) {
        auto call = std::make_unique<script::Expression>();
        call->kind = script::ExpressionKind::Call;
        call->place = cursor.Here().place;
        call->operands.push_back(std::move(target));
        std::vector<ExpressionPtr> arguments;
        script::ParseArguments(cursor, arguments);
        std::ranges::move(arguments, std::back_inserter(call->operands));
        target = std::move(call);
      }
      node->expressions.push_back(std::move(target));
    }
    nodes.push_back(std::move(node));
  }

  void ReadDeclaration(TokenCursor& cursor, int number, Nodes& nodes) {
    auto node = NewNode(NodeKind::Declare, number);
    while (IsModifier(cursor.Here()) || IsAnyWord(cursor.Here(), {"dim", "const", "global"}))
      if (cursor.Take().IsWord("const")) node->kind = NodeKind::Constant;
    if (IsType(cursor.Here())) return ReadType(cursor, nodes);
    if (IsIdle(cursor.Here()) || cursor.Here().kind != TokenKind::Name) return SkipRest(cursor);
    do {
      Declaration declaration;
      declaration.name = cursor.Take().lower;
      if (cursor.Here().IsSymbol("(")) SkipGroup(cursor);
      ExpressionPtr value;
      if (cursor.TakeWord("as")) {
        if (cursor.Here().lower == "new") {  // a call by now
          value = script::ParseExpression(cursor);
          declaration.isNew = true;
        } else {
          while (cursor.Here().kind == TokenKind::Name || cursor.Here().IsSymbol("."))
            declaration.type += cursor.Take().lower;
          if (cursor.Here().IsSymbol("(")) SkipGroup(cursor);
          if (cursor.TakeSymbol("*")) cursor.Take();  // a text of fixed length
        }
      }
      if (cursor.TakeSymbol("=")) value = script::ParseExpression(cursor);
      node->declarations.push_back(std::move(declaration));
      node->expressions.push_back(std::move(value));
    } while (cursor.TakeSymbol(","));
    nodes.push_back(std::move(node));
  }

  static void SkipGroup(TokenCursor& cursor) {
    int depth = 0;
    do {
      if (cursor.Here().IsSymbol("(")) ++depth;
      if (cursor.Here().IsSymbol(")")) --depth;
      cursor.Take();
    } while (depth > 0 && cursor.Here().kind != TokenKind::EndOfText);
  }

  void ReadIf(TokenCursor& cursor, const SourceLine& line, Nodes& nodes) {
    auto node = NewNode(NodeKind::If, line.number);
    cursor.Take();
    Branch branch;
    branch.line = line.number;
    branch.conditions.push_back(script::ParseExpression(cursor));
    cursor.TakeWord("then");
    if (!cursor.AtEnd()) {
      ReadStatements(cursor, line, branch.body);
      node->branches.push_back(std::move(branch));
      if (cursor.TakeWord("else")) {
        Branch other;
        other.line = line.number;
        ReadStatements(cursor, line, other.body);
        node->branches.push_back(std::move(other));
      }
      nodes.push_back(std::move(node));
      return;
    }
    for (;;) {
      const std::string end = ReadBlock(branch.body, {"elseif", "else if", "else", "end if"});
      node->branches.push_back(std::move(branch));
      if (end.empty() || end == "end if") break;
      branch = {};
      branch.line = Line().number;
      TokenCursor next(Line().tokens);
      ++at_;
      next.Take();
      if (end == "else if") next.Take();
      if (end != "else") {
        branch.conditions.push_back(script::ParseExpression(next));
        next.TakeWord("then");
      }
      // "Else: statement" on one line
      if (!next.AtEnd() || next.Here().kind == TokenKind::Colon)
        ReadStatements(next, lines_[at_ - 1], branch.body);
    }
    nodes.push_back(std::move(node));
  }

  void ReadSelect(TokenCursor& cursor, int number, Nodes& nodes) {
    auto node = NewNode(NodeKind::Select, number);
    cursor.Take();
    cursor.TakeWord("case");
    node->expressions.push_back(script::ParseExpression(cursor));
    Nodes before;
    std::string end = ReadBlock(before, {"case", "end select"});
    while (end == "case") {
      Branch branch;
      branch.line = Line().number;
      const SourceLine& line = Line();
      ++at_;
      TokenCursor next(line.tokens);
      next.Take();
      if (!next.TakeWord("else")) {
        next.TakeWord("is");
        do {
          branch.conditions.push_back(script::ParseExpression(next));
        } while (next.TakeSymbol(","));
      }
      if (next.Here().kind == TokenKind::Colon) ReadStatements(next, line, branch.body);
      end = ReadBlock(branch.body, {"case", "end select"});
      node->branches.push_back(std::move(branch));
    }
    nodes.push_back(std::move(node));
  }

  void ReadFor(TokenCursor& cursor, int number, Nodes& nodes) {
    cursor.Take();
    const bool isEach = cursor.TakeWord("each");
    auto node = NewNode(isEach ? NodeKind::ForEach : NodeKind::For, number);
    node->name = cursor.Take().lower;
    if (cursor.TakeWord("as"))
      while (cursor.Here().kind == TokenKind::Name && !cursor.Here().IsWord("in")) cursor.Take();
    if (isEach) {
      cursor.ExpectWord("in", 1025);
      node->expressions.push_back(script::ParseExpression(cursor));
    } else {
      cursor.ExpectSymbol("=", 1011);
      node->expressions.push_back(script::ParseExpression(cursor));
      cursor.ExpectWord("to", 1015);
      node->expressions.push_back(script::ParseExpression(cursor));
      node->expressions.push_back(cursor.TakeWord("step") ? script::ParseExpression(cursor)
                                                          : ExpressionPtr());
    }
    ReadBlock(node->body, {"next"});
    nodes.push_back(std::move(node));
  }

  void ReadLoop(TokenCursor& cursor, int number, Nodes& nodes) {
    auto node = NewNode(NodeKind::Loop, number);
    const bool isWhile = cursor.Here().IsWord("while");
    if (!isWhile) cursor.Take();
    TakeCondition(cursor, *node);
    if (isWhile) {
      ReadBlock(node->body, {"wend", "end while"});
    } else if (ReadBlock(node->body, {"loop"}) == "loop") {
      TokenCursor end(Line().tokens);
      ++at_;
      end.Take();
      node->flag2 = node->expressions.empty();
      TakeCondition(end, *node);
    }
    nodes.push_back(std::move(node));
  }

  static void TakeCondition(TokenCursor& cursor, Node& loop) {
    if (!IsAnyWord(cursor.Here(), {"while", "until"})) return;
    loop.flag = cursor.Take().lower == "until";
    loop.expressions.push_back(script::ParseExpression(cursor));
  }

  void ReadWith(TokenCursor& cursor, int number, Nodes& nodes) {
    const std::string word = cursor.Take().lower;
    auto node = NewNode(word == "with" ? NodeKind::With : NodeKind::Body, number);
    if (word == "with")
      node->expressions.push_back(script::ParseExpression(cursor));
    else
      SkipRest(cursor);
    ReadBlock(node->body, {"end with", "end using", "end synclock"});
    nodes.push_back(std::move(node));
  }

  /// What is tried and what is done in any case; not what follows an error.
  void ReadTry(TokenCursor& cursor, int number, Nodes& nodes) {
    cursor.Take();
    auto node = NewNode(NodeKind::Body, number);
    std::string end = ReadBlock(node->body, {"catch", "finally", "end try"});
    while (end == "catch" || end == "finally") {
      Nodes ignored;
      if (end == "catch") ++at_;
      end = ReadBlock(end == "catch" ? ignored : node->body, {"catch", "finally", "end try"});
    }
    nodes.push_back(std::move(node));
  }

  void ReadExit(TokenCursor& cursor, int number, Nodes& nodes) {
    auto node = NewNode(NodeKind::Exit, number);
    const std::string word = cursor.Take().lower;
    const Token& what = cursor.Here();
    // The ends of what has not been begun, as of classes.
    if (word == "end" && what.kind == TokenKind::Name) return SkipRest(cursor);
    // Only errors jump.
    if (word == "goto") return SkipRest(cursor);
    node->name = word == "exit" && what.kind == TokenKind::Name ? what.lower : "sub";
    if (word == "exit") cursor.Take();
    if (word == "return" && !cursor.AtEnd())
      node->expressions.push_back(script::ParseExpression(cursor));
    SkipRest(cursor);
    nodes.push_back(std::move(node));
  }

  std::vector<SourceLine> lines_;
  std::size_t at_ = 0;
  int depth_ = 0;
  Code code_;
};

}  // namespace

Code ReadCode(std::string_view source) {
  return Reader(source).Read();
}

}  // namespace torvik::importing

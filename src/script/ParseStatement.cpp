#include <algorithm>
#include <string>

#include "script/Parser.h"
#include "script/ScriptError.h"

namespace torvik::script {

namespace {

constexpr int deepestBlocks = 100;
constexpr std::size_t largestSource = 1 << 20;

class StatementParser {
 public:
  explicit StatementParser(TokenCursor& cursor) : cursor_(cursor) {}

  ScriptSyntax Parse() {
    for (;;) {
      SkipEnds();
      if (Here().kind == TokenKind::EndOfText) return std::move(script_);
      if (Here().IsWord("option")) {
        ParseOption();
      } else if (IsProcedure()) {
        ParseProcedure();
      } else {
        ParseStatement(script_.body);
      }
      ExpectEnd();
    }
  }

 private:
  const Token& Here() const { return cursor_.Here(); }
  bool TakeWord(std::string_view word) { return cursor_.TakeWord(word); }

  void SkipEnds() {
    while (Here().kind == TokenKind::EndOfLine || Here().kind == TokenKind::Colon) cursor_.Take();
  }

  void ExpectEnd() {
    if (!cursor_.AtEnd() && !AtBlockEnd()) cursor_.Fail(1025);
  }

  /// Words with which no statement begins.
  bool AtBlockEnd() const {
    static constexpr std::string_view words[] = {"end",  "else", "elseif", "next",
                                                 "loop", "wend", "case"};
    return Here().kind == TokenKind::Name && !Here().bracketed &&
           std::ranges::find(words, Here().lower) != std::end(words);
  }

  void ParseOption() {
    if (!script_.body.empty() || !script_.procedures.empty()) cursor_.Fail(1042);
    cursor_.Take();
    cursor_.ExpectWord("explicit", 1002);
    script_.optionExplicit = true;
  }

  bool IsProcedure() const {
    const auto begins = [](const Token& t) { return t.IsWord("sub") || t.IsWord("function"); };
    const bool isPrefixed = Here().IsWord("public") || Here().IsWord("private");
    return begins(Here()) ||
           (isPrefixed && (begins(cursor_.Next()) || cursor_.Next().IsWord("default")));
  }

  void ParseProcedure() {
    if (TakeWord("public") || TakeWord("private")) TakeWord("default");
    ProcedureSyntax procedure;
    procedure.isFunction = Here().IsWord("function");
    const std::string_view word = procedure.isFunction ? "function" : "sub";
    const int expected = procedure.isFunction ? 1015 : 1016;
    cursor_.ExpectWord(word, expected);
    procedure.place = Here().place;
    TakeName(procedure.name, procedure.lower);
    if (cursor_.TakeSymbol("(") && !cursor_.TakeSymbol(")")) {
      do ParseParameter(procedure);
      while (cursor_.TakeSymbol(","));
      cursor_.ExpectSymbol(")", 1006);
    }
    procedure.body = ParseBlock();
    cursor_.ExpectWord("end", 1014);
    cursor_.ExpectWord(word, expected);
    script_.procedures.push_back(std::move(procedure));
  }

  void ParseParameter(ProcedureSyntax& procedure) {
    Parameter parameter;
    parameter.byValue = TakeWord("byval");
    if (!parameter.byValue) TakeWord("byref");
    TakeName(parameter.name, parameter.lower);
    if (cursor_.TakeSymbol("(")) cursor_.ExpectSymbol(")", 1006);
    procedure.parameters.push_back(std::move(parameter));
  }

  void TakeName(std::string& name, std::string& lower) {
    if (Here().kind != TokenKind::Name || IsReserved(Here())) cursor_.Fail(1010);
    const Token& token = cursor_.Take();
    name = token.text;
    lower = token.lower;
  }

  /// Statements up to a word that ends a block.
  Block ParseBlock() {
    if (++depth_ > deepestBlocks) cursor_.Fail(1001);
    Block block;
    for (;;) {
      SkipEnds();
      if (Here().kind == TokenKind::EndOfText || AtBlockEnd()) break;
      if (IsProcedure()) cursor_.Fail(1002);
      ParseStatement(block);
      ExpectEnd();
    }
    --depth_;
    return block;
  }

  /// The statements of an If that stands on one line.
  Block ParseLine() {
    if (++depth_ > deepestBlocks) cursor_.Fail(1001);
    Block block;
    for (;;) {
      while (Here().kind == TokenKind::Colon) cursor_.Take();
      if (cursor_.AtEnd() || AtBlockEnd()) break;
      ParseStatement(block);
      ExpectEnd();
    }
    --depth_;
    return block;
  }

  Statement& Add(Block& block, StatementKind kind) {
    Statement& statement = *block.emplace_back(std::make_unique<Statement>());
    statement.kind = kind;
    statement.place = Here().place;
    return statement;
  }

  ExpressionPtr Expression() { return ParseExpression(cursor_); }

  void ParseStatement(Block& block) {
    using Handler = void (StatementParser::*)(Block&);
    static constexpr struct {
      std::string_view word;
      Handler handler;
    } handlers[] = {
        {"dim", &StatementParser::ParseDim},     {"public", &StatementParser::ParseDim},
        {"private", &StatementParser::ParseDim}, {"redim", &StatementParser::ParseReDim},
        {"erase", &StatementParser::ParseErase}, {"const", &StatementParser::ParseConst},
        {"if", &StatementParser::ParseIf},       {"select", &StatementParser::ParseSelect},
        {"for", &StatementParser::ParseFor},     {"do", &StatementParser::ParseDo},
        {"while", &StatementParser::ParseWhile}, {"exit", &StatementParser::ParseExit},
        {"on", &StatementParser::ParseOnError},  {"with", &StatementParser::ParseWith},
        {"call", &StatementParser::ParseCall},   {"set", &StatementParser::ParseAssign},
        {"let", &StatementParser::ParseAssign},  {"stop", &StatementParser::ParseStop},
    };
    if (Here().kind == TokenKind::Name && !Here().bracketed) {
      for (const auto& [word, handler] : handlers) {
        if (Here().lower == word) return (this->*handler)(block);
      }
      if (IsReserved(Here())) cursor_.Fail(1002);
    }
    ParseReferenceStatement(block);
  }

  void ParseStop(Block&) { cursor_.Take(); }

  void ParseDim(Block& block) {
    if (cursor_.Next().IsWord("const")) {
      cursor_.Take();
      return ParseConst(block);
    }
    Statement& statement = Add(block, StatementKind::Dim);
    cursor_.Take();
    ParseVariables(statement);
  }

  void ParseReDim(Block& block) {
    Statement& statement = Add(block, StatementKind::ReDim);
    cursor_.Take();
    statement.flag = TakeWord("preserve");
    ParseVariables(statement);
    for (const auto& variable : statement.variables) {
      if (variable.bounds.empty()) cursor_.Fail(1005);
    }
  }

  void ParseVariables(Statement& statement) {
    do {
      VariableDeclaration variable;
      variable.place = Here().place;
      TakeName(variable.name, variable.lower);
      if (cursor_.TakeSymbol("(")) {
        variable.isArray = true;
        ParseArguments(cursor_, variable.bounds);
        for (const auto& bound : variable.bounds) {
          if (!bound) cursor_.Fail(1023);
        }
        cursor_.ExpectSymbol(")", 1006);
      }
      statement.variables.push_back(std::move(variable));
    } while (cursor_.TakeSymbol(","));
  }

  void ParseErase(Block& block) {
    Statement& statement = Add(block, StatementKind::Erase);
    cursor_.Take();
    do statement.expressions.push_back(ParseReference(cursor_));
    while (cursor_.TakeSymbol(","));
  }

  void ParseConst(Block& block) {
    Statement& statement = Add(block, StatementKind::Const);
    cursor_.Take();
    do {
      VariableDeclaration constant;
      constant.place = Here().place;
      TakeName(constant.name, constant.lower);
      cursor_.ExpectSymbol("=", 1011);
      constant.bounds.push_back(Expression());
      statement.variables.push_back(std::move(constant));
    } while (cursor_.TakeSymbol(","));
  }

  void ParseIf(Block& block) {
    Statement& statement = Add(block, StatementKind::If);
    cursor_.Take();
    AddClause(statement).conditions.push_back(Expression());
    cursor_.ExpectWord("then", 1017);
    if (Here().kind != TokenKind::EndOfLine) return ParseIfLine(statement);
    statement.clauses.back().body = ParseBlock();
    while (Here().IsWord("elseif")) {
      Clause& clause = AddClause(statement);
      cursor_.Take();
      clause.conditions.push_back(Expression());
      cursor_.ExpectWord("then", 1017);
      clause.body = ParseBlock();
    }
    if (Here().IsWord("else")) {
      Clause& clause = AddClause(statement);
      cursor_.Take();
      clause.body = ParseBlock();
    }
    cursor_.ExpectWord("end", 1014);
    cursor_.ExpectWord("if", 1014);
  }

  void ParseIfLine(Statement& statement) {
    statement.clauses.back().body = ParseLine();
    if (Here().IsWord("else")) {
      Clause& clause = AddClause(statement);
      cursor_.Take();
      clause.body = ParseLine();
    }
    if (Here().IsWord("end") && cursor_.Next().IsWord("if")) {
      cursor_.Take();
      cursor_.Take();
    }
  }

  Clause& AddClause(Statement& statement) {
    Clause& clause = statement.clauses.emplace_back();
    clause.place = Here().place;
    return clause;
  }

  void ParseSelect(Block& block) {
    Statement& statement = Add(block, StatementKind::Select);
    cursor_.Take();
    cursor_.ExpectWord("case", 1021);
    statement.expressions.push_back(Expression());
    SkipEnds();
    while (Here().IsWord("case")) {
      Clause& clause = AddClause(statement);
      cursor_.Take();
      if (!TakeWord("else")) {
        do clause.conditions.push_back(Expression());
        while (cursor_.TakeSymbol(","));
        if (!cursor_.AtEnd()) cursor_.Fail(1025);
      }
      clause.body = ParseBlock();
    }
    cursor_.ExpectWord("end", 1014);
    cursor_.ExpectWord("select", 1022);
  }

  void ParseFor(Block& block) {
    const bool isEach = cursor_.Next().IsWord("each");
    Statement& statement = Add(block, isEach ? StatementKind::ForEach : StatementKind::For);
    cursor_.Take();
    if (isEach) cursor_.Take();
    statement.expressions.push_back(ParseReference(cursor_));
    if (statement.expressions[0]->kind != ExpressionKind::Name) cursor_.Fail(1040);
    if (isEach) {
      cursor_.ExpectWord("in", 1046);
      statement.expressions.push_back(Expression());
    } else {
      cursor_.ExpectSymbol("=", 1011);
      statement.expressions.push_back(Expression());
      cursor_.ExpectWord("to", 1013);
      statement.expressions.push_back(Expression());
      statement.expressions.push_back(TakeWord("step") ? Expression() : nullptr);
    }
    statement.body = ParseBlock();
    cursor_.ExpectWord("next", 1020);
  }

  void ParseDo(Block& block) {
    Statement& statement = Add(block, StatementKind::Do);
    cursor_.Take();
    ParseCondition(statement);
    statement.body = ParseBlock();
    cursor_.ExpectWord("loop", 1019);
    if (!statement.expressions.empty()) return;
    statement.flag2 = true;
    ParseCondition(statement);
  }

  void ParseCondition(Statement& statement) {
    statement.flag = Here().IsWord("until");
    if (!TakeWord("until") && !TakeWord("while")) return;
    statement.expressions.push_back(Expression());
  }

  void ParseWhile(Block& block) {
    Statement& statement = Add(block, StatementKind::Do);
    cursor_.Take();
    statement.expressions.push_back(Expression());
    statement.body = ParseBlock();
    cursor_.ExpectWord("wend", 1018);
  }

  void ParseExit(Block& block) {
    Statement& statement = Add(block, StatementKind::Exit);
    cursor_.Take();
    statement.name = Here().lower;
    static constexpr std::string_view words[] = {"for", "do", "sub", "function"};
    if (std::ranges::find(words, statement.name) == std::end(words)) cursor_.Fail(1039);
    cursor_.Take();
  }

  void ParseOnError(Block& block) {
    Statement& statement = Add(block, StatementKind::OnError);
    cursor_.Take();
    cursor_.ExpectWord("error", 1002);
    statement.flag = TakeWord("resume");
    if (statement.flag) return cursor_.ExpectWord("next", 1020);
    cursor_.ExpectWord("goto", 1002);
    const Token& zero = cursor_.Take();
    if (zero.kind != TokenKind::Literal || !zero.value.IsWhole() || zero.value.Whole() != 0)
      cursor_.Fail(1002);
  }

  void ParseWith(Block& block) {
    Statement& statement = Add(block, StatementKind::With);
    cursor_.Take();
    statement.expressions.push_back(Expression());
    statement.body = ParseBlock();
    cursor_.ExpectWord("end", 1014);
    cursor_.ExpectWord("with", 1029);
  }

  void ParseCall(Block& block) {
    Statement& statement = Add(block, StatementKind::Call);
    cursor_.Take();
    statement.expressions.push_back(ParseReference(cursor_));
  }

  void ParseAssign(Block& block) {
    Statement& statement = Add(block, StatementKind::Assign);
    statement.flag = cursor_.Take().lower == "set";
    statement.expressions.push_back(ParseReference(cursor_));
    cursor_.ExpectSymbol("=", 1011);
    statement.expressions.push_back(Expression());
  }

  /// "target = value", or a call with its arguments behind it, with parentheses around all of them,
  /// or with parentheses around the first.
  void ParseReferenceStatement(Block& block) {
    if (Here().kind != TokenKind::Name && !Here().IsSymbol(".")) cursor_.Fail(1024);
    Statement& statement = Add(block, StatementKind::Call);
    const std::size_t start = cursor_.Position();
    std::size_t group = 0;
    ExpressionPtr reference = ParseReference(cursor_, static_cast<std::size_t>(-1), &group);
    if (cursor_.TakeSymbol("=")) {
      statement.kind = StatementKind::Assign;
      statement.expressions.push_back(std::move(reference));
      statement.expressions.push_back(Expression());
      return;
    }
    if (!cursor_.AtEnd() && !AtBlockEnd()) {
      if (reference->kind == ExpressionKind::Call) {
        cursor_.Return(start);
        reference = ParseReference(cursor_, group);
      }
      reference = WithArguments(std::move(reference));
    } else if (reference->kind == ExpressionKind::Call && reference->operands.size() == 2) {
      PassCopy(reference->operands[1]);
    }
    statement.expressions.push_back(std::move(reference));
  }

  /// "Change (x)" leaves x as it is.
  static void PassCopy(ExpressionPtr& argument) {
    if (!argument) return;
    auto copy = std::make_unique<script::Expression>();
    copy->kind = ExpressionKind::Parentheses;
    copy->place = argument->place;
    copy->operands.push_back(std::move(argument));
    argument = std::move(copy);
  }

  ExpressionPtr WithArguments(ExpressionPtr called) {
    auto call = std::make_unique<script::Expression>();
    call->kind = ExpressionKind::Call;
    call->place = called->place;
    ParseArguments(cursor_, call->operands);
    call->operands.insert(call->operands.begin(), std::move(called));
    return call;
  }

  TokenCursor& cursor_;
  ScriptSyntax script_;
  int depth_ = 0;
};

}  // namespace

ScriptSyntax ParseScript(std::string_view source) {
  if (source.size() > largestSource) throw SyntaxError(1001, 1, 1, "the script is over 1 MB");
  const std::vector<Token> tokens = ReadTokens(source);
  try {
    TokenCursor cursor(tokens);
    return StatementParser(cursor).Parse();
  } catch (ScriptError& error) {
    error.sourceLine = LineOf(source, error.line);
    throw;
  }
}

}  // namespace torvik::script

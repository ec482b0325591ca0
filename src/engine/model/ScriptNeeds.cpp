#include "engine/model/ScriptNeeds.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "engine/model/ScriptClasses.h"
#include "platform/Text.h"
#include "script/Functions.h"
#include "script/Lexer.h"
#include "script/ScriptError.h"

namespace torvik::engine {
namespace {

using script::Token;
using script::TokenKind;

bool IsCall(const std::vector<Token>& tokens, std::size_t at) {
  return at + 2 < tokens.size() && (tokens[at + 1].IsSymbol("(") || tokens[at + 1].blankBefore);
}

/// The class that CreateObject gets as a text, empty for anything else.
std::string ClassMadeAt(const std::vector<Token>& tokens, std::size_t at) {
  if (!tokens[at].IsWord("createobject") || !IsCall(tokens, at)) return {};
  const Token& name = tokens[at + (tokens[at + 1].IsSymbol("(") ? 2 : 1)];
  const bool isText = name.kind == TokenKind::Literal && name.value.Is(script::Kind::Text);
  return isText ? std::string(name.value.View()) : "";
}

std::string LackAt(const std::vector<Token>& tokens, std::size_t at) {
  const bool isMember = at > 0 && tokens[at - 1].IsSymbol(".");
  if (isMember || tokens[at].kind != TokenKind::Name) return {};
  if (const std::string name = ClassMadeAt(tokens, at); !name.empty())
    return script::CanCreateObject(name) || HasScriptClass(name)
               ? ""
               : "makes " + name + ", which is not there";
  if (tokens[at].IsWord("dtserrorrecords") || tokens[at].IsWord("dtstransformphaseinfo"))
    return "uses " + tokens[at].text + ", which is not there";
  return {};
}

}  // namespace

std::string WhatScriptLacks(std::string_view script) {
  try {
    const std::vector<Token> tokens = script::ReadTokens(script);
    for (std::size_t at = 0; at < tokens.size(); ++at)
      if (const std::string lack = LackAt(tokens, at); !lack.empty())
        return "line " + std::to_string(tokens[at].place.line) + " of its script " + lack +
               "; write it another way";
  } catch (const script::ScriptError&) {
    // It is told by whoever compiles it.
  }
  return {};
}

}  // namespace torvik::engine

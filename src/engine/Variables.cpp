#include "engine/Variables.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "engine/TextTemplate.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

PlatformError NoVariable(std::string_view name) {
  return PlatformError(0,
                       "the package has no global variable " + Quoted(name) +
                           "; declare it in [global_variables] of its document",
                       "package engine");
}

bool IsWordAt(const std::string& text, std::size_t at, std::size_t length) {
  const auto isLetter = [&](std::size_t i) {
    return i < text.size() && std::isalnum(static_cast<unsigned char>(text[i]));
  };
  return !(at > 0 && isLetter(at - 1)) && !isLetter(at + length);
}

std::string Number(double value) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  return std::string(digits, end);
}

}  // namespace

const dts::Variant* Variables::Find(std::string_view name) const {
  const auto found = std::find_if(all_.begin(), all_.end(), [&](const auto& one) {
    return EqualsIgnoringCase(one.name, name);
  });
  return found == all_.end() ? nullptr : &found->value;
}

const dts::Variant& Variables::Value(std::string_view name) const {
  const dts::Variant* value = Find(name);
  if (value == nullptr) throw NoVariable(name);
  return *value;
}

void Variables::SetValue(std::string_view name, dts::Variant value) {
  for (GlobalVariable& variable : all_) {
    if (!EqualsIgnoringCase(variable.name, name)) continue;
    variable.value = std::move(value);
    return;
  }
  throw NoVariable(name);
}

std::string Variables::Text(std::string_view name) const {
  const dts::Variant* value = Find(name);
  return value ? TextOf(*value) : std::string();
}

bool Variables::IsTrue(std::string_view name) const {
  return EqualsIgnoringCase(Text(name), "True");
}

std::string Variables::Substitute(std::string_view text) const {
  std::string result;
  for (const TemplatePiece& piece : SplitTemplate(text)) {
    switch (piece.kind) {
      case TemplatePiece::Kind::Literal: result += piece.text; break;
      case TemplatePiece::Kind::Variable: result += TextOf(Value(piece.text)); break;
      case TemplatePiece::Kind::Unclosed: throw NoVariable(piece.text);
    }
  }
  return result;
}

std::string Variables::WithoutPasswords(std::string text) const {
  constexpr std::string_view kHidden = "***";
  for (const GlobalVariable& variable : all_) {
    const std::string password = IsPasswordName(variable.name) ? TextOf(variable.value) : "";
    if (password.empty()) continue;
    for (auto at = text.find(password); at != std::string::npos; at = text.find(password, at)) {
      const bool whole = IsWordAt(text, at, password.size());
      if (whole) text.replace(at, password.size(), kHidden);
      at += whole ? kHidden.size() : 1;
    }
  }
  return text;
}

std::string TextOf(const dts::Variant& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* boolean = std::get_if<bool>(&value)) return *boolean ? "True" : "False";
  if (const auto* integer = std::get_if<std::int64_t>(&value)) return std::to_string(*integer);
  return Number(std::get<double>(value));
}

bool IsPasswordName(std::string_view name) {
  constexpr std::string_view kEnding = "password";
  return LowerAscii(name).ends_with(kEnding);
}

}  // namespace torvik::engine

#include "engine/model/Variables.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "engine/model/TextTemplate.h"
#include "platform/PlatformError.h"
#include "platform/Secrets.h"
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

void Variables::Declare(std::vector<GlobalVariable> declared) {
  declared_ = std::move(declared);
  values_.clear();
  for (const GlobalVariable& variable : declared_) values_.push_back(variable.value);
}

std::size_t Variables::PositionOf(std::string_view name) const {
  const auto found = std::find_if(declared_.begin(), declared_.end(), [&](const auto& one) {
    return EqualsIgnoringCase(one.name, name);
  });
  return static_cast<std::size_t>(found - declared_.begin());
}

const dts::Variant& Variables::Current(std::string_view name) const {
  const std::size_t position = PositionOf(name);
  if (position == declared_.size()) throw NoVariable(name);
  return values_[position];
}

const dts::Variant* Variables::Find(std::string_view name) const {
  const std::size_t position = PositionOf(name);
  return position == declared_.size() ? nullptr : &declared_[position].value;
}

dts::Variant Variables::Value(std::string_view name) const {
  const std::lock_guard lock(mutex_);
  return Current(name);
}

void Variables::SetValue(std::string_view name, dts::Variant value) {
  const std::size_t position = PositionOf(name);
  if (position == declared_.size()) throw NoVariable(name);
  const std::lock_guard lock(mutex_);
  values_[position].swap(value);
}

std::string Variables::Text(std::string_view name) const {
  return Find(name) ? TextOf(Value(name)) : std::string();
}

bool Variables::IsTrue(std::string_view name) const {
  return EqualsIgnoringCase(Text(name), "True");
}

std::vector<GlobalVariable> Variables::All() const {
  std::vector<GlobalVariable> all = declared_;
  const std::lock_guard lock(mutex_);
  for (std::size_t i = 0; i < all.size(); ++i) all[i].value = values_[i];
  return all;
}

std::string Variables::Substitute(std::string_view text) const {
  const std::lock_guard lock(mutex_);
  std::string result;
  for (const TemplatePiece& piece : SplitTemplate(text)) {
    switch (piece.kind) {
      case TemplatePiece::Kind::Literal: result += piece.text; break;
      case TemplatePiece::Kind::Variable: result += TextOf(Current(piece.text)); break;
      case TemplatePiece::Kind::Unclosed: throw NoVariable(piece.text);
    }
  }
  return result;
}

std::string Variables::WithoutPasswords(std::string text) const {
  constexpr std::string_view kHidden = "***";
  const std::lock_guard lock(mutex_);
  for (std::size_t i = 0; i < declared_.size(); ++i) {
    const std::string password = IsPasswordName(declared_[i].name) ? TextOf(values_[i]) : "";
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

}  // namespace torvik::engine

#include "import/BasicFunctions.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>

#include "import/SourceLines.h"
#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/LetterCase.h"

namespace torvik::importing {
namespace {

using Arguments = std::vector<Value>;
using Function = std::optional<Value> (*)(const Arguments& arguments);

constexpr std::size_t kLongestText = std::size_t{1} << 20;

std::optional<double> NumberAt(const Arguments& arguments, std::size_t at) {
  if (at >= arguments.size()) return std::nullopt;
  const Value& value = arguments[at];
  if (value.kind == Value::Kind::Number || value.kind == Value::Kind::Boolean) return value.number;
  return script::NumberOfText(value.PlainText());
}

std::string TextAt(const Arguments& arguments, std::size_t at) {
  return at < arguments.size() ? arguments[at].PlainText() : "";
}

/// The character of a code of windows-1252, or of Unicode.
std::optional<Value> Character(const Arguments& arguments, bool isUnicode) {
  const auto code = NumberAt(arguments, 0);
  if (!code || *code < 0 || *code > 0xFFFF || (*code > 0xFF && !isUnicode)) return std::nullopt;
  const auto number = static_cast<unsigned>(*code);
  if (number < 0x80) return Value::OfText(std::string(1, static_cast<char>(number)));
  if (!isUnicode) return Value::OfText(DecodedSource(std::string(1, static_cast<char>(number))));
  const char wide[] = {'\xFF', '\xFE', static_cast<char>(number & 0xFF),
                       static_cast<char>(number >> 8)};
  return Value::OfText(DecodedSource({wide, sizeof wide}));
}

std::string WithoutBlanks(std::string text, bool left, bool right) {
  if (right) text.erase(text.find_last_not_of(' ') + 1);
  if (left) text.erase(0, std::min(text.find_first_not_of(' '), text.size()));
  return text;
}

std::optional<Value> Repeated(const Arguments& arguments, const std::string& text) {
  const auto count = NumberAt(arguments, 0);
  if (!count || *count < 0 || *count * static_cast<double>(text.size()) > kLongestText)
    return std::nullopt;
  std::string all;
  for (int i = 0; i < static_cast<int>(*count); ++i) all += text;
  return Value::OfText(all);
}

std::optional<Value> Replace(const Arguments& arguments) {
  std::string text = TextAt(arguments, 0);
  const std::string from = TextAt(arguments, 1), to = TextAt(arguments, 2);
  if (arguments.size() < 3 || from.empty()) return std::nullopt;
  for (std::size_t at = text.find(from); at != text.npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
    if (text.size() > kLongestText) return std::nullopt;
  }
  return Value::OfText(text);
}

/// Characters of an ASCII text.
std::optional<Value> Part(const Arguments& arguments, std::string_view which) {
  const std::string text = TextAt(arguments, 0);
  const auto first = NumberAt(arguments, 1), second = NumberAt(arguments, 2);
  if (!first || *first < 0 || AsciiLength(text) != text.size()) return std::nullopt;
  const auto count = static_cast<std::size_t>(*first);
  if (which == "left") return Value::OfText(text.substr(0, count));
  if (which == "right")
    return Value::OfText(text.substr(text.size() - std::min(count, text.size())));
  if (count == 0) return std::nullopt;
  const std::size_t length = second && *second >= 0 ? static_cast<std::size_t>(*second) : text.npos;
  return Value::OfText(text.substr(std::min(count - 1, text.size()), length));
}

const std::map<std::string_view, Function>& Functions() {
  static const std::map<std::string_view, Function> functions = {
      {"chr", [](const Arguments& all) { return Character(all, false); }},
      {"chrw", [](const Arguments& all) { return Character(all, true); }},
      {"cstr", [](const Arguments& all) { return std::optional(Value::OfText(TextAt(all, 0))); }},
      {"str", [](const Arguments& all) { return std::optional(Value::OfText(TextAt(all, 0))); }},
      {"trim",
       [](const Arguments& all) {
         return std::optional(Value::OfText(WithoutBlanks(TextAt(all, 0), true, true)));
       }},
      {"ltrim",
       [](const Arguments& all) {
         return std::optional(Value::OfText(WithoutBlanks(TextAt(all, 0), true, false)));
       }},
      {"rtrim",
       [](const Arguments& all) {
         return std::optional(Value::OfText(WithoutBlanks(TextAt(all, 0), false, true)));
       }},
      {"ucase",
       [](const Arguments& all) {
         return std::optional(Value::OfText(script::ToUpperCase(TextAt(all, 0))));
       }},
      {"lcase",
       [](const Arguments& all) {
         return std::optional(Value::OfText(script::ToLowerCase(TextAt(all, 0))));
       }},
      {"space", [](const Arguments& all) { return Repeated(all, " "); }},
      {"string", [](const Arguments& all) { return Repeated(all, TextAt(all, 1).substr(0, 1)); }},
      {"replace", Replace},
      {"left", [](const Arguments& all) { return Part(all, "left"); }},
      {"right", [](const Arguments& all) { return Part(all, "right"); }},
      {"mid", [](const Arguments& all) { return Part(all, "mid"); }},
      {"len",
       [](const Arguments& all) {
         return std::optional(
             Value::OfNumber(static_cast<double>(CountCharacters(TextAt(all, 0)))));
       }},
  };
  return functions;
}

/// Conversions to a number.
bool IsNumberFunction(std::string_view name) {
  return name == "clng" || name == "cint" || name == "cdbl" || name == "csng" || name == "cbyte" ||
         name == "val";
}

}  // namespace

bool IsKnownFunction(std::string_view name) {
  return Functions().contains(name) || IsNumberFunction(name) || name == "cbool" || name == "iif";
}

std::optional<Value> BasicFunction(std::string_view name, const std::vector<Value>& arguments) {
  if (arguments.empty()) return std::nullopt;
  if (name == "cbool") {
    const auto number = NumberAt(arguments, 0);
    if (number) return Value::OfBoolean(*number != 0);
    return Value::OfBoolean(EqualsIgnoringCase(TextAt(arguments, 0), "true"));
  }
  if (IsNumberFunction(name)) {
    const auto number = NumberAt(arguments, 0);
    if (!number) return std::nullopt;
    const bool isWhole = name == "clng" || name == "cint" || name == "cbyte";
    return Value::OfNumber(isWhole ? script::RoundHalfEven(*number) : *number);
  }
  const auto function = Functions().find(name);
  return function == Functions().end() ? std::nullopt : function->second(arguments);
}

std::optional<Value> ConstantNamed(std::string_view name) {
  static const std::map<std::string_view, std::string_view> texts = {
      {"vbcrlf", "\r\n"},   {"vbnewline", "\r\n"}, {"vbcr", "\r"},
      {"vblf", "\n"},       {"vbtab", "\t"},       {"vbnullstring", ""},
      {"vbformfeed", "\f"}, {"vbback", "\b"},      {"vbverticaltab", "\v"}};
  static const std::map<std::string_view, double> numbers = {
      {"vbchecked", 1},
      {"vbunchecked", 0},
      {"dtsstepexecstat_waiting", 1},
      {"dtsstepexecstat_inprogress", 2},
      {"dtsstepexecstat_inactive", 3},
      {"dtsstepexecstat_completed", 4},
      {"dtsstepexecresult_success", 0},
      {"dtsstepexecresult_failure", 1},
      {"dtsstepprecedencebasis_execstatus", 0},
      {"dtsstepprecedencebasis_execresult", 1},
      {"dtssteprelativepriority_lowest", 1},
      {"dtssteprelativepriority_belownormal", 2},
      {"dtssteprelativepriority_normal", 3},
      {"dtssteprelativepriority_abovenormal", 4},
      {"dtssteprelativepriority_highest", 5},
      {"dtspackagepriorityclass_low", 1},
      {"dtspackagepriorityclass_normal", 2},
      {"dtspackagepriorityclass_high", 3},
      {"dtsisolevel_chaos", 0x10},
      {"dtsisolevel_readuncommitted", 0x100},
      {"dtsisolevel_readcommitted", 0x1000},
      {"dtsisolevel_cursorstability", 0x1000},
      {"dtsisolevel_repeatableread", 0x10000},
      {"dtsisolevel_serializable", 0x100000},
      {"dtsfastload_nooptions", 0},
      {"dtsfastload_keepnulls", 1},
      {"dtsfastload_checkconstraints", 2},
      {"dtsfastload_tablelock", 4},
      {"dtstransformflag_allowdemotion", 1},
      {"dtstransformflag_allowpromotion", 2},
      {"dtstransformflag_allowstringtruncation", 4},
      {"dtstransformflag_allownumerictruncation", 8},
      {"dtstransformflag_allownullchange", 16},
      {"dtstransformflag_allowsignchange", 32},
      {"dtstransformflag_default", 63},
      {"dtstransformflag_requireexacttype", 64},
      {"dtstransformflag_forceconvert", 128},
  };
  if (const auto text = texts.find(name); text != texts.end()) return Value::OfText(text->second);
  if (const auto number = numbers.find(name); number != numbers.end())
    return Value::OfNumber(number->second);
  return std::nullopt;
}

}  // namespace torvik::importing

#include "script/Functions.h"

#include <unordered_map>

#include "script/Conversion.h"

namespace torvik::script {

namespace {

using Table = std::unordered_map<std::string_view, const Function*>;

Table AllFunctions() {
  Table table;
  for (const auto functions :
       {TextFunctions(), SearchFunctions(), DateFunctions(), ConversionFunctions(),
        FormatFunctions(), MathFunctions(), InformationFunctions(), ObjectFunctions()}) {
    for (const Function& function : functions) table.emplace(function.name, &function);
  }
  return table;
}

const std::unordered_map<std::string_view, std::string_view> textConstants = {
    {"vbcr", "\r"},       {"vbcrlf", "\r\n"},    {"vbformfeed", "\f"},
    {"vblf", "\n"},       {"vbnewline", "\r\n"}, {"vbnullchar", std::string_view("\0", 1)},
    {"vbnullstring", ""}, {"vbtab", "\t"},       {"vbverticaltab", "\v"},
};

const std::unordered_map<std::string_view, std::int32_t> numberConstants = {
    {"vbtrue", -1},
    {"vbfalse", 0},
    {"vbusedefault", -2},
    {"vbbinarycompare", 0},
    {"vbtextcompare", 1},
    {"vbdatabasecompare", 2},
    {"vbgeneraldate", 0},
    {"vblongdate", 1},
    {"vbshortdate", 2},
    {"vblongtime", 3},
    {"vbshorttime", 4},
    {"vbusesystemdayofweek", 0},
    {"vbsunday", 1},
    {"vbmonday", 2},
    {"vbtuesday", 3},
    {"vbwednesday", 4},
    {"vbthursday", 5},
    {"vbfriday", 6},
    {"vbsaturday", 7},
    {"vbusesystem", 0},
    {"vbfirstjan1", 1},
    {"vbfirstfourdays", 2},
    {"vbfirstfullweek", 3},
    {"vbempty", 0},
    {"vbnull", 1},
    {"vbinteger", 2},
    {"vblong", 3},
    {"vbsingle", 4},
    {"vbdouble", 5},
    {"vbcurrency", 6},
    {"vbdate", 7},
    {"vbstring", 8},
    {"vbobject", 9},
    {"vberror", 10},
    {"vbboolean", 11},
    {"vbvariant", 12},
    {"vbdataobject", 13},
    {"vbdecimal", 14},
    {"vbbyte", 17},
    {"vbarray", 8192},
    {"vbobjecterror", -2147221504},
    {"vbokonly", 0},
    {"vbokcancel", 1},
    {"vbabortretryignore", 2},
    {"vbyesnocancel", 3},
    {"vbyesno", 4},
    {"vbretrycancel", 5},
    {"vbdefaultbutton1", 0},
    {"vbdefaultbutton2", 256},
    {"vbdefaultbutton3", 512},
    {"vbdefaultbutton4", 768},
    {"vbcritical", 16},
    {"vbquestion", 32},
    {"vbexclamation", 48},
    {"vbinformation", 64},
    {"vbok", 1},
    {"vbcancel", 2},
    {"vbabort", 3},
    {"vbretry", 4},
    {"vbignore", 5},
    {"vbyes", 6},
    {"vbno", 7},
    {"vbblack", 0},
    {"vbwhite", 16777215},
};

}  // namespace

const Function* FindFunction(std::string_view lowerCase) {
  static const Table table = AllFunctions();
  const auto at = table.find(lowerCase);
  return at == table.end() ? nullptr : at->second;
}

bool FindConstant(std::string_view lowerCase, Value& value) {
  if (const auto text = textConstants.find(lowerCase); text != textConstants.end()) {
    value = Value::OfText(text->second);
    return true;
  }
  const auto number = numberConstants.find(lowerCase);
  if (number == numberConstants.end()) return false;
  value = Value::OfWhole(number->second);
  return true;
}

Value NewText(Context& context, std::string_view text) {
  context.Work(text.size());
  return Value::OfText(text, &context.heap);
}

bool IsGiven(Arguments arguments, std::size_t index) {
  return index < arguments.size() && !arguments[index].Is(Kind::Missing);
}

std::int32_t LongOr(Arguments arguments, std::size_t index, std::int32_t otherwise) {
  return IsGiven(arguments, index) ? ToLong(arguments[index]) : otherwise;
}

}  // namespace torvik::script

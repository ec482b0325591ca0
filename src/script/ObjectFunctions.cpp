#include <iterator>
#include <utility>

#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/Dictionary.h"
#include "script/FileSystem.h"
#include "script/Functions.h"
#include "script/RegExp.h"

namespace torvik::script {

namespace {

constexpr const char* dictionary = "Scripting.Dictionary";
constexpr const char* regExp = "VBScript.RegExp";
constexpr const char* fileSystem = "Scripting.FileSystemObject";

Value CreateObject(Context& context, Arguments a) {
  const std::string name = ToText(a[0]);
  if (EqualsIgnoringCase(name, dictionary)) return NewObject<Dictionary>(context.heap);
  if (EqualsIgnoringCase(name, fileSystem) && context.files != nullptr)
    return NewFileSystem(context.heap);
  if (EqualsIgnoringCase(name, regExp) && context.expressions != nullptr) return NewRegExp(context);
  if (context.services != nullptr)
    if (auto object = context.services->NewObject(name)) return std::move(*object);
  throw RuntimeError(429, name);
}

Value GetObject(Context&, Arguments a) {
  throw RuntimeError(429, ToText(a.empty() || a[0].Is(Kind::Missing) ? a.back() : a[0]));
}

HostServices& Listener(Context& context) {
  if (context.services != nullptr) return *context.services;
  throw ScriptError(17,
                    "MsgBox and InputBox cannot be used: no one is there to answer them in an "
                    "unattended run");
}

std::string TextAt(Arguments a, std::size_t position) {
  return a.size() > position && !a[position].Is(Kind::Missing) ? ToText(a[position]) : "";
}

/// Which button the caller has made the usual one: the low bits say which there are, 256 and 512
/// the second and the third of them.
std::pair<std::int32_t, const char*> UsualButton(std::int32_t buttons) {
  static constexpr std::pair<std::int32_t, const char*> kOk{1, "OK"}, kCancel{2, "Cancel"},
      kAbort{3, "Abort"}, kRetry{4, "Retry"}, kIgnore{5, "Ignore"}, kYes{6, "Yes"}, kNo{7, "No"};
  static constexpr std::pair<std::int32_t, const char*> kSets[][3] = {
      {kOk, kOk, kOk},      {kOk, kCancel, kOk}, {kAbort, kRetry, kIgnore},
      {kYes, kNo, kCancel}, {kYes, kNo, kYes},   {kRetry, kCancel, kRetry}};
  const auto set = static_cast<std::size_t>(buttons & 7);
  const auto usual = static_cast<std::size_t>(buttons >> 8 & 3);
  return set < std::size(kSets) && usual < 3 ? kSets[set][usual] : kOk;
}

Value MsgBox(Context& context, Arguments a) {
  const bool hasButtons = a.size() > 1 && !a[1].Is(Kind::Missing);
  const auto [number, word] = UsualButton(hasButtons ? ToLong(a[1]) : 0);
  Listener(context).Say("MsgBox: " + ToText(a[0]) + " (answered by itself: " + word + ")");
  return Value::OfLong(number);
}

Value InputBox(Context& context, Arguments a) {
  const std::string answer = TextAt(a, 2);
  Listener(context).Say("InputBox: " + ToText(a[0]) + " (answered by itself: " + answer + ")");
  return NewText(context, answer);
}

constexpr Function objectFunctions[] = {
    {"createobject", 1, 2, CreateObject},
    {"getobject", 1, 2, GetObject},
    {"msgbox", 1, 5, MsgBox},
    {"inputbox", 1, 7, InputBox},
};

}  // namespace

bool CanCreateObject(std::string_view name) {
  return EqualsIgnoringCase(name, dictionary) || EqualsIgnoringCase(name, fileSystem) ||
         EqualsIgnoringCase(name, regExp);
}

std::span<const Function> ObjectFunctions() {
  return objectFunctions;
}

}  // namespace torvik::script

#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/Dictionary.h"
#include "script/FileSystem.h"
#include "script/Functions.h"

namespace torvik::script {

namespace {

constexpr const char* dictionary = "Scripting.Dictionary";
constexpr const char* fileSystem = "Scripting.FileSystemObject";

Value CreateObject(Context& context, Arguments a) {
  const std::string name = ToText(a[0]);
  if (EqualsIgnoringCase(name, dictionary)) return NewObject<Dictionary>(context.heap);
  if (EqualsIgnoringCase(name, fileSystem) && context.files != nullptr)
    return NewFileSystem(context.heap);
  throw RuntimeError(429, name);
}

Value GetObject(Context&, Arguments a) {
  throw RuntimeError(429, ToText(a.empty() || a[0].Is(Kind::Missing) ? a.back() : a[0]));
}

Value NoOneThere(Context&, Arguments) {
  throw ScriptError(17,
                    "MsgBox and InputBox cannot be used: no one is there to answer them in an "
                    "unattended run");
}

constexpr Function objectFunctions[] = {
    {"createobject", 1, 2, CreateObject},
    {"getobject", 1, 2, GetObject},
    {"msgbox", 1, 5, NoOneThere},
    {"inputbox", 1, 7, NoOneThere},
};

}  // namespace

bool CanCreateObject(std::string_view name) {
  return EqualsIgnoringCase(name, dictionary) || EqualsIgnoringCase(name, fileSystem);
}

std::span<const Function> ObjectFunctions() {
  return objectFunctions;
}

}  // namespace torvik::script

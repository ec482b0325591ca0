#include "script/ScriptError.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "platform/Text.h"

namespace torvik::script {

namespace {

const struct {
  int number;
  const char* description;
} descriptions[] = {
    {5, "Invalid procedure call or argument"},
    {6, "Overflow"},
    {7, "Out of memory"},
    {9, "Subscript out of range"},
    {10, "This array is fixed or temporarily locked"},
    {11, "Division by zero"},
    {13, "Type mismatch"},
    {14, "Out of string space"},
    {17, "Can't perform requested operation"},
    {18, "User interrupt occurred"},
    {28, "Out of stack space"},
    {35, "Sub or Function not defined"},
    {48, "Error in loading DLL"},
    {51, "Internal error"},
    {52, "Bad file name or number"},
    {53, "File not found"},
    {54, "Bad file mode"},
    {55, "File already open"},
    {57, "Device I/O error"},
    {58, "File already exists"},
    {61, "Disk full"},
    {62, "Input past end of file"},
    {70, "Permission denied"},
    {75, "Path/File access error"},
    {76, "Path not found"},
    {91, "Object variable not set"},
    {92, "For loop not initialized"},
    {94, "Invalid use of Null"},
    {322, "Can't create necessary temporary file"},
    {424, "Object required"},
    {429, "ActiveX component can't create object"},
    {430, "Class doesn't support Automation"},
    {432, "File name or class name not found during Automation operation"},
    {438, "Object doesn't support this property or method"},
    {440, "Automation error"},
    {445, "Object doesn't support this action"},
    {446, "Object doesn't support named arguments"},
    {447, "Object doesn't support current locale setting"},
    {448, "Named argument not found"},
    {449, "Argument not optional"},
    {450, "Wrong number of arguments or invalid property assignment"},
    {451, "Object not a collection"},
    {457, "This key is already associated with an element of this collection"},
    {500, "Variable is undefined"},
    {501, "Illegal assignment"},
    {32811, "Element not found"},
    {1001, "Out of memory"},
    {1002, "Syntax error"},
    {1005, "Expected '('"},
    {1006, "Expected ')'"},
    {1007, "Expected ']'"},
    {1010, "Expected identifier"},
    {1011, "Expected '='"},
    {1013, "Expected 'To'"},
    {1014, "Expected 'End'"},
    {1015, "Expected 'Function'"},
    {1016, "Expected 'Sub'"},
    {1017, "Expected 'Then'"},
    {1018, "Expected 'Wend'"},
    {1019, "Expected 'Loop'"},
    {1020, "Expected 'Next'"},
    {1021, "Expected 'Case'"},
    {1022, "Expected 'Select'"},
    {1023, "Expected expression"},
    {1024, "Expected statement"},
    {1025, "Expected end of statement"},
    {1026, "Expected integer constant"},
    {1029, "Expected 'With'"},
    {1030, "Identifier too long"},
    {1031, "Invalid number"},
    {1032, "Invalid character"},
    {1033, "Unterminated string constant"},
    {1039, "Invalid 'exit' statement"},
    {1040, "Invalid 'for' loop control variable"},
    {1041, "Name redefined"},
    {1042, "Must be first statement on the line"},
    {1045, "Expected literal constant"},
    {1046, "Expected 'In'"},
};

ScriptError EndOfScript(int number, const std::string& description) {
  ScriptError error(number, description);
  error.endsScript = true;
  return error;
}

/// A line that speaks of one may have it in a text; the place is told without it then.
bool MayHoldPassword(std::string_view line) {
  const std::string lower = LowerAscii(line);
  return lower.find("password") != lower.npos || lower.find("pwd") != lower.npos;
}

}  // namespace

std::string ScriptError::Text() const {
  std::string text = Description() + " (error " + std::to_string(number) + ")";
  if (line > 0) text += " in line " + std::to_string(line) + ", column " + std::to_string(column);
  if (!sourceLine.empty() && !MayHoldPassword(sourceLine)) text += ": " + sourceLine;
  return text;
}

std::string DescriptionOf(int number) {
  const auto at = std::ranges::find(descriptions, number, [](const auto& d) { return d.number; });
  return at == std::end(descriptions) ? "Unknown runtime error" : at->description;
}

ScriptError RuntimeError(int number, const std::string& subject) {
  std::string description = DescriptionOf(number);
  if (!subject.empty()) description += ": '" + subject + "'";
  return {number, description};
}

ScriptError TypeMismatch(const std::string& subject) {
  return RuntimeError(13, subject);
}
ScriptError InvalidCall(const std::string& subject) {
  return RuntimeError(5, subject);
}
ScriptError Overflow() {
  return RuntimeError(6);
}

ScriptError SyntaxError(int number, int line, int column, const std::string& detail) {
  ScriptError error(number, DescriptionOf(number) + (detail.empty() ? "" : ": " + detail),
                    "script compilation");
  error.line = line;
  error.column = column;
  return error;
}

ScriptError StepLimitPassed() {
  return EndOfScript(18,
                     "The script took more steps than it may; look for a loop that does not end, "
                     "or raise the limit");
}

ScriptError Cancelled() {
  return EndOfScript(18, "The script was cancelled");
}

ScriptError MemoryLimitPassed() {
  return EndOfScript(7,
                     "Out of memory: the script's texts and arrays need more than they may; "
                     "keep less at a time, or raise the limit");
}

ScriptError CallDepthPassed() {
  return EndOfScript(28,
                     "Out of stack space: procedures call each other too deep; look for a "
                     "recursion that does not end");
}

}  // namespace torvik::script

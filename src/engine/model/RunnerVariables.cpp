#include "engine/model/RunnerVariables.h"

#include <algorithm>

#include "engine/model/Problems.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

struct RunnerVariable {
  const char* name;
  bool isBoolean;
  const char* meaning;
};

constexpr RunnerVariable kTwelve[] = {
    {"ExceptionFilePath", false, "directory of the run's log files"},
    {"DTSServer", false, "server that stores the packages"},
    {"DTSServerTrustedLogin", true, "log on to it without user and password"},
    {"DTSServerLoginUserName", false, ""},
    {"DTSServerLoginPassword", false, ""},
    {"DestinationServer", false, "server of the data warehouse"},
    {"DestServerTrustedLogin", true, "log on to it without user and password"},
    {"DestServerLoginUserName", false, ""},
    {"DestServerLoginPassword", false, ""},
    {"DestServerDatabaseName", false, "database of the data warehouse"},
    {"WriteCompletionStatusToNT", true, "write an event to the system log at the end"},
    {"OverwriteGlobalSettings", true, "true when the job changed one of the above"},
};

}  // namespace

std::string TomlString(const std::string& text) {
  static const char* const kHex = "0123456789ABCDEF";
  std::string quoted = "\"";
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      quoted += '\\';
      quoted += c;
    } else if (code < 0x20 || code == 0x7F) {
      quoted += std::string("\\u00") + kHex[code >> 4] + kHex[code & 15];
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

std::vector<std::string> CheckTwelve(const PackageModel& package) {
  Problems problems(package.document);
  for (const RunnerVariable& wanted : kTwelve) {
    const auto found = std::find_if(
        package.variables.begin(), package.variables.end(),
        [&](const GlobalVariable& one) { return EqualsIgnoringCase(one.name, wanted.name); });
    const std::string name = Quoted(wanted.name);
    const std::string declaration =
        std::string(wanted.name) + (wanted.isBoolean ? " = false" : " = \"\"");
    if (found == package.variables.end()) {
      problems.Add(package.variablesPlace, "the global variable " + name +
                                               ", which the runner sets, is missing; add " +
                                               declaration + " to [global_variables]");
    } else if (wanted.isBoolean ? !std::holds_alternative<bool>(found->value)
                                : !std::holds_alternative<std::string>(found->value)) {
      problems.Add(found->place, "the runner sets the global variable " + name + " to a " +
                                     (wanted.isBoolean ? "Boolean" : "text") + "; write " +
                                     declaration);
    }
  }
  return problems.Lines();
}

bool IsRunnerVariable(std::string_view name) {
  return std::any_of(std::begin(kTwelve), std::end(kTwelve),
                     [&](const RunnerVariable& one) { return EqualsIgnoringCase(one.name, name); });
}

std::string DocumentHead(const std::string& name, const std::string& description) {
  std::string text =
      "name = " + TomlString(name) + "\ndescription = " + TomlString(description) +
      "\n"
      "\n"
      "# The runner sets these twelve for each job. Add your own below them; ${Name} "
      "stands for\n"
      "# a variable's value in every property and task setting.\n"
      "[global_variables]\n";
  for (const RunnerVariable& variable : kTwelve) {
    std::string line = std::string(variable.name) + (variable.isBoolean ? " = false" : " = \"\"");
    if (*variable.meaning)
      line += std::string(32 > line.size() ? 34 - line.size() : 2, ' ') + "# " + variable.meaning;
    text += line + "\n";
  }
  return text;
}

std::string NewPackageDocument(const std::string& name) {
  return DocumentHead(name) + R"(
[[connections]]
name = "warehouse"
provider = "SQLOLEDB"

[connections.properties]
"Data Source" = "${DestinationServer}"
"Initial Catalog" = "${DestServerDatabaseName}"
"Integrated Security" = "${DestServerTrustedLogin}"
"User ID" = "${DestServerLoginUserName}"
"Password" = "${DestServerLoginPassword}"

# Steps run at once, as many as max_concurrent_steps says (4): only "after" puts them in an order.
[[steps]]
name = "first step"
task = "ExecuteSQL"
connection = "warehouse"
sql = "SELECT 1"

# [[steps]]
# name = "second step"
# after = [ { step = "first step", on = "success" } ]    # or "failure", "completion"
# task = "ExecuteSQL"
# connection = "warehouse"
# sql = '''
# '''
)";
}

}  // namespace torvik::engine

#include "import/DynamicAssignments.h"

#include <algorithm>

#include "platform/Secrets.h"
#include "platform/Text.h"

namespace torvik::importing {
namespace {

/// DTSDynamicPropertiesSourceType.
enum SourceType : std::int64_t {
  kIniFile = 0,
  kQuery = 1,
  kVariable = 2,
  kEnvironment = 3,
  kConstant = 4,
  kDataFile = 5
};

}  // namespace

DynamicAssignments::DynamicAssignments(const Object& task, TaskScope& scope) : scope_(scope) {
  const Object* const all = task.Child("assignments");
  if (all != nullptr)
    for (const ObjectPtr& item : all->items) Read(*item);
  if (assignments_.empty() && trouble_.empty()) trouble_ = "it sets nothing";
}

void DynamicAssignments::Read(const Object& object) {
  Properties properties(&object, scope_.notes);
  const Assignment one{PropertyPath(properties.Plain("DestinationPropertyID")),
                       properties.Whole("SourceType", kConstant), &object};
  if (IsSecret(one)) {
    scope_.notes.push_back(
        {object.line,
         "the password that a constant sets is not written down: the global variable " +
             one.target.parts[1] + " has to be given when the package runs"});
    return;
  }
  if (trouble_.empty()) trouble_ = TroubleOf(one);
  assignments_.push_back(one);
}

/// A constant that goes to a password.
bool DynamicAssignments::IsSecret(const Assignment& one) const {
  return one.source == kConstant && one.target.IsVariable() && IsPasswordName(one.target.parts[1]);
}

std::string DynamicAssignments::TroubleOf(const Assignment& one) const {
  const bool hasPlace = one.target.IsVariable() || one.target.DisablesStep();
  if (!hasPlace) {
    std::string target;
    for (const std::string& part : one.target.parts) target += (target.empty() ? "" : ";") + part;
    return "it sets " + target +
           ", which cannot be set while a package runs: write ${Name} of a global variable there, "
           "if the key takes it";
  }
  if (one.source < kIniFile || one.source > kDataFile)
    return "the source of " + one.target.parts[1] + " is of a kind that is not known (" +
           std::to_string(one.source) + ")";
  return {};
}

std::string DynamicAssignments::ConnectionOf(const Assignment& one) const {
  const std::int64_t id = Properties(one.object, scope_.notes).Whole("SourceQueryConnectionID", 0);
  const auto found = scope_.connections.find(id);
  return found == scope_.connections.end() ? "connection " + std::to_string(id) : found->second;
}

void DynamicAssignments::Write() const {
  const auto& first = assignments_.front();
  if (assignments_.size() == 1 && first.source == kQuery && first.target.IsVariable())
    return WriteQuery(first);
  scope_.writer.Text("task", "SetVariables");
  const bool areValues = std::ranges::all_of(assignments_, [](const Assignment& one) {
    return one.target.IsVariable() && (one.source == kConstant || one.source == kVariable);
  });
  areValues ? WriteValues() : WriteTables();
}

void DynamicAssignments::WriteQuery(const Assignment& one) const {
  scope_.writer.Text("task", "ExecuteSQL");
  scope_.writer.Text("connection", ConnectionOf(one));
  scope_.writer.List("results", {one.target.parts[1]});
  scope_.writer.LongText("sql", Properties(one.object, scope_.notes).Text("SourceQuerySQL"));
}

void DynamicAssignments::WriteValues() const {
  std::vector<std::pair<std::string, std::string>> values;
  for (const Assignment& one : assignments_) {
    Properties properties(one.object, scope_.notes);
    values.emplace_back(one.target.parts[1],
                        one.source == kConstant
                            ? properties.Text("SourceConstantValue")
                            : "${" + properties.Plain("SourceGlobalVariable") + "}");
  }
  scope_.writer.Table("values", values);
}

void DynamicAssignments::WriteTables() const {
  for (const Assignment& one : assignments_) {
    scope_.writer.Header("[[steps.assignments]]");
    scope_.writer.Text(one.target.IsVariable() ? "variable" : "disables", one.target.parts[1]);
    WriteSource(one);
  }
}

void DynamicAssignments::WriteSource(const Assignment& one) const {
  DocumentWriter& writer = scope_.writer;
  Properties properties(one.object, scope_.notes);
  switch (one.source) {
    case kIniFile:
      writer.Text("file", properties.Text("SourceIniFileFileName"));
      writer.Text("section", properties.Text("SourceIniFileSection"));
      return writer.Text("key", properties.Text("SourceIniFileKey"));
    case kQuery:
      writer.Text("connection", ConnectionOf(one));
      return writer.LongText("sql", properties.Text("SourceQuerySQL"));
    case kVariable:
      return writer.Text("value", "${" + properties.Plain("SourceGlobalVariable") + "}");
    case kEnvironment:
      return writer.Text("environment", properties.Plain("SourceEnvironmentVariable"));
    case kDataFile: return writer.Text("text_file", properties.Text("SourceDataFileFileName"));
    default: return writer.Text("value", properties.Text("SourceConstantValue"));
  }
}

}  // namespace torvik::importing

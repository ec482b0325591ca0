#include <algorithm>

#include "engine/model/EngineServices.h"
#include "engine/model/PackageControl.h"
#include "engine/model/TaskReader.h"
#include "engine/model/VariableChanges.h"
#include "engine/model/VariableFile.h"
#include "engine/tasks/Assignments.h"
#include "engine/tasks/Tasks.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// The first row of a query: each column sets the variable of its name.
class QueriedVariables final : public Task {
 public:
  explicit QueriedVariables(TaskReader& reader)
      : connection_(reader.Database("connection")), sql_(reader.RequiredTemplate("sql")) {}

  bool CanJoin() const override { return true; }
  bool SetsVariables() const override { return true; }

  TaskResult Run(TaskContext& context) const override {
    Variables& variables = context.GlobalVariables();
    const auto row = context.ReadDatabase(connection_)
                         .OpenRecordset(variables.Substitute(sql_.text), ado::CursorOptions{});
    if (row->Eof())
      throw PlatformError(0, "the query has no row to set variables from; correct its WHERE",
                          "package engine");
    VariableChanges changes(variables);
    for (int i = 0; i < row->FieldCount(); ++i)
      changes.Add(row->FieldName(i), row->Field(i),
                  "the query's column " + Quoted(row->FieldName(i)),
                  "name the column with AS, or declare the variable");
    row->Close();
    changes.Commit();
    return std::nullopt;
  }

 private:
  std::string connection_;
  PlacedText sql_;
};

/// The lines NAME = VALUE of a file.
class FileVariables final : public Task {
 public:
  explicit FileVariables(TaskReader& reader)
      : file_(reader.RequiredTemplate("file")),
        section_(reader.Template("section").value_or(PlacedText{})) {}

  bool CanJoin() const override { return true; }

  TaskResult Run(TaskContext& context) const override {
    Variables& variables = context.GlobalVariables();
    const EngineServices& services = context.Services();
    const std::string path = variables.Substitute(file_.text);
    VariableChanges changes(variables);
    for (const FileValue& one : ReadVariableFile(services.files, services.codePages, path,
                                                 variables.Substitute(section_.text)))
      changes.Add(one.name, one.value, path + ", line " + std::to_string(one.line),
                  "declare it in [global_variables], or remove the line");
    changes.Commit();
    return std::nullopt;
  }

 private:
  PlacedText file_;
  PlacedText section_;
};

/// What the document itself says; every text sees the values from before the step.
class GivenVariables final : public Task {
 public:
  explicit GivenVariables(TaskReader& reader) : values_(reader.VariableTemplates("values")) {
    for (const auto& [name, text] : values_) reader.DeclaredVariable(name, text.place);
  }

  bool CanJoin() const override { return true; }

  TaskResult Run(TaskContext& context) const override {
    Variables& variables = context.GlobalVariables();
    VariableChanges changes(variables);
    for (const auto& [name, text] : values_)
      changes.Add(name, variables.Substitute(text.text), "the text for " + Quoted(name),
                  "declare it in [global_variables]");
    changes.Commit();
    return std::nullopt;
  }

 private:
  std::vector<std::pair<std::string, PlacedText>> values_;
};

/// Values of several origins, one after the other; variables change when all of them are there.
class AssignedVariables final : public Task {
 public:
  explicit AssignedVariables(TaskReader& reader) : assignments_(ReadAssignments(reader)) {}

  bool CanJoin() const override { return true; }
  bool SetsVariables() const override { return true; }
  std::vector<PlacedText> NamedSteps() const override {
    std::vector<PlacedText> steps;
    for (const Assignment& one : assignments_)
      if (!one.step.text.empty()) steps.push_back(one.step);
    return steps;
  }

  TaskResult Run(TaskContext& context) const override {
    VariableChanges changes(context.GlobalVariables());
    std::vector<std::pair<std::size_t, bool>> disabled;
    for (const Assignment& one : assignments_) {
      const ado::Value value = one.source->Read(context);
      if (one.variable.empty())
        disabled.emplace_back(PositionOf(one.step.text, context.Package()), Disables(one, value));
      else
        changes.Add(one.variable, value, one.source->Origin(), "declare it in [global_variables]");
    }
    changes.Commit();
    for (const auto& [step, isDisabled] : disabled) context.Package().SetDisabled(step, isDisabled);
    return std::nullopt;
  }

 private:
  static std::size_t PositionOf(const std::string& step, PackageControl& package) {
    const std::vector<std::string> steps = package.Steps();
    return static_cast<std::size_t>(std::ranges::find(steps, step) - steps.begin());
  }

  static bool Disables(const Assignment& assignment, const ado::Value& value) {
    if (const auto isDisabled = BooleanOf(value)) return *isDisabled;
    throw PlatformError(0,
                        assignment.source->Origin() + " is to say whether step " +
                            Quoted(assignment.step.text) +
                            " is disabled, and is none of True, False, 1, 0 and -1",
                        "package engine");
  }

  std::vector<Assignment> assignments_;
};

}  // namespace

std::unique_ptr<Task> ReadSetVariablesTask(TaskReader& reader) {
  TableReader& table = reader.Table();
  const bool hasFile = table.Find("file") != nullptr;
  const bool hasValues = table.Find("values") != nullptr;
  const bool hasAssignments = table.Find("assignments") != nullptr;
  if (hasFile + hasValues + hasAssignments + (table.Find("sql") != nullptr) > 1)
    reader.Problem(table.Place(), "give one of \"sql\", \"file\", \"values\" and \"assignments\"");
  if (!hasFile && !hasValues && !hasAssignments) return std::make_unique<QueriedVariables>(reader);
  if (const TomlValue* connection = table.Find("connection"))
    reader.Problem(connection->place, "only \"sql\" needs \"connection\"; remove it");
  if (hasFile) return std::make_unique<FileVariables>(reader);
  if (hasAssignments) return std::make_unique<AssignedVariables>(reader);
  return std::make_unique<GivenVariables>(reader);
}

}  // namespace torvik::engine

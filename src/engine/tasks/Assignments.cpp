#include "engine/tasks/Assignments.h"

#include <algorithm>

#include "engine/model/EngineServices.h"
#include "engine/model/TaskReader.h"
#include "engine/model/VariableFile.h"
#include "engine/model/Variables.h"
#include "platform/PlatformError.h"
#include "platform/Process.h"
#include "platform/Secrets.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

PlatformError NoValue(const std::string& reason) {
  return PlatformError(0, reason, "package engine");
}

class GivenText final : public ValueSource {
 public:
  explicit GivenText(PlacedText text) : text_(std::move(text)) {}

  ado::Value Read(TaskContext& context) const override {
    return context.GlobalVariables().Substitute(text_.text);
  }
  std::string Origin() const override {
    return "the text of line " + std::to_string(text_.place.line);
  }

 private:
  const PlacedText text_;
};

/// A line KEY = VALUE of a file.
class FileKey final : public ValueSource {
 public:
  FileKey(PlacedText file, PlacedText section, PlacedText key)
      : file_(std::move(file)), section_(std::move(section)), key_(std::move(key)) {}

  ado::Value Read(TaskContext& context) const override {
    Variables& variables = context.GlobalVariables();
    const EngineServices& services = context.Services();
    const std::string path = variables.Substitute(file_.text);
    const std::string key = variables.Substitute(key_.text);
    const auto lines = ReadVariableFile(services.files, services.codePages, path,
                                        variables.Substitute(section_.text));
    const auto line = std::ranges::find_if(
        lines, [&](const FileValue& one) { return EqualsIgnoringCase(one.name, key); });
    if (line == lines.end())
      throw NoValue(path + ": there is no line " + key + " = VALUE; add one, or correct \"key\"");
    return line->value;
  }
  std::string Origin() const override { return "the key " + Quoted(key_.text); }

 private:
  const PlacedText file_, section_, key_;
};

class WholeTextFile final : public ValueSource {
 public:
  explicit WholeTextFile(PlacedText file) : file_(std::move(file)) {}

  ado::Value Read(TaskContext& context) const override {
    const EngineServices& services = context.Services();
    std::string text = ReadValueText(services.files, services.codePages,
                                     context.GlobalVariables().Substitute(file_.text));
    if (text.ends_with('\n')) text.pop_back();
    if (text.ends_with('\r')) text.pop_back();
    return text;
  }
  std::string Origin() const override { return "the file " + file_.text; }

 private:
  const PlacedText file_;
};

class QueriedValue final : public ValueSource {
 public:
  QueriedValue(std::string connection, PlacedText sql)
      : connection_(std::move(connection)), sql_(std::move(sql)) {}

  ado::Value Read(TaskContext& context) const override {
    const auto row =
        context.ReadDatabase(connection_)
            .OpenRecordset(context.GlobalVariables().Substitute(sql_.text), ado::CursorOptions{});
    if (row->Eof())
      throw NoValue("the query of line " + std::to_string(sql_.place.line) +
                    " has no row to take a value from; correct its WHERE");
    return row->Field(0);
  }
  std::string Origin() const override { return "the query's first column"; }

 private:
  const std::string connection_;
  const PlacedText sql_;
};

class EnvironmentValue final : public ValueSource {
 public:
  explicit EnvironmentValue(PlacedText name) : name_(std::move(name)) {}

  ado::Value Read(TaskContext& context) const override {
    if (const auto value = context.Services().processes.EnvironmentVariable(name_.text))
      return *value;
    throw NoValue("the environment has no variable " + Quoted(name_.text) +
                  "; set it for whoever starts the job, or declare it in the unit of its timer");
  }
  std::string Origin() const override { return "the environment variable " + Quoted(name_.text); }

 private:
  const PlacedText name_;
};

std::unique_ptr<const ValueSource> ReadSource(TaskReader& reader, bool isForPassword,
                                              const std::string& target) {
  static constexpr const char* kSources[] = {"value", "file", "text_file", "sql", "environment"};
  const auto given = std::ranges::count_if(
      kSources, [&](const char* key) { return reader.Table().Find(key) != nullptr; });
  if (given != 1) {
    reader.Problem(reader.Table().Place(),
                   "give one of \"value\", \"file\" with \"key\", \"text_file\", \"sql\" with "
                   "\"connection\" and \"environment\"");
    for (const char* key : {"section", "key", "connection"}) reader.Table().Find(key);
    return nullptr;
  }
  if (reader.Table().Find("value")) {
    PlacedText text = reader.RequiredTemplate("value");
    if (!isForPassword) reader.RefusePassword(text, target);
    return std::make_unique<GivenText>(std::move(text));
  }
  if (reader.Table().Find("file"))
    return std::make_unique<FileKey>(reader.RequiredTemplate("file"),
                                     reader.Template("section").value_or(PlacedText{}),
                                     reader.RequiredTemplate("key"));
  if (reader.Table().Find("text_file"))
    return std::make_unique<WholeTextFile>(reader.RequiredTemplate("text_file"));
  if (reader.Table().Find("sql"))
    return std::make_unique<QueriedValue>(reader.Database("connection"),
                                          reader.RequiredTemplate("sql"));
  return std::make_unique<EnvironmentValue>(reader.Table().RequiredText("environment"));
}

}  // namespace

std::vector<Assignment> ReadAssignments(TaskReader& reader) {
  std::vector<Assignment> assignments;
  reader.ForEach("assignments", [&](TaskReader& one) {
    Assignment assignment;
    const auto variable = one.Table().Text("variable");
    const auto step = one.Table().Text("disables");
    if (variable.has_value() == step.has_value())
      one.Problem(one.Table().Place(),
                  "give one of \"variable\", which gets the value, and \"disables\", a step");
    if (variable) one.DeclaredVariable(variable->text, variable->place);
    if (variable) assignment.variable = variable->text;
    if (step) assignment.step = *step;
    assignment.source =
        ReadSource(one, IsPasswordName(assignment.variable),
                   Quoted(assignment.variable) + ", whose name does not end in Password");
    assignments.push_back(std::move(assignment));
  });
  return assignments;
}

}  // namespace torvik::engine

#include <charconv>

#include "engine/TaskReader.h"
#include "engine/Tasks.h"
#include "engine/Variables.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

PlatformError Failure(const std::string& reason) {
  return PlatformError(0, reason, "package engine");
}

std::string TextOfField(const ado::Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* integer = std::get_if<std::int64_t>(&value)) return TextOf(*integer);
  if (const auto* real = std::get_if<double>(&value)) return TextOf(*real);
  if (const auto* blob = std::get_if<ado::Blob>(&value)) return blob->bytes;
  return {};
}

std::optional<bool> Boolean(const std::string& text) {
  for (const char* yes : {"True", "1", "-1"})
    if (EqualsIgnoringCase(text, yes)) return true;
  for (const char* no : {"False", "0"})
    if (EqualsIgnoringCase(text, no)) return false;
  return std::nullopt;
}

template <typename Number>
std::optional<Number> NumberOf(const std::string& text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// The text as a value of the type that the variable has; nothing when it is none.
std::optional<dts::Variant> OfTypeOf(const dts::Variant& declared, const std::string& text) {
  if (std::holds_alternative<std::string>(declared)) return text;
  if (std::holds_alternative<bool>(declared)) return Boolean(text);
  if (std::holds_alternative<std::int64_t>(declared)) return NumberOf<std::int64_t>(text);
  return NumberOf<double>(text);
}

class SetVariablesTask final : public Task {
 public:
  explicit SetVariablesTask(TaskReader& reader)
      : connection_(reader.Database("connection")), sql_(reader.RequiredTemplate("sql")) {}

  bool CanJoin() const override { return true; }

  std::optional<std::int64_t> Run(TaskContext& context) const override {
    Variables& variables = context.GlobalVariables();
    const auto row = context.ReadDatabase(connection_)
                         .OpenRecordset(variables.Substitute(sql_.text), ado::CursorOptions{});
    if (row->Eof()) throw Failure("the query has no row to set variables from; correct its WHERE");
    // All or none: a value that does not fit leaves every variable as it was.
    std::vector<std::pair<std::string, dts::Variant>> found;
    for (int i = 0; i < row->FieldCount(); ++i) found.push_back(ValueOf(*row, i, variables));
    row->Close();
    for (auto& [name, value] : found) variables.SetValue(name, std::move(value));
    return std::nullopt;
  }

 private:
  static std::pair<std::string, dts::Variant> ValueOf(const ado::Recordset& row, int position,
                                                      const Variables& variables) {
    const std::string name = row.FieldName(position);
    const dts::Variant* declared = variables.Find(name);
    if (declared == nullptr)
      throw Failure("the query's column " + Quoted(name) +
                    " is no global variable; name it with AS, or declare the variable");
    const ado::Value field = row.Field(position);
    // NULL clears a variable of whatever type.
    if (std::holds_alternative<ado::Null>(field)) return {name, Cleared(*declared)};
    auto value = OfTypeOf(*declared, TextOfField(field));
    if (!value)
      throw Failure("the query's column " + Quoted(name) +
                    " does not fit the global variable, which is declared as a " +
                    TypeName(*declared));
    return {name, std::move(*value)};
  }

  static dts::Variant Cleared(const dts::Variant& declared) {
    return std::visit(
        [](const auto& value) { return dts::Variant(std::decay_t<decltype(value)>()); }, declared);
  }

  static const char* TypeName(const dts::Variant& declared) {
    static const char* const kNames[] = {"text", "Boolean", "whole number", "number"};
    return kNames[declared.index()];
  }

  std::string connection_;
  PlacedText sql_;
};

}  // namespace

std::unique_ptr<Task> ReadSetVariablesTask(TaskReader& reader) {
  return std::make_unique<SetVariablesTask>(reader);
}

}  // namespace torvik::engine

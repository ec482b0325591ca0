#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/model/AdoParts.h"
#include "engine/model/Problems.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/Functions.h"

namespace torvik::engine {
namespace {

using script::Value;
using CommandArguments = std::span<const Value>;

/// More rows of a statement with parameters are not held in memory.
constexpr std::size_t kMostHeldRows = 100'000;

/// Values of CommandTypeEnum and ParameterDirectionEnum.
constexpr std::int32_t kTextCommand = 1, kTableCommand = 2, kProcedureCommand = 4;
constexpr std::int32_t kInput = 1;

PlatformError CommandError(const std::string& reason) {
  return PlatformError(0, reason, kAdoCommandClass);
}

/// One value of a command, as CreateParameter(name, type, direction, size, value) makes it.
class AdoParameter final : public script::Object {
 public:
  explicit AdoParameter(CommandArguments arguments) {
    script::ExpectArguments(arguments, 0, 5);
    if (IsGiven(arguments, 0)) name_ = script::ToText(arguments[0]);
    if (IsGiven(arguments, 2)) SetDirection(arguments[2]);
    if (IsGiven(arguments, 4)) value_ = arguments[4];
  }

  std::string_view TypeName() const override { return "Parameter"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"value", "name",      "direction",   "type",
                                                    "size",  "precision", "numericscale"};
    return script::MemberNamed(kMembers, name);
  }
  Value Invoke(script::Context& context, int member, CommandArguments arguments) override {
    script::ExpectArguments(arguments, 0, 0);
    if (member == kValue) return value_;
    if (member == kName) return script::NewText(context, name_);
    return Value::OfLong(member == kDirection ? kInput : 0);
  }
  void Put(script::Context&, int member, CommandArguments, const Value& value) override {
    if (member == kValue) value_ = value;
    if (member == kName) name_ = script::ToText(value);
    if (member == kDirection) SetDirection(value);
  }

  const std::string& Name() const { return name_; }
  void SetValue(const Value& value) { value_ = value; }
  ado::Value ForDatabase() const { return AdoValueOf(value_); }

 private:
  enum Member { kValue, kName, kDirection };

  static void SetDirection(const Value& direction) {
    if (script::ToLong(direction) != kInput)
      throw CommandError(
          "a parameter cannot bring a value back; have the statement SELECT it, and read it from "
          "the recordset");
  }

  std::string name_;
  Value value_;
};

using ParameterList = std::vector<Value>;

AdoParameter& ParameterIn(const Value& value) {
  return static_cast<AdoParameter&>(*value.AsObject());
}

class AdoParameters final : public script::Object {
 public:
  explicit AdoParameters(std::shared_ptr<ParameterList> list) : list_(std::move(list)) {}

  std::string_view TypeName() const override { return "Parameters"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"item", "append", "count", "delete"};
    return script::MemberNamed(kMembers, name);
  }
  Value Invoke(script::Context&, int member, CommandArguments arguments) override {
    script::ExpectArguments(arguments, member == kCount ? 0 : 1, member == kCount ? 0 : 1);
    switch (member) {
      case kAppend: Append(arguments[0]); return {};
      case kCount: return Value::OfLong(static_cast<std::int32_t>(list_->size()));
      case kDelete:
        list_->erase(list_->begin() + static_cast<std::ptrdiff_t>(PositionOf(arguments[0])));
        return {};
      default: return (*list_)[PositionOf(arguments[0])];
    }
  }
  /// command.Parameters("x") = 1
  void Put(script::Context&, int, CommandArguments indexes, const Value& value) override {
    script::ExpectArguments(indexes, 1, 1);
    ParameterIn((*list_)[PositionOf(indexes[0])]).SetValue(value);
  }
  Value Items(script::Context& context) override {
    Value array = script::NewArray(context.heap, list_->size());
    std::ranges::copy(*list_, array.AsArray()->elements.begin());
    return array;
  }

 private:
  enum Member { kItem, kAppend, kCount, kDelete };

  void Append(const Value& parameter) {
    const bool isObject = parameter.Is(script::Kind::Object);
    if (!isObject || dynamic_cast<AdoParameter*>(parameter.AsObject()) == nullptr)
      throw script::TypeMismatch("Append");
    list_->push_back(parameter);
  }

  std::size_t PositionOf(const Value& key) const {
    if (key.IsWhole() && key.Whole() >= 0 && static_cast<std::size_t>(key.Whole()) < list_->size())
      return static_cast<std::size_t>(key.Whole());
    const std::string name = script::ToText(key);
    for (std::size_t i = 0; i < list_->size(); ++i)
      if (EqualsIgnoringCase(ParameterIn((*list_)[i]).Name(), name)) return i;
    throw PlatformError(3265, "the command has no parameter " + Quoted(name), kAdoCommandClass);
  }

  const std::shared_ptr<ParameterList> list_;
};

class AdoCommand final : public script::Object {
 public:
  explicit AdoCommand(std::shared_ptr<ScriptDatabases> databases)
      : databases_(std::move(databases)) {}

  std::string_view TypeName() const override { return "Command"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {
        "parameters",       "execute", "createparameter", "commandtext",   "commandtype",
        "activeconnection", "name",    "prepared",        "commandtimeout"};
    return script::MemberNamed(kMembers, name);
  }

  Value Invoke(script::Context& context, int member, CommandArguments arguments) override {
    switch (member) {
      case kParameters: {
        const Value list = script::NewObject<AdoParameters>(parameters_);
        return arguments.empty() ? list : list.AsObject()->Invoke(context, 0, arguments);
      }
      case kExecute: return Execute(arguments);
      case kCreateParameter: return script::NewObject<AdoParameter>(arguments);
      case kCommandText: return script::NewText(context, text_);
      case kCommandType: return Value::OfLong(type_);
      case kActiveConnection: return connection_;
      default: script::NoSuchMember("");
    }
  }

  void Put(script::Context& context, int member, CommandArguments indexes,
           const Value& value) override {
    switch (member) {
      case kParameters: return AdoParameters(parameters_).Put(context, 0, indexes, value);
      case kExecute:
      case kCreateParameter: script::NoSuchMember("Execute");
      case kCommandText: text_ = script::ToText(value); return;
      case kCommandType: type_ = script::ToLong(value); return;
      case kActiveConnection: SetConnection(value); return;
      default: return;  // time-outs are the package's; a statement is prepared as it needs
    }
  }

 private:
  enum Member {
    kParameters,
    kExecute,
    kCreateParameter,
    kCommandText,
    kCommandType,
    kActiveConnection
  };

  void SetConnection(const Value& value) {
    connection_ = value;
    database_ = ActiveConnectionOf(value, *databases_);
  }

  /// Execute(rows affected, values, options): the values stand in place of the parameters' own.
  Value Execute(CommandArguments arguments) {
    script::ExpectArguments(arguments, 0, 3);
    if (!database_) throw CommandError("the command has no ActiveConnection; set one before");
    std::vector<ado::Value> values;
    for (const Value& parameter : *parameters_)
      values.push_back(ParameterIn(parameter).ForDatabase());
    if (IsGiven(arguments, 1)) TakeValues(arguments[1], values);
    const std::string sql = Statement(values.size());
    // A marker without a value is told by ExecuteWith.
    const bool isPlain = values.empty() && sql.find('?') == sql.npos;
    return NewAdoRecordset(databases_, database_,
                           isPlain ? RunAdoStatement(*database_, sql) : RunWithValues(sql, values));
  }

  static void TakeValues(const Value& given, std::vector<ado::Value>& values) {
    const bool isArray = given.Is(script::Kind::Array);
    const std::span<const Value> all =
        isArray ? std::span<const Value>(given.AsArray()->elements) : std::span(&given, 1);
    values.resize(std::max(values.size(), all.size()));
    for (std::size_t i = 0; i < all.size(); ++i) values[i] = AdoValueOf(all[i]);
  }

  std::string Statement(std::size_t values) const {
    if (type_ == kTableCommand) return "SELECT * FROM " + text_;
    if (type_ != kProcedureCommand) return text_;
    std::string sql = "EXEC " + text_;
    for (std::size_t i = 0; i < values; ++i) sql += i == 0 ? " ?" : ", ?";
    return sql;
  }

  std::unique_ptr<ado::Recordset> RunWithValues(const std::string& sql,
                                                const std::vector<ado::Value>& values) const {
    ado::StatementResult result = database_->ExecuteWith(sql, values, kMostHeldRows + 1);
    if (result.rows.size() > kMostHeldRows)
      throw CommandError("a command with parameters gives at most " +
                         std::to_string(kMostHeldRows) +
                         " rows; use a recordset without parameters, which reads them one after "
                         "the other, or a data pump");
    return result.columns.empty() ? nullptr : NewHeldRows(std::move(result));
  }

  const std::shared_ptr<ScriptDatabases> databases_;
  const std::shared_ptr<ParameterList> parameters_ = std::make_shared<ParameterList>();
  std::string text_;
  std::int32_t type_ = kTextCommand;
  Value connection_;
  std::shared_ptr<ado::Connection> database_;
};

}  // namespace

Value NewAdoCommand(const std::shared_ptr<ScriptDatabases>& databases) {
  return script::NewObject<AdoCommand>(databases);
}

}  // namespace torvik::engine

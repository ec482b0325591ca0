#include "engine/tasks/PumpScripts.h"

#include <algorithm>
#include <utility>

#include "engine/model/EngineServices.h"
#include "engine/model/ScriptValues.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "engine/pump/CachedLookup.h"
#include "engine/pump/ColumnNames.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/Transformation.h"
#include "engine/tasks/PumpSettings.h"
#include "platform/PlatformError.h"
#include "script/Conversion.h"
#include "script/ScriptError.h"

namespace torvik::engine {
namespace {

using ado::LoadValue;
using script::Value;

/// One column by its number, for scripts that look it up at run time.
class ColumnsObject;
class ColumnObject final : public script::Object {
 public:
  ColumnObject(ColumnsObject& columns, int number) : columns_(columns), number_(number) {}

  std::string_view TypeName() const override { return "Column"; }
  int FindMember(std::string_view name) const override {
    return name.empty() || name == "value" ? DefaultMember : name == "name" ? kName : NoMember;
  }
  Value Invoke(script::Context& context, int member, std::span<const Value> arguments) override;
  void Put(script::Context& context, int member, std::span<const Value> indexes,
           const Value& value) override;

 private:
  static constexpr int kName = 1;
  ColumnsObject& columns_;
  const int number_;
};

/// DTSSource and DTSDestination: columns by name or by position, from 1.
class ColumnsObject : public script::Object {
 public:
  ColumnsObject(std::string what, std::vector<std::string> names)
      : what_(std::move(what)), names_(std::move(names)) {}

  const std::string& NameOf(int number) const { return names_[static_cast<std::size_t>(number)]; }

  std::string_view TypeName() const override { return "Columns"; }
  int FindMember(std::string_view name) const override {
    return name.empty() || name == "item" ? DefaultMember : name == "count" ? kCount : NoMember;
  }
  int ItemNumber(const Value& key) override {
    const auto count = static_cast<std::int64_t>(names_.size());
    if (key.IsWhole()) {
      return key.Whole() >= 1 && key.Whole() <= count ? static_cast<int>(key.Whole()) - 1
                                                      : NoMember;
    }
    const auto found =
        std::ranges::find_if(names_, [&](const std::string& name) { return IsNamed(key, name); });
    return found == names_.end() ? NoMember : static_cast<int>(found - names_.begin());
  }
  Value Invoke(script::Context&, int member, std::span<const Value> arguments) override {
    if (member == kCount) return Value::OfLong(static_cast<std::int32_t>(names_.size()));
    return script::NewObject<ColumnObject>(*this, Found(arguments));
  }
  void Put(script::Context& context, int, std::span<const Value> indexes,
           const Value& value) override {
    PutItem(context, Found(indexes), value);
  }

 private:
  static constexpr int kCount = 1;

  int Found(std::span<const Value> keys) {
    script::ExpectArguments(keys, 1, 1);
    const int number = ItemNumber(keys[0]);
    if (number != NoMember) return number;
    throw PlatformError(0, what_ + " has no column " + Quoted(script::ToText(keys[0])),
                        "data pump");
  }

  const std::string what_;
  const std::vector<std::string> names_;
};

Value ColumnObject::Invoke(script::Context& context, int member, std::span<const Value> arguments) {
  script::ExpectArguments(arguments, 0, 0);
  if (member == kName) return Value::OfText(columns_.NameOf(number_), &context.heap);
  return columns_.Item(context, number_);
}

void ColumnObject::Put(script::Context& context, int member, std::span<const Value>,
                       const Value& value) {
  if (member == kName) script::NoSuchMember("Name");
  columns_.PutItem(context, number_, value);
}

class SourceObject final : public ColumnsObject {
 public:
  SourceObject(std::vector<std::string> names, std::vector<std::size_t> positions)
      : ColumnsObject("DTSSource", std::move(names)), positions_(std::move(positions)) {}

  void SetRow(std::span<const LoadValue> row) { row_ = row; }

  Value Item(script::Context& context, int number) override {
    return ScriptValueOf(row_[positions_[static_cast<std::size_t>(number)]], &context.heap);
  }
  void PutItem(script::Context&, int, const Value&) override {
    throw PlatformError(0, "DTSSource cannot be assigned to; use DTSDestination", "data pump");
  }

 private:
  const std::vector<std::size_t> positions_;  // in the row
  std::span<const LoadValue> row_;
};

class DestinationObject final : public ColumnsObject {
 public:
  explicit DestinationObject(std::vector<std::string> names)
      : ColumnsObject("DTSDestination", std::move(names)) {}

  void SetRow(std::span<LoadValue> row, RowBatch& batch) {
    row_ = row;
    batch_ = &batch;
  }

  Value Item(script::Context& context, int number) override {
    return ScriptValueOf(row_[static_cast<std::size_t>(number)], &context.heap);
  }
  void PutItem(script::Context&, int number, const Value& value) override {
    row_[static_cast<std::size_t>(number)] =
        LoadValueOf(value, [this](std::string_view text) { return batch_->Store(text); });
  }

 private:
  std::span<LoadValue> row_;
  RowBatch* batch_ = nullptr;
};

/// DTSLookups("name"), with Execute.
class LookupObject final : public script::Object {
 public:
  explicit LookupObject(CachedLookup lookup) : lookup_(std::move(lookup)) {}

  std::string_view TypeName() const override { return "Lookup"; }
  int FindMember(std::string_view name) const override {
    return name == "execute" ? kExecute : name == "lastrowcount" ? kLastRowCount : NoMember;
  }
  Value Invoke(script::Context& context, int member, std::span<const Value> arguments) override {
    if (member == kLastRowCount) return Value::OfLong(lastRowCount_);
    std::vector<std::string> texts;
    texts.reserve(arguments.size());
    std::vector<LoadValue> keys;
    // Those for which the query has no marker mean nothing.
    for (const Value& argument : arguments.first(std::min(arguments.size(), lookup_.Markers())))
      keys.push_back(LoadValueOf(argument, [&](std::string_view text) {
        return std::string_view(texts.emplace_back(text));
      }));
    const std::vector<ado::Value>& row = lookup_.FirstRow(keys);
    lastRowCount_ = row.empty() ? 0 : 1;
    if (row.empty()) return Value();
    if (row.size() == 1) return ScriptValueOf(row[0], &context.heap);
    Value array = script::NewArray(context.heap, row.size());
    for (std::size_t i = 0; i < row.size(); ++i)
      array.AsArray()->elements[i] = ScriptValueOf(row[i], &context.heap);
    return array;
  }

 private:
  static constexpr int kExecute = 1, kLastRowCount = 2;
  CachedLookup lookup_;
  std::int32_t lastRowCount_ = 0;
};

/// DTSLookups: the lookups of the pump by their names.
class LookupsObject final : public script::Object {
 public:
  void Add(std::string name, Value lookup) {
    names_.push_back(std::move(name));
    lookups_.push_back(std::move(lookup));
  }

  std::string_view TypeName() const override { return "Lookups"; }
  int FindMember(std::string_view name) const override {
    return name.empty() || name == "item" ? DefaultMember : NoMember;
  }
  int ItemNumber(const Value& key) override {
    const auto found =
        std::ranges::find_if(names_, [&](const std::string& name) { return IsNamed(key, name); });
    return found == names_.end() ? NoMember : static_cast<int>(found - names_.begin());
  }
  Value Item(script::Context&, int number) override {
    return lookups_[static_cast<std::size_t>(number)];
  }
  Value Invoke(script::Context& context, int, std::span<const Value> arguments) override {
    script::ExpectArguments(arguments, 1, 1);
    const int number = ItemNumber(arguments[0]);
    if (number == NoMember)
      throw PlatformError(0, "the pump has no lookup " + Quoted(script::ToText(arguments[0])),
                          "data pump");
    return Item(context, number);
  }

 private:
  std::vector<std::string> names_;
  std::vector<Value> lookups_;
};

Value NewLookups(const std::vector<LookupPlan>& plans, const TransformationScope& scope) {
  auto* const lookups = new LookupsObject;
  Value value = Value::OfObject(lookups);
  lookups->Release();
  for (const LookupPlan& plan : plans)
    lookups->Add(plan.name,
                 script::NewObject<LookupObject>(CachedLookup(
                     scope.context.ReadDatabase(plan.connection),
                     scope.context.GlobalVariables().Substitute(plan.sql.text), plan.cacheSize)));
  return value;
}

std::vector<std::size_t> PositionsOf(const ScriptPlan& plan, const TransformationScope& scope) {
  std::vector<std::size_t> positions;
  for (const std::string& name : plan.sources)
    positions.push_back(FindColumn(scope.sourceColumns, name, "source"));
  if (plan.sources.empty())
    for (std::size_t i = 0; i < scope.sourceColumns.size(); ++i) positions.push_back(i);
  return positions;
}

class ScriptedRow final : public RowScript {
 public:
  ScriptedRow(const ScriptPlan& plan, const Value& lookups, const TransformationScope& scope)
      : source_(script::NewObject<SourceObject>(
            plan.sources.empty() ? scope.sourceColumns : plan.sources, PositionsOf(plan, scope))),
        destination_(script::NewObject<DestinationObject>(plan.destinations)),
        script_(
            plan.script,
            {scope.context.GlobalVariables(), scope.context.Services(), scope.context.Package(),
             scope.context.Step()},
            {{"DTSSource", source_}, {"DTSDestination", destination_}, {"DTSLookups", lookups}}),
        choosesQueries_(scope.choosesQueries) {}

  unsigned Run(const TransformedRow& row, std::span<LoadValue> values) override {
    static_cast<SourceObject*>(source_.AsObject())->SetRow(row.source);
    static_cast<DestinationObject*>(destination_.AsObject())->SetRow(values, row.batch);
    try {
      const Value status = script_.Call();
      if (status.Is(script::Kind::Empty))
        throw RowScriptError{0,
                             "the script answers nothing; answer DTSTransformStat_OK or another "
                             "DTSTransformStat"};
      return Checked(script::ToLong(status));
    } catch (const script::ScriptError& error) {
      if (error.endsScript) throw PlatformError(error.number, error.Text(), error.source);
      throw RowScriptError{error.number, "the script failed: " + error.Text()};
    }
  }

 private:
  unsigned Checked(std::int32_t status) const {
    constexpr unsigned kQueries =
        kTransformInsertQuery | kTransformUpdateQuery | kTransformDeleteQuery | kTransformUserQuery;
    const auto bits = static_cast<unsigned>(status);
    if (bits & kQueries && !choosesQueries_)
      throw PlatformError(0,
                          "the script answers " + std::to_string(status) +
                              ": only a data-driven query has queries to choose from",
                          "data pump");
    return bits;
  }

  Value source_, destination_;
  PackageScript script_;
  const bool choosesQueries_;
};

}  // namespace

std::vector<LookupPlan> ReadLookups(TaskReader& reader) {
  std::vector<LookupPlan> lookups;
  reader.ForEach("lookups", [&](TaskReader& one) {
    LookupPlan plan;
    plan.name = one.Table().RequiredText("name").text;
    plan.connection = one.Database("connection");
    plan.sql = one.RequiredTemplate("sql");
    plan.cacheSize = static_cast<std::size_t>(one.Whole("cache_size", 0, kDefaultCacheSize));
    lookups.push_back(std::move(plan));
  });
  return lookups;
}

ScriptPlan ReadScriptTransformation(TaskReader& reader) {
  ScriptPlan plan;
  static constexpr const char* kPhases[] = {
      "row",   "pre_source", "post_source", "transform_failure", "insert_success", "insert_failure",
      "batch", "pump"};
  plan.script = ReadScript(reader, "script", "function");
  plan.phase = kPhases[reader.OneOf("phase", kPhases, 0)];
  for (const PlacedText& name : reader.Templates("sources")) plan.sources.push_back(name.text);
  for (const PlacedText& name : reader.Templates("destinations"))
    plan.destinations.push_back(name.text);
  plan.flags = ReadTransformFlags(reader);
  return plan;
}

std::vector<ScriptMapping> NewScriptMappings(const std::vector<ScriptPlan>& plans,
                                             const std::vector<LookupPlan>& lookups, unsigned flags,
                                             const TransformationScope& scope) {
  std::vector<ScriptMapping> mappings;
  if (plans.empty()) return mappings;
  const Value shared = NewLookups(lookups, scope);
  for (const ScriptPlan& plan : plans)
    mappings.push_back({std::make_shared<ScriptedRow>(plan, shared, scope), plan.destinations,
                        plan.flags | flags});
  return mappings;
}

}  // namespace torvik::engine

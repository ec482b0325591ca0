#include "engine/tasks/TransformationReader.h"

#include <algorithm>

#include "engine/model/EngineServices.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "engine/pump/CachedLookup.h"
#include "engine/pump/ColumnNames.h"
#include "engine/pump/DateTimePicture.h"
#include "engine/pump/Transformation.h"
#include "engine/tasks/PumpScripts.h"
#include "engine/tasks/PumpSettings.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

using Make = decltype(TransformationPlan::make);

std::string Substituted(const TransformationScope& scope, const PlacedText& text) {
  return scope.context.GlobalVariables().Substitute(text.text);
}

std::string DirectoryPath(const TransformationScope& scope, const PlacedText& text) {
  std::string path = Substituted(scope, text);
  if (path.empty() || (path.back() != '/' && path.back() != '\\')) path += '/';
  return path;
}

ColumnFiles Files(const TransformationScope& scope, const PlacedText& directory,
                  const PlacedText& encoding) {
  const EngineServices& services = scope.context.Services();
  return {services.files, DirectoryPath(scope, directory), services.codePages, encoding.text};
}

Make ReadCopy(TaskReader&, TransformationPlan&) {
  return {};
}

Make ReadTrim(TaskReader& reader, TransformationPlan&) {
  static constexpr const char* kSides[] = {"both", "left", "right"};
  const auto side = static_cast<TrimSide>(reader.OneOf("side", kSides, 0));
  return [side](const TransformationScope&) { return NewTrim(side); };
}

Make ReadUpper(TaskReader&, TransformationPlan&) {
  return [](const TransformationScope&) { return NewLetterCase(LetterCase::Upper); };
}

Make ReadLower(TaskReader&, TransformationPlan&) {
  return [](const TransformationScope&) { return NewLetterCase(LetterCase::Lower); };
}

Make ReadSubstring(TaskReader& reader, TransformationPlan&) {
  const auto start = static_cast<std::size_t>(reader.Whole("start", 1, 1));
  // The whole rest of the text, unless it is given.
  const auto length = static_cast<std::size_t>(reader.Whole("length", 1, INT64_MAX));
  return [start, length](const TransformationScope&) { return NewSubstring(start, length); };
}

Make ReadDateTime(TaskReader& reader, TransformationPlan&) {
  const auto picture = [&](const char* key, const char* fallback) {
    const auto text = reader.Table().Text(key);
    try {
      DateTimePicture checked(text ? text->text : fallback);
      return checked.Text();
    } catch (const PlatformError& error) {
      reader.Problem(text->place, error.Description());
    }
    return std::string(fallback);
  };
  const std::string from = picture("from", "yyyy-MM-dd HH:mm:ss");
  const std::string to = picture("to", "yyyy-MM-dd HH:mm:ss");
  return [from, to](const TransformationScope&) { return NewDateTimeFormat(from, to); };
}

Make ReadConstant(TaskReader& reader, TransformationPlan&) {
  const PlacedText value = reader.RequiredTemplate("value");
  reader.RefusePassword(value, "exception files and messages");
  return
      [value](const TransformationScope& scope) { return NewConstant(Substituted(scope, value)); };
}

Make ReadNullIf(TaskReader& reader, TransformationPlan&) {
  const std::vector<PlacedText> values = reader.Templates("values");
  if (values.empty())
    reader.Problem(reader.Table().Place(),
                   "the transformation \"null_if\" has no \"values\"; list the texts that mean "
                   "NULL");
  return [values](const TransformationScope& scope) {
    std::vector<std::string> texts;
    for (const PlacedText& value : values) texts.push_back(Substituted(scope, value));
    return NewNullIf(std::move(texts));
  };
}

Make ReadLookup(TaskReader& reader, TransformationPlan& plan) {
  plan.connection = reader.Database("connection");
  const PlacedText sql = reader.RequiredTemplate("sql");
  const std::vector<PlacedText> keys = reader.Templates("keys");
  const auto cacheSize = static_cast<std::size_t>(reader.Whole("cache_size", 0, kDefaultCacheSize));
  const bool mustExist = reader.Table().Boolean("must_exist", false);
  return [=, connection = plan.connection](const TransformationScope& scope) {
    Lookup lookup{
        scope.context.ReadDatabase(connection), Substituted(scope, sql), {}, cacheSize, mustExist};
    for (const PlacedText& key : keys)
      lookup.keys.push_back(FindColumn(scope.sourceColumns, key.text, "source"));
    return NewLookup(std::move(lookup));
  };
}

Make ReadReadFile(TaskReader& reader, TransformationPlan&) {
  const PlacedText directory = reader.RequiredTemplate("directory");
  const PlacedText encoding = reader.Table().Text("encoding").value_or(PlacedText{"utf-8", {}});
  return [=](const TransformationScope& scope) {
    return NewReadFile(Files(scope, directory, encoding));
  };
}

Make ReadWriteFile(TaskReader& reader, TransformationPlan&) {
  const PlacedText directory = reader.RequiredTemplate("directory");
  const PlacedText name = reader.RequiredTemplate("name_column");
  const PlacedText encoding = reader.Table().Text("encoding").value_or(PlacedText{"utf-8", {}});
  static constexpr const char* kModes[] = {"append", "replace", "error"};
  const auto mode = static_cast<FileMode>(reader.OneOf("mode", kModes, 1));
  return [=](const TransformationScope& scope) {
    return NewWriteFile(Files(scope, directory, encoding),
                        FindColumn(scope.sourceColumns, name.text, "source"), mode);
  };
}

constexpr const char* kScript = "script";

struct Kind {
  const char* name;
  Make (*read)(TaskReader& reader, TransformationPlan& plan);
};

constexpr Kind kKinds[] = {
    {"copy", ReadCopy},
    {"trim", ReadTrim},
    {"upper", ReadUpper},
    {"lower", ReadLower},
    {"substring", ReadSubstring},
    {"date_time", ReadDateTime},
    {"constant", ReadConstant},
    {"null_if", ReadNullIf},
    {"lookup", ReadLookup},
    {"read_file", ReadReadFile},
    {"write_file", ReadWriteFile},
};

void ReadOne(TaskReader& reader, TransformationPlans& plans) {
  reader.Table().SkipOriginal();
  static const std::vector<const char*> kNames = [] {
    std::vector<const char*> names;
    for (const Kind& kind : kKinds) names.push_back(kind.name);
    names.push_back(kScript);
    return names;
  }();
  if (reader.Table().RequiredText("type").text == kScript)
    return plans.scripts.push_back(ReadScriptTransformation(reader));
  TransformationPlan plan;
  if (const auto source = reader.Table().Text("source")) plan.source = source->text;
  const Kind& kind = kKinds[reader.OneOf("type", kNames, 0)];
  plan.type = kind.name;
  if (kind.read != ReadWriteFile || reader.Table().Find("destination") != nullptr)
    plan.destination = reader.Table().RequiredText("destination").text;
  plan.flags = ReadTransformFlags(reader);
  plan.make = kind.read(reader, plan);
  plans.columns.push_back(std::move(plan));
}

ColumnMapping* Find(std::vector<ColumnMapping>& columns, const std::string& destination) {
  const auto found = std::ranges::find_if(columns, [&](const ColumnMapping& one) {
    return EqualsIgnoringCase(one.destination, destination);
  });
  return found == columns.end() ? nullptr : &*found;
}

bool Uses(const std::vector<TransformationPlan>& plans, const std::string& source) {
  return std::ranges::any_of(plans, [&](const TransformationPlan& plan) {
    return EqualsIgnoringCase(plan.source, source);
  });
}

}  // namespace

TransformationPlans ReadTransformations(TaskReader& reader) {
  TransformationPlans plans;
  reader.ForEach("transformations", [&](TaskReader& one) { ReadOne(one, plans); });
  return plans;
}

std::string TransformationPlans::WhyNot() const {
  for (const ScriptPlan& script : scripts) {
    if (script.phase != "row")
      return "a script of its transformations works in the phase " + Quoted(script.phase) +
             ", and pumps here have none but \"row\"; make a step of it, or remove it";
    if (!script.script.lacks.empty()) return script.script.lacks;
  }
  return {};
}

std::vector<ColumnMapping> WithTransformations(std::vector<ColumnMapping> columns, bool byName,
                                               const TransformationPlans& plans, unsigned flags,
                                               const TransformationScope& scope) {
  if (byName && !plans.columns.empty() && plans.scripts.empty())
    for (const std::string& name : scope.sourceColumns)
      if (!Uses(plans.columns, name)) columns.push_back({name, name, flags});
  for (const TransformationPlan& plan : plans.columns) {
    const bool fillsNone = plan.destination.empty();
    ColumnMapping* mapping = fillsNone ? nullptr : Find(columns, plan.destination);
    if (mapping != nullptr && !plan.source.empty() &&
        !EqualsIgnoringCase(mapping->source, plan.source))
      throw PlatformError(0,
                          "column " + plan.destination + " is filled twice, from " +
                              (mapping->source.empty() ? "no column" : mapping->source) + " and " +
                              plan.source + "; a second transformation needs no source",
                          "data pump");
    if (mapping == nullptr)
      mapping = &columns.emplace_back(ColumnMapping{plan.source, plan.destination, flags});
    mapping->flags |= plan.flags;
    if (plan.make) mapping->chain.push_back(plan.make(scope));
  }
  return columns;
}

}  // namespace torvik::engine

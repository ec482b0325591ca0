#include "import/PumpTransformation.h"

#include <algorithm>
#include <utility>

#include "import/PumpColumns.h"
#include "import/Remarks.h"
#include "import/ScriptText.h"
#include "import/TaskTranslator.h"
#include "platform/Text.h"

namespace torvik::importing {
namespace {

/// DTSTransformFlags of the package object model, as far as they say what becomes of a row's value.
/// The others are about the types of columns, which are compared before the first row: a value that
/// overflows, changes its sign or is NULL where none may be is an error of its row with them as
/// without.
enum TransformFlag : std::int64_t {
  kStringTruncation = 4,
  kNumericTruncation = 8,
  kRequireExactType = 64,
  kForceConvert = 128,
  kPreserveDestRows = 256,
};

std::vector<std::string> AllowedBy(std::int64_t flags) {
  std::vector<std::string> words;
  const bool convertsAll = (flags & kForceConvert) != 0;
  if (convertsAll || (flags & kStringTruncation)) words.emplace_back("string_truncation");
  if (convertsAll || (flags & kNumericTruncation)) words.emplace_back("numeric_truncation");
  if (!convertsAll && (flags & kRequireExactType)) words.emplace_back("require_exact_type");
  return words;
}

}  // namespace

PumpTransformation::PumpTransformation(const Object& object, std::vector<Note>& notes)
    : object_(object),
      notes_(notes),
      kind_(KindOf(object.progId)),
      sources_(ColumnNames(object, "sourcecolumns")),
      destinations_(ColumnNames(object, "destinationcolumns")),
      own_(&object, notes) {
  ReadFlags(own_.Whole("TransformFlags", 0));
  for (const char* idle :
       {"Name", "ForceSourceBlobsBuffered", "ForceBlobsInMemory", "InMemoryBlobSize"})
    idle_.emplace_back(idle);
  constexpr std::int64_t kRow = 4;
  phases_ = own_.Whole("TransformPhases", kRow);
  if (kind_ != "script" && phases_ != kRow && phases_ != kAllPhases)
    notes_.push_back({Line(), "the transformation " + Name() +
                                  " works in other phases than that of rows, which only scripts "
                                  "can: it is imported for rows"});
}

std::vector<ColumnPair> PumpTransformation::Pairs() const {
  std::vector<ColumnPair> pairs;
  for (std::size_t i = 0; i < std::min(sources_.size(), destinations_.size()); ++i)
    pairs.push_back({sources_[i], destinations_[i]});
  return pairs;
}

void PumpTransformation::Write(DocumentWriter& writer, bool writesFlags) {
  const auto begin = [&](const char* type) {
    writer.Header("[[steps.transformations]]");
    writer.Text("type", type);
    if (writesFlags && !allowed_.empty()) writer.List("allow", allowed_);
  };
  Properties settings = Settings();
  if (kind_ == "script") return WriteScript(writer, settings, begin);
  if (kind_ == "writefile") return WriteWriteFile(writer, settings, begin);
  if (sources_.size() > destinations_.size())
    notes_.push_back({Line(), "the transformation " + Name() +
                                  " has more sources than destinations; "
                                  "the last of them are left out"});
  for (std::size_t i = 0; i < destinations_.size(); ++i) WriteOne(writer, settings, begin, i);
}

std::string PumpTransformation::Name() const {
  const Property* const name = object_.Find("Name");
  return "\"" + (name ? name->value.PlainText() : kind_) + "\"";
}

std::string PumpTransformation::KindOf(const std::string& progId) {
  const std::string name = ClassName(progId);
  for (const char* kind :
       {"script", "writefile", "readfile", "datetime", "upper", "lower", "trim", "mid", "copy"})
    if (name.find(kind) != name.npos) return kind;
  return name;
}

void PumpTransformation::ReadFlags(std::int64_t flags) {
  allowed_ = AllowedBy(flags);
  if (flags & kForceConvert)
    notes_.push_back({Line(), "the transformation " + Name() +
                                  " converts by force (ForceConvert): a value that cannot be "
                                  "converted is an error of its row here, bytes are not copied"});
  if (flags & kPreserveDestRows)
    notes_.push_back({Line(), "the transformation " + Name() +
                                  " keeps values of the row before (PreserveDestRows), which is "
                                  "not done here: each row begins empty"});
}

Properties PumpTransformation::Settings() {
  const Object* bag = object_.Child("transformserverproperties");
  if (bag == nullptr) bag = object_.Child("properties");
  settings_ = std::make_shared<Object>();
  if (bag != nullptr) {
    for (const ObjectPtr& item : bag->items)
      if (const Property* value = item->Find("Value"))
        settings_->Set(item->progId, value->value, value->line);
    for (const Property& property : bag->properties)
      settings_->Set(property.name, property.value, property.line);
  }
  return Properties(settings_.get(), notes_);
}

void PumpTransformation::WriteScript(DocumentWriter& writer, Properties& settings,
                                     const Begin& begin) {
  const std::string language = settings.Plain("Language");
  const Property* const text = settings.Take("Text");
  const bool isBasic = language.empty() || EqualsIgnoringCase(language, "VBScript") ||
                       EqualsIgnoringCase(language, "VB Script Language") ||
                       EqualsIgnoringCase(language, "VBScript.1");
  if (isBasic && text && text->value.isUnknown)
    notes_.push_back({text->line, "the script of " + Name() + " has parts that are not known: " +
                                      text->value.PlainText().substr(0, 100)});
  if (!isBasic)
    notes_.push_back(
        {Line(), "the script of " + Name() + " is written in " + language +
                     ", which does not run here: write it anew; the pump fails until then"});
  const std::string script = text ? text->value.PlainText() : "";
  if (isBasic) NoteScript(notes_, text ? text->line : Line(), Name(), script);
  const std::vector<Entry> entries = Entries(settings);
  bool isFirst = true;
  for (const Entry& entry : entries) {
    begin("script");
    if (entry.phase != nullptr) writer.Text("phase", entry.phase);
    if (!sources_.empty()) writer.List("sources", sources_);
    WriteDestinations(writer, script, entry.phase == nullptr);
    if (!entry.function.empty() && !EqualsIgnoringCase(entry.function, "Main"))
      writer.Text("function", entry.function);
    writer.LongText("script", isBasic ? script : NotWritten(entry.function, language));
    if (std::exchange(isFirst, false)) WriteRest(writer, settings, isBasic ? nullptr : text);
  }
}

std::vector<PumpTransformation::Entry> PumpTransformation::Entries(Properties& settings) {
  static constexpr struct {
    std::int64_t bit;
    const char* phase;
    const char* property;
  } kPhases[] = {{1, "pre_source", "PreSourceDataFunctionEntry"},
                 {2, "post_source", "PostSourceDataFunctionEntry"},
                 {4, nullptr, "FunctionEntry"},
                 {8, "transform_failure", "TransformFailureFunctionEntry"},
                 {16, "insert_success", "InsertSuccessFunctionEntry"},
                 {32, "insert_failure", "InsertFailureFunctionEntry"},
                 {64, "batch", "BatchCompleteFunctionEntry"},
                 {128, "pump", "PumpCompleteFunctionEntry"}};
  const std::string usual = settings.Plain("FunctionEntry");
  const bool isOfRows = (phases_ & 4) != 0;
  std::vector<Entry> entries;
  for (const auto& phase : kPhases) {
    std::string function = settings.Plain(phase.property);
    if (!(phases_ & phase.bit)) continue;
    // A phase of its own may be given the only function that there is.
    if (function.empty() && !isOfRows) function = usual;
    if (function.empty() && phase.phase != nullptr) continue;
    if (phase.phase != nullptr)
      notes_.push_back({Line(), "the script of " + Name() + " works in the phase " + phase.phase +
                                    " (" + function +
                                    "), which pumps here do not have: the step fails until it is "
                                    "taken out"});
    entries.push_back({phase.phase, function});
  }
  if (entries.empty()) entries.push_back({nullptr, usual});
  return entries;
}

void PumpTransformation::WriteDestinations(DocumentWriter& writer, const std::string& script,
                                           bool isOfRows) {
  std::vector<std::string> names = destinations_;
  if (names.empty() && isOfRows) {
    const ColumnUse use = ColumnsOf(script, "dtsdestination");
    names = use.names;
    if (use.isOpen)
      notes_.push_back({Line(), "the script of " + Name() +
                                    " lists no destination columns and names some by numbers or "
                                    "variables: write them into \"destinations\""});
  }
  if (!names.empty()) writer.List("destinations", names);
}

std::string PumpTransformation::NotWritten(const std::string& function,
                                           const std::string& language) {
  const std::string name = function.empty() ? "Main" : function;
  return "Function " + name + "()\r\n  Err.Raise 1000, , \"the script was written in " + language +
         " and has to be written anew\"\r\nEnd Function\r\n";
}

void PumpTransformation::WriteWriteFile(DocumentWriter& writer, Properties& settings,
                                        const Begin& begin) {
  begin("write_file");
  std::string nameColumn = settings.Plain("FileColumnName");
  if (nameColumn.empty() && !sources_.empty()) nameColumn = sources_.front();
  std::string value;
  for (const std::string& source : sources_)
    if (!EqualsIgnoringCase(source, nameColumn)) value = source;
  writer.Text("source", value);
  if (!destinations_.empty()) writer.Text("destination", destinations_.front());
  writer.Text("name_column", nameColumn);
  WriteFileKeys(writer, settings);
  const bool appends = settings.Boolean("AppendIfFileExists", false);
  const bool refuses = settings.Boolean("ErrorIfFileExists", false);
  writer.Text("mode", appends ? "append" : refuses ? "error" : "replace");
  WriteRest(writer, settings);
}

void PumpTransformation::WriteFileKeys(DocumentWriter& writer, Properties& settings) {
  writer.Text("directory", settings.Text("FilePath"));
  const bool isUnicode = settings.Boolean("UnicodeFile", false);
  const bool isOem = settings.Boolean("OEMFile", false);
  writer.Text("encoding", isUnicode ? "utf-16" : isOem ? "cp437" : "windows-1252");
}

void PumpTransformation::WriteOne(DocumentWriter& writer, Properties& settings, const Begin& begin,
                                  std::size_t i) {
  struct Type {
    const char* kind;
    const char* type;
  };
  static constexpr Type kTypes[] = {
      {"copy", "copy"},     {"trim", "trim"},          {"upper", "upper"},       {"lower", "lower"},
      {"mid", "substring"}, {"datetime", "date_time"}, {"readfile", "read_file"}};
  const auto type = std::ranges::find(kTypes, kind_, &Type::kind);
  if (type == std::end(kTypes))
    notes_.push_back({Line(), "the transformation " + Name() + " (" + object_.progId +
                                  ") is not known: its columns are copied as they are"});
  begin(type == std::end(kTypes) ? "copy" : type->type);
  if (i < sources_.size()) writer.Text("source", sources_[i]);
  writer.Text("destination", destinations_[i]);
  if (kind_ == "mid") {
    writer.Whole("start", std::max<std::int64_t>(1, settings.Whole("CharacterStart", 1)));
    if (const auto count = settings.Number("CharacterCount"); count && *count > 0)
      writer.Whole("length", static_cast<std::int64_t>(*count));
  } else if (kind_ == "datetime") {
    writer.Text("from", settings.Plain("InputFormat"));
    writer.Text("to", settings.Plain("OutputFormat"));
  } else if (kind_ == "readfile") {
    WriteFileKeys(writer, settings);
  }
  const char* const side = SideToTrim(settings, i);
  const bool isUpper = settings.Boolean("UpperCaseString", kind_ == "upper");
  const bool isLower = settings.Boolean("LowerCaseString", kind_ == "lower");
  if (kind_ == "trim" && side != nullptr) writer.Text("side", side);
  WriteRest(writer, settings);
  const auto further = [&](const char* name) {
    writer.Header("[[steps.transformations]]");
    writer.Text("type", name);
    writer.Text("destination", destinations_[i]);
  };
  if (kind_ != "trim" && side != nullptr) {
    further("trim");
    writer.Text("side", side);
  }
  if (isUpper && kind_ != "upper") further("upper");
  if (isLower && kind_ != "lower") further("lower");
}

const char* PumpTransformation::SideToTrim(Properties& settings, std::size_t i) {
  const bool usually = kind_ == "trim";
  const bool leading = settings.Boolean("TrimLeadingWhiteSpace", usually);
  const bool trailing = settings.Boolean("TrimTrailingWhiteSpace", usually);
  if (settings.Boolean("TrimEmbeddedWhiteSpace", false) && i == 0)
    notes_.push_back({Line(), "blanks within the values of " + Name() +
                                  " stay; only those around them are cut"});
  return leading && trailing ? "both" : leading ? "left" : trailing ? "right" : nullptr;
}

void PumpTransformation::WriteRest(DocumentWriter& writer, Properties& settings,
                                   const Property* more) {
  std::vector<Property> rest = settings.Rest();
  for (const Property& property : own_.Rest())
    if (std::ranges::find(idle_, property.name) == idle_.end()) rest.push_back(property);
  NoteKept(kind_, "the transformation " + Name(), rest, notes_);
  if (more != nullptr) rest.push_back(*more);
  WriteOriginal(writer, "[steps.transformations.original]", rest);
}

}  // namespace torvik::importing

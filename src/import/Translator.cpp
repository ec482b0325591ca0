#include "import/Translator.h"

#include <algorithm>
#include <map>
#include <set>

#include "engine/model/Providers.h"
#include "engine/model/RunnerVariables.h"
#include "engine/model/Variables.h"
#include "import/Remarks.h"
#include "import/ScriptText.h"
#include "import/TaskTranslator.h"
#include "platform/Secrets.h"
#include "platform/Text.h"

namespace torvik::importing {
namespace {

/// Steps and connections have names of their own; more of one name get numbers.
class Names {
 public:
  std::string Unique(const std::string& wanted, const char* otherwise) {
    const std::string base = wanted.empty() ? otherwise : wanted;
    std::string name = base;
    for (int& number = numbers_[LowerAscii(base)]; !taken_.insert(LowerAscii(name)).second;)
      name = base + " (" + std::to_string(++number + 1) + ")";
    return name;
  }

 private:
  std::set<std::string> taken_;
  std::map<std::string, int> numbers_;
};

struct Step {
  const Object* object;
  std::string name;
  std::vector<std::pair<std::size_t, const char*>> after;  ///< Positions and outcomes.
};

class PackageTranslator {
 public:
  PackageTranslator(const Recording& recording, const KnownValues& known, const std::string& name)
      : package_(*recording.package), recording_(recording), known_(known), wanted_(name) {
    result_.notes = recording.notes;
    scriptsNameTasks_ = std::ranges::any_of(recording.objects, [](const ObjectPtr& object) {
      return std::ranges::any_of(object->properties, [](const Property& one) {
        return LowerAscii(one.value.text).find(".tasks") != std::string::npos;
      });
    });
  }

  Translation Translate() {
    // The variables come first and are known last: the other parts name them.
    DocumentWriter parts;
    WriteConnections(parts);
    WriteSteps(parts);
    DocumentWriter writer;
    WriteHead(writer);
    std::vector<std::string> used = writer.UsedNames();
    used.insert(used.end(), parts.UsedNames().begin(), parts.UsedNames().end());
    WriteVariables(writer, used);
    WriteOriginal(writer, "[original]", rest_);
    writer.Blank();
    writer.Append(parts.Document());
    result_.document = writer.Document();
    std::ranges::stable_sort(result_.notes, {}, &Note::line);
    return std::move(result_);
  }

 private:
  void NoteAt(int line, std::string text) { result_.notes.push_back({line, std::move(text)}); }

  static const std::vector<ObjectPtr>& ItemsOf(const Object& object, const char* collection) {
    static const std::vector<ObjectPtr> none;
    const Object* const child = object.Child(collection);
    return child ? child->items : none;
  }

  // --- The package ---

  void WriteHead(DocumentWriter& writer) {
    Properties properties(&package_, result_.notes);
    result_.name = properties.Plain("Name");
    if (!wanted_.empty()) result_.name = wanted_;
    if (result_.name.empty()) {
      result_.name = "Imported package";
      NoteAt(0, "the package has no name; it is called \"Imported package\"");
    }
    writer.Text("name", result_.name);
    const std::string description = properties.Plain("Description");
    if (!description.empty() && description != result_.name)
      writer.Text("description", description);
    if (properties.Boolean("FailOnError", false)) writer.Boolean("fail_on_error", true);
    if (!properties.Boolean("UseTransaction", true)) writer.Boolean("use_transaction", false);
    if (!properties.Boolean("AutoCommitTransaction", true))
      writer.Boolean("auto_commit_transaction", false);
    if (const auto steps = properties.Whole("MaxConcurrentSteps", 4); steps != 4 && steps > 0)
      writer.Whole("max_concurrent_steps", steps);
    if (properties.Boolean("WriteCompletionStatusToNTEventLog", false))
      writer.Boolean("write_completion_status_to_nt_event_log", true);
    WriteServerLog(writer, properties);
    rest_ = properties.Rest();
    NoteKept("package", "the package", rest_, result_.notes);
  }

  void WriteServerLog(DocumentWriter& writer, Properties& properties) {
    constexpr std::int64_t kTrusted = 256;  // DTSSQLStgFlag_UseTrustedConnection
    if (properties.Boolean("LogToSQLServer", false)) writer.Boolean("log_to_server", true);
    if (properties.Boolean("FailPackageOnLogFailure", false))
      writer.Boolean("fail_on_log_failure", true);
    const std::string server = properties.Text("LogServerName");
    const std::string user = properties.Text("LogServerUserName");
    const bool isTrusted = (properties.Whole("LogServerFlags", 0) & kTrusted) != 0;
    const Property* const password = properties.Take("LogServerPassword");
    if (!server.empty()) writer.Text("log_server", server);
    if (user.empty() || isTrusted) return;
    writer.Text("log_server_user", user);
    if (password == nullptr || password->value.DocumentText().empty()) return;
    NoteAt(password->line,
           "the password of the server that logs is not written down: it is the "
           "global variable LogServerPassword");
    writer.Text("log_server_password", "${LogServerPassword}");
  }

  // --- Global variables ---

  void WriteVariables(DocumentWriter& writer, const std::vector<std::string>& used) {
    std::vector<std::pair<std::string, Value>> variables;
    const auto has = [&](const std::string& name) {
      return std::ranges::any_of(
          variables, [&](const auto& one) { return EqualsIgnoringCase(one.first, name); });
    };
    for (const ObjectPtr& item : ItemsOf(package_, "globalvariables")) {
      const Property* const name = item->Find("Name");
      if (name == nullptr || name->value.PlainText().empty() || has(name->value.PlainText()))
        continue;
      variables.emplace_back(name->value.PlainText(), ValueOfVariable(*item));
    }
    const std::size_t own = variables.size();
    for (const std::string& name : used)
      if (!has(name)) variables.emplace_back(name, KnownOr(name));
    writer.Header("[global_variables]");
    WriteRunnerVariables(writer, variables);
    for (std::size_t i = 0; i < variables.size(); ++i) {
      if (engine::IsRunnerVariable(variables[i].first)) continue;
      if (i == own) writer.Comment("what the original text does not say");
      WriteVariable(writer, variables[i].first, variables[i].second);
      ++result_.variables;
    }
    NoteUnknown(used);
  }

  static void WriteVariable(DocumentWriter& writer, const std::string& name, const Value& value) {
    // A password is given when the package runs.
    writer.Plain(name, IsPasswordName(name) && !value.isUnset ? Value::OfText("") : value);
  }

  Value ValueOfVariable(const Object& item) {
    const Property* const value = item.Find("Value");
    if (value == nullptr) return Value::OfText("");
    if (!value->value.isUnknown) return value->value;
    NoteAt(value->line, "the first value of a global variable is not known: " +
                            value->value.PlainText() + "; it begins empty");
    return Value::OfText("");
  }

  /// What the caller says of it; marked, as it may be a password's.
  Value KnownOr(const std::string& name) const {
    for (const auto& [known, text] : known_)
      if (EqualsIgnoringCase(known, name)) {
        Value value = Value::OfText(text);
        value.isUnset = true;
        return value;
      }
    return Value::OfText("");
  }

  /// The twelve, with the package's own values where they are of the right type.
  void WriteRunnerVariables(DocumentWriter& writer,
                            const std::vector<std::pair<std::string, Value>>& variables) {
    static constexpr struct {
      const char* name;
      bool isBoolean;
    } kTwelve[] = {{"ExceptionFilePath", false},        {"DTSServer", false},
                   {"DTSServerTrustedLogin", true},     {"DTSServerLoginUserName", false},
                   {"DTSServerLoginPassword", false},   {"DestinationServer", false},
                   {"DestServerTrustedLogin", true},    {"DestServerLoginUserName", false},
                   {"DestServerLoginPassword", false},  {"DestServerDatabaseName", false},
                   {"WriteCompletionStatusToNT", true}, {"OverwriteGlobalSettings", true}};
    for (const auto& one : kTwelve) {
      Value value = one.isBoolean ? Value::OfBoolean(false) : Value::OfText("");
      for (const auto& [name, own] : variables) {
        if (!EqualsIgnoringCase(name, one.name) || IsPasswordName(name)) continue;
        const bool isTrue = own.number != 0 || EqualsIgnoringCase(own.text, "true");
        value = one.isBoolean ? Value::OfBoolean(isTrue) : Value::OfText(own.PlainText());
      }
      writer.Plain(one.name, value);
    }
  }

  void NoteUnknown(const std::vector<std::string>& used) {
    for (const auto& [name, lines] : recording_.unknown) {
      if (std::ranges::find(used, name) == used.end()) continue;
      std::string places;
      for (const int line : lines) {
        if (places.size() > 60) {
          places += ", ...";
          break;
        }
        places += (places.empty() ? "" : ", ") + std::to_string(line);
      }
      NoteAt(lines.empty() ? 0 : lines.front(),
             name + " is not known (line " + places +
                 "): it is a global variable, to be set by --var " + name +
                 "=VALUE or in the document");
    }
  }

  // --- Connections ---

  void WriteConnections(DocumentWriter& writer) {
    Names names;
    std::int64_t next = 1;
    for (const ObjectPtr& item : ItemsOf(package_, "connections")) {
      Properties properties(item.get(), result_.notes);
      std::string provider = properties.Plain("ProviderID");
      if (!item->progId.empty()) provider = item->progId;
      const std::string name = names.Unique(properties.Plain("Name"), "connection");
      const std::int64_t id = properties.Whole("ID", next);
      next = id + 1;
      connections_[id] = name;
      if (engine::IsTextFileProvider(provider)) textFiles_.insert(id);
      writer.Header("[[connections]]");
      writer.Text("name", name);
      writer.Text("provider", provider);
      const std::string link = properties.Text("UDLPath");
      const bool usesLink = !link.empty() && properties.Boolean("UseDSL", false);
      const std::string file = usesLink ? link : FileDsnOf(*item);
      if (!file.empty()) writer.Text("data_link_file", file);
      WriteConnectionProperties(writer, *item, properties, provider, name, !file.empty());
      ++result_.connections;
    }
  }

  /// The path in "FILEDSN=C:\\dw.dsn;..." of an ODBC connection.
  static std::string FileDsnOf(const Object& item) {
    std::vector<const Property*> places = {item.Find("DataSource")};
    if (const Object* bag = item.Child("connectionproperties"))
      for (const ObjectPtr& one : bag->items) places.push_back(one->Find("Value"));
    for (const Property* place : places) {
      const std::string text = place == nullptr ? "" : place->value.DocumentText();
      const std::size_t begin = LowerAscii(text).find("filedsn=");
      if (begin == text.npos) continue;
      constexpr std::size_t kLength = std::string_view("filedsn=").size();
      return std::string(Trimmed(
          std::string_view(text).substr(begin + kLength, text.find(';', begin) - begin - kLength)));
    }
    return {};
  }

  void WriteConnectionProperties(DocumentWriter& writer, const Object& item, Properties& properties,
                                 const std::string& provider, const std::string& name,
                                 bool hasLinkFile) {
    const engine::ProviderRule* rule = engine::FindProvider(provider);
    if (rule == nullptr) {
      rule = &engine::OtherProvider();
      NoteAt(item.line, "the connection \"" + name + "\" needs a driver: [provider " + provider +
                            "] in the settings");
    }
    // Both kinds of properties, those of the provider first.
    Object all;
    if (const Object* bag = item.Child("connectionproperties"))
      for (const ObjectPtr& one : bag->items)
        if (const Property* value = one->Find("Value"))
          all.Set(one->progId, value->value, value->line);
    static constexpr std::pair<const char*, const char*> kOwn[] = {
        {"DataSource", "Data Source"},
        {"Catalog", "Initial Catalog"},
        {"UserID", "User ID"},
        {"Password", "Password"},
        {"ConnectionTimeout", "Connect Timeout"}};
    for (const auto& [own, other] : kOwn)
      if (const Property* property = properties.Take(own); property && !all.Find(other))
        all.Set(other, property->value, property->line);
    const bool isTrusted = properties.Boolean("UseTrustedConnection", false);
    if (isTrusted && !all.Find("Integrated Security") && !rule->isTextFile)
      all.Set("Integrated Security", Value::OfText("SSPI"), item.line);
    std::vector<Property> rest = properties.Rest();
    writer.Header("[connections.properties]");
    for (const Property& property : all.properties)
      if (!WriteProperty(writer, *rule, property, name)) rest.push_back(property);
    if (rule->isTextFile) {
      WriteQuoting(writer, all, name);
      NoteFixedHeader(all, name);
    }
    if (!all.Find("Data Source") && !hasLinkFile) {
      writer.Text("Data Source", "");
      NoteAt(item.line, "the connection \"" + name + "\" has no Data Source; fill it in");
    }
    std::erase_if(rest, [](const Property& one) {
      return one.value.DocumentText().empty() || IsPasswordProperty(one.name) ||
             EqualsIgnoringCase(one.name, "Name") || EqualsIgnoringCase(one.name, "ID");
    });
    WriteOriginal(writer, "[connections.original]", rest);
  }

  void NoteFixedHeader(const Object& all, const std::string& connection) {
    const Property* const format = all.Find("File Format");
    const Property* const header = all.Find("First Row Column Name");
    if (!format || !header || format->value.DocumentText() != "2") return;
    if (EqualsIgnoringCase(header->value.DocumentText(), "true") || header->value.number != 0)
      NoteAt(header->line, "the file of the connection \"" + connection +
                               "\" has columns of fixed widths, and names in its first line: a "
                               "name that is longer than its column is known by its beginning");
  }

  /// Which columns of a file that is written stand in qualifiers.
  void WriteQuoting(DocumentWriter& writer, const Object& all, const std::string& connection) {
    const Property* const mode = all.Find("Mode");
    const Property* const mask = all.Find("Text Qualifier Col Mask: 0=no, 1=yes, e.g. 0101");
    constexpr const char* kWrite = "3";
    if (!mask || !mode || mode->value.DocumentText() != kWrite) return;
    const std::string columns = mask->value.DocumentText();
    if (columns.find('1') == columns.npos) return;
    if (columns.find('0') == columns.npos) return writer.Boolean("Quote All", true);
    NoteAt(mask->line, "the file of the connection \"" + connection +
                           "\" has qualifiers around some columns; here they stand where a value "
                           "needs them");
  }

  /// False for one that is no property here.
  bool WriteProperty(DocumentWriter& writer, const engine::ProviderRule& rule,
                     const Property& property, const std::string& connection) {
    const engine::PropertyRule* const known = engine::FindProperty(rule, property.name);
    const std::string text = property.value.DocumentText();
    if (known == nullptr) return false;
    if (EqualsIgnoringCase(known->name, "Password")) {
      if (text.empty()) return true;
      if (const auto names = NamesIn(text); property.value.isUnknown && names.size() == 1 &&
                                            text == "${" + names[0] + "}" &&
                                            IsPasswordName(names[0])) {
        writer.Text(known->name, text);
        return true;
      }
      const std::string variable = PasswordVariable(connection);
      NoteAt(property.line, "the password of the connection \"" + connection +
                                "\" is not written down: it is the global variable " + variable);
      writer.Text(known->name, "${" + variable + "}");
      return true;
    }
    const std::string lower = LowerAscii(text);
    if (lower.find("password=") != lower.npos || lower.find("pwd=") != lower.npos) {
      NoteAt(property.line, property.name + " holds a password and is left out");
      return true;
    }
    const bool isQualifier = EqualsIgnoringCase(known->name, "Text Qualifier");
    if (text.empty() && !isQualifier && !known->required) return true;
    Properties one(&AsObject(property), result_.notes);
    switch (known->kind) {
      case engine::PropertyKind::Boolean:
        writer.Boolean(known->name, one.Boolean(property.name, false));
        break;
      case engine::PropertyKind::Whole:
        writer.Whole(known->name, std::max<std::int64_t>(0, one.Whole(property.name, 0)));
        break;
      case engine::PropertyKind::Text:
        writer.Text(known->name, lower == "<none>" ? "" : text);
        break;
    }
    return true;
  }

  const Object& AsObject(const Property& property) {
    scratch_ = Object();
    scratch_.properties = {property};
    return scratch_;
  }

  std::string PasswordVariable(const std::string& connection) {
    std::string name;
    for (const char c : connection)
      if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) name += c;
    for (int number = 2; !passwords_.insert(LowerAscii(name)).second; ++number)
      name += std::to_string(number);
    return name + "Password";
  }

  // --- Steps ---

  void WriteSteps(DocumentWriter& writer) {
    std::vector<Step> steps;
    Names names;
    for (const ObjectPtr& item : ItemsOf(package_, "steps")) {
      const Property* const name = item->Find("Name");
      steps.push_back({item.get(), names.Unique(name ? name->value.PlainText() : "", "step"), {}});
    }
    for (Step& step : steps) ReadConstraints(step, steps);
    for (const std::size_t position : Ordered(steps)) WriteStep(writer, steps[position], steps);
    NoteTasksWithoutSteps();
  }

  void ReadConstraints(Step& step, const std::vector<Step>& steps) {
    for (const ObjectPtr& item : ItemsOf(*step.object, "precedenceconstraints")) {
      Properties properties(item.get(), result_.notes);
      const std::string name = properties.Plain("StepName");
      const auto other = std::ranges::find_if(
          steps, [&](const Step& one) { return EqualsIgnoringCase(one.name, name); });
      if (other == steps.end()) {
        NoteAt(item->line, "the step \"" + step.name + "\" waits for \"" + name +
                               "\", which is no step: the constraint is left out");
        continue;
      }
      const bool isResult = properties.Whole("PrecedenceBasis", 1) == 1;
      const std::int64_t value = properties.Whole("Value", isResult ? 0 : 4);
      const char* const outcome = !isResult ? "completion" : value == 0 ? "success" : "failure";
      if ((!isResult && value != 4) || (isResult && value > 1))
        NoteAt(item->line, "the step \"" + step.name +
                               "\" waits for another state than an end of \"" + name +
                               "\"; it is imported as \"" + outcome + "\"");
      step.after.emplace_back(static_cast<std::size_t>(other - steps.begin()), outcome);
    }
  }

  /// Each behind those that it waits for, as far as they do not wait for each other.
  static std::vector<std::size_t> Ordered(const std::vector<Step>& steps) {
    std::vector<std::size_t> order;
    std::vector<bool> isPlaced(steps.size());
    while (order.size() < steps.size()) {
      const std::size_t before = order.size();
      for (std::size_t i = 0; i < steps.size(); ++i) {
        const bool isReady = std::ranges::all_of(
            steps[i].after, [&](const auto& one) { return isPlaced[one.first]; });
        if (isPlaced[i] || !isReady) continue;
        isPlaced[i] = true;
        order.push_back(i);
      }
      if (order.size() > before) continue;
      for (std::size_t i = 0; i < steps.size(); ++i)
        if (!isPlaced[i]) order.push_back(i);
    }
    return order;
  }

  void WriteStep(DocumentWriter& writer, const Step& step, const std::vector<Step>& steps) {
    Properties properties(step.object, result_.notes);
    ++result_.steps;
    writer.Header("[[steps]]");
    writer.Text("name", step.name);
    const std::string description = properties.Plain("Description");
    if (!description.empty() && description != step.name) writer.Text("description", description);
    WriteAfter(writer, step, steps);
    static constexpr std::pair<const char*, const char*> kFlags[] = {
        {"DisableStep", "disabled"},
        {"JoinTransactionIfPresent", "join_transaction"},
        {"CommitSuccess", "commit_success"},
        {"RollbackFailure", "rollback_failure"},
        {"FailPackageOnError", "fail_package_on_error"},
        {"CloseConnection", "close_connection"},
        {"ExecuteInMainThread", "execute_in_main_thread"}};
    const std::string taskName = properties.Plain("TaskName");
    if (scriptsNameTasks_ && !taskName.empty() && taskName != step.name)
      writer.Text("task_name", taskName);
    for (const auto& [property, key] : kFlags)
      if (properties.Boolean(property, false)) writer.Boolean(key, true);
    if (const auto priority = properties.Whole("RelativePriority", 3);
        priority >= 1 && priority <= 5 && priority != 3)
      writer.Whole("priority", priority);
    WriteWorkflowScript(writer, step, properties);
    for (const char* idle : {"Name", "ExecutionStatus"}) properties.Take(idle);
    TaskScope scope{writer, result_.notes, connections_, textFiles_, properties.Rest()};
    NoteKept("step", "the step \"" + step.name + "\"", scope.stepRest, result_.notes);
    const Object* const task = TaskNamed(taskName);
    if (task == nullptr) {
      NoteAt(step.object->line, "the step \"" + step.name + "\" has no task \"" + taskName +
                                    "\": it fails until it gets one");
      writer.Text("task", "NotImported");
      writer.Text("kind", taskName);
      writer.Text("reason", "the package has no such task");
      return WriteStepOriginal(scope, {});
    }
    usedTasks_.insert(task);
    const Object merged = MergedTask(*task);
    WriteTask(scope, merged);
  }

  static void WriteAfter(DocumentWriter& writer, const Step& step, const std::vector<Step>& steps) {
    std::string list;
    for (const auto& [position, outcome] : step.after)
      list += (list.empty() ? "" : ", ") + ("{ step = " + TomlText(steps[position].name)) +
              ", on = \"" + outcome + "\" }";
    if (!list.empty()) writer.Append("after = [ " + list + " ]\n");
  }

  void WriteWorkflowScript(DocumentWriter& writer, const Step& step, Properties& properties) {
    const std::string text = properties.Plain("ActiveXScript");
    const std::string language = properties.Plain("ScriptLanguage");
    const std::string function = properties.Plain("FunctionName");
    if (text.empty()) return;
    if (!language.empty() && !LowerAscii(language).starts_with("vb"))
      NoteAt(step.object->line, "the workflow script of the step \"" + step.name +
                                    "\" is written in " + language + ": write it anew");
    if (!function.empty() && !EqualsIgnoringCase(function, "Main"))
      writer.Text("workflow_function", function);
    NoteScript(result_.notes, step.object->line, "the step \"" + step.name + "\"", text);
    writer.LongText("workflow_script", text);
  }

  const Object* TaskNamed(const std::string& name) {
    if (tasks_.empty())
      for (const ObjectPtr& task : ItemsOf(package_, "tasks")) {
        const Object merged = MergedTask(*task);
        if (const Property* own = merged.Find("Name"))
          tasks_.emplace(LowerAscii(own->value.PlainText()), task.get());
      }
    const auto found = tasks_.find(LowerAscii(name));
    return found == tasks_.end() ? nullptr : found->second;
  }

  /// A task and what is special to it as one object.
  static Object MergedTask(const Object& task) {
    Object merged = task;
    if (const Object* custom = task.Child("customtask")) {
      for (const Property& property : custom->properties)
        merged.Set(property.name, property.value, property.line);
      for (const auto& [name, child] : custom->children) merged.children[name] = child;
    }
    merged.children.erase("customtask");
    // Tasks that others have written keep theirs in a bag.
    if (const Object* bag = merged.Child("properties"))
      for (const ObjectPtr& item : bag->items)
        if (const Property* value = item->Find("Value"))
          merged.Set(item->progId, value->value, value->line);
    for (const auto& [name, child] : merged.children)
      if (name.ends_with("commandproperties"))
        for (const ObjectPtr& item : child->items)
          if (const Property* value = item->Find("Value"))
            merged.Set(name + " " + item->progId, value->value, value->line);
    return merged;
  }

  void NoteTasksWithoutSteps() {
    for (const ObjectPtr& task : ItemsOf(package_, "tasks"))
      if (!usedTasks_.contains(task.get()))
        NoteAt(task->line, "the task (" + task->progId + ") belongs to no step: it is left out");
  }

  const Object& package_;
  const Recording& recording_;
  const KnownValues& known_;
  bool scriptsNameTasks_ = false;  // then steps keep the names of theirs
  const std::string wanted_;       // the package's name, when the caller gives it one
  Translation result_;
  std::vector<Property> rest_;
  std::map<std::int64_t, std::string> connections_;
  std::set<std::int64_t> textFiles_;
  std::map<std::string, const Object*> tasks_;  // by their names in lower case
  std::set<const Object*> usedTasks_;
  std::set<std::string> passwords_;  // the connections that have a variable for theirs
  Object scratch_;
};

}  // namespace

Translation Translate(const Recording& recording, const KnownValues& known,
                      const std::string& name) {
  return PackageTranslator(recording, known, name).Translate();
}

}  // namespace torvik::importing

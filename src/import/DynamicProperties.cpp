#include "import/DynamicProperties.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

#include "import/Properties.h"
#include "import/TaskTranslator.h"
#include "platform/Text.h"

namespace torvik::importing {
namespace {

/// Where a property's value stands.
struct Slot {
  Object* object = nullptr;
  std::string property;
};

ObjectPtr ItemCalled(const Object& package, const char* collection, const std::string& name) {
  const Object* const all = package.Child(collection);
  if (all == nullptr) return nullptr;
  for (const ObjectPtr& item : all->items) {
    const Object* const custom = item->Child("customtask");
    const Property* own = item->Find("Name");
    if (own == nullptr && custom != nullptr) own = custom->Find("Name");
    if (own != nullptr && EqualsIgnoringCase(own->value.PlainText(), name)) return item;
  }
  return nullptr;
}

/// A connection's properties and what its provider calls them. A document takes a text for each.
constexpr std::pair<const char*, const char*> kOfConnections[] = {{"DataSource", "Data Source"},
                                                                  {"Catalog", "Initial Catalog"},
                                                                  {"UserID", "User ID"},
                                                                  {"Password", "Password"},
                                                                  {"UDLPath", ""}};

Slot ConnectionSlot(Object& connection, const std::string& property) {
  const auto known = std::ranges::find_if(kOfConnections, [&](const auto& one) {
    return EqualsIgnoringCase(one.first, property) || EqualsIgnoringCase(one.second, property);
  });
  if (known == std::end(kOfConnections)) return {};
  // What stands in the bag counts.
  if (const auto bag = connection.children.find("connectionproperties");
      bag != connection.children.end())
    for (const ObjectPtr& item : bag->second->items)
      if (EqualsIgnoringCase(item->progId, known->second)) return {item.get(), "Value"};
  return {&connection, known->first};
}

/// The properties of tasks that are texts in documents too.
constexpr std::pair<const char*, const char*> kOfTasks[] = {
    {"executesqltask", "SQLStatement"},
    {"datapumptask", "SourceSQLStatement"},
    {"datapumptask", "SourceObjectName"},
    {"datapumptask", "DestinationObjectName"},
    {"datadrivenquerytask", "SourceSQLStatement"},
    {"datadrivenquerytask", "SourceObjectName"},
    {"executepackagetask", "PackageName"},
    {"executepackagetask", "ServerName"},
    {"bulkinserttask", "DataFile"},
    {"bulkinserttask", "DestinationTableName"},
    {"ftptask", "SourceSite"},
    {"ftptask", "DestSite"},
    {"sendmailtask", "ToLine"},
    {"sendmailtask", "CCLine"},
    {"sendmailtask", "Subject"},
    {"sendmailtask", "MessageText"}};

Slot TaskSlot(Object& task, const std::string& property) {
  const std::string kind = ClassName(task.progId);
  const bool isKnown = std::ranges::any_of(kOfTasks, [&](const auto& one) {
    return kind == one.first && EqualsIgnoringCase(one.second, property);
  });
  if (!isKnown) return {};
  const auto custom = task.children.find("customtask");
  return {custom == task.children.end() ? &task : custom->second.get(), property};
}

/// Only letters, digits and underscores of a name.
std::string Plain(std::string_view name) {
  std::string plain;
  for (const char c : name)
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_')
      plain += c;
  return plain;
}

class Binder {
 public:
  explicit Binder(Recording& recording) : recording_(recording), package_(*recording.package) {}

  void Bind(Object& assignment) {
    const Property* const target = assignment.Find("DestinationPropertyID");
    if (target == nullptr) return;
    const PropertyPath path(target->value.PlainText());
    const Slot slot = SlotOf(path);
    if (slot.object == nullptr) return;
    const std::string variable = VariableFor(path, slot, target->line);
    assignment.Set("DestinationPropertyID",
                   Value::OfText("Global Variables;" + variable + ";Properties;Value"),
                   target->line);
  }

 private:
  Slot SlotOf(const PropertyPath& path) const {
    if (path.parts.size() < 4) return {};
    const bool isConnection = EqualsIgnoringCase(path.parts[0], "Connections");
    if (!isConnection && !EqualsIgnoringCase(path.parts[0], "Tasks")) return {};
    const ObjectPtr item =
        ItemCalled(package_, isConnection ? "connections" : "tasks", path.parts[1]);
    if (item == nullptr) return {};
    return isConnection ? ConnectionSlot(*item, path.parts[3]) : TaskSlot(*item, path.parts[3]);
  }

  std::string VariableFor(const PropertyPath& path, const Slot& slot, int line) {
    std::string& variable = variables_[{slot.object, LowerAscii(slot.property)}];
    if (!variable.empty()) return variable;
    // A password's variable is called one: its value stays out of logs.
    const bool isPassword = IsPasswordProperty(path.parts[3]);
    const std::string base = Plain(path.parts[1]) + (isPassword ? "" : "_" + Plain(path.parts[3]));
    const std::string end = isPassword ? "Password" : "";
    variable = base + end;
    for (int number = 2; ItemCalled(package_, "globalvariables", variable); ++number)
      variable = base + std::to_string(number) + end;
    Declare(variable, isPassword ? Value::OfText("") : Begins(slot), line);
    slot.object->Set(slot.property, Value::Unknown(variable), line);
    return variable;
  }

  static Value Begins(const Slot& slot) {
    const Property* const own = slot.object->Find(slot.property);
    return own == nullptr ? Value::OfText("") : own->value;
  }

  void Declare(const std::string& name, Value value, int line) {
    ObjectPtr& all = package_.children["globalvariables"];
    if (all == nullptr) all = recording_.NewObject("globalvariables", line);
    const ObjectPtr item = recording_.NewObject("globalvariables item", line);
    item->Set("Name", Value::OfText(name), line);
    item->Set("Value", std::move(value), line);
    all->items.push_back(item);
  }

  Recording& recording_;
  Object& package_;
  std::map<std::pair<Object*, std::string>, std::string> variables_;
};

}  // namespace

PropertyPath::PropertyPath(std::string_view text) {
  bool isQuoted = false;
  parts.emplace_back();
  for (const char c : text)
    if (c == '\'')
      isQuoted = !isQuoted;
    else if (c == ';' && !isQuoted)
      parts.emplace_back();
    else
      parts.back() += c;
  for (std::string& part : parts) part = std::string(Trimmed(part));
}

bool PropertyPath::IsVariable() const {
  return parts.size() >= 2 && EqualsIgnoringCase(parts[0], "Global Variables");
}

bool PropertyPath::DisablesStep() const {
  return parts.size() >= 4 && EqualsIgnoringCase(parts[0], "Steps") &&
         EqualsIgnoringCase(parts[3], "DisableStep");
}

void BindDynamicProperties(Recording& recording) {
  if (recording.package == nullptr) return;
  const Object* const tasks = recording.package->Child("tasks");
  if (tasks == nullptr) return;
  Binder binder(recording);
  for (const ObjectPtr& task : tasks->items) {
    if (ClassName(task->progId) != "dynamicpropertiestask") continue;
    const Object* const custom = task->Child("customtask");
    for (const Object* owner : {static_cast<const Object*>(task.get()), custom})
      if (const Object* all = owner == nullptr ? nullptr : owner->Child("assignments"))
        for (const ObjectPtr& assignment : all->items) binder.Bind(*assignment);
  }
}

}  // namespace torvik::importing

#include "import/ObjectModel.h"

#include <algorithm>
#include <set>

#include "platform/Text.h"

namespace torvik::importing {
namespace {

/// Collections whose items are there by their names alone.
bool IsBag(std::string_view kind) {
  return kind == "connectionproperties" || kind == "properties" ||
         kind == "transformserverproperties" || kind.ends_with("commandproperties");
}

/// Tasks have their name themselves or in their special part.
bool IsCalled(const Object& item, const std::string& name) {
  const Object* const custom = item.Child("customtask");
  for (const Object* one : {&item, custom})
    for (const char* property : {"Name", "StepName"})
      if (const Property* own = one ? one->Find(property) : nullptr;
          own && EqualsIgnoringCase(own->value.PlainText(), name))
        return true;
  return false;
}

}  // namespace

bool IsCollection(std::string_view name) {
  static const std::set<std::string_view> names = {"connections",
                                                   "steps",
                                                   "tasks",
                                                   "globalvariables",
                                                   "transformations",
                                                   "sourcecolumns",
                                                   "destinationcolumns",
                                                   "lookups",
                                                   "assignments",
                                                   "precedenceconstraints",
                                                   "properties",
                                                   "connectionproperties",
                                                   "columns",
                                                   "commandproperties",
                                                   "sourcecommandproperties",
                                                   "destinationcommandproperties",
                                                   "transformserverproperties",
                                                   "insertquerycolumns",
                                                   "inputglobalvariables",
                                                   "updatequerycolumns",
                                                   "destinationcolumndefinitions",
                                                   "deletequerycolumns",
                                                   "userquerycolumns"};
  return names.contains(name);
}

bool EndsBuilding(std::string_view method) {
  return method == "execute" || method == "savetosqlserver" || method == "savetosqlserveras" ||
         method == "savetostoragefile" || method == "savetostoragefileas" ||
         method == "savetorepository";
}

bool IsLoad(std::string_view method) {
  return method == "loadfromsqlserver" || method == "loadfromstoragefile" ||
         method == "loadfromrepository";
}

LoadedPackage LoadedBy(std::string_view method, const std::vector<std::string>& names,
                       const std::vector<Value>& arguments) {
  // The positions of the arguments that say which package it is, from 0.
  struct Place {
    std::string_view method, server, name;
    std::size_t serverAt, nameAt;
    const char* words;
  };
  static constexpr Place kPlaces[] = {
      {"loadfromsqlserver", "servername", "packagename", 0, 7, "of server "},
      {"loadfromstoragefile", "uncfile", "name", 0, 4, "of the file "},
      {"loadfromrepository", "repositoryservername", "packagename", 0, 6, "of the repository "}};
  const Place& place = *std::ranges::find(kPlaces, method, &Place::method);
  const auto text = [&](std::string_view name, std::size_t position) {
    for (std::size_t i = 0; i < arguments.size(); ++i)
      if (names[i].empty() ? i == position : names[i] == name) return arguments[i].DocumentText();
    return std::string();
  };
  LoadedPackage loaded;
  loaded.name = text(place.name, place.nameAt);
  loaded.server = text(place.server, place.serverAt);
  loaded.place = place.words + ("\"" + loaded.server + "\"");
  return loaded;
}

ObjectPtr NewItem(Recording& recording, Object& collection, const std::vector<Value>& arguments,
                  int line) {
  ObjectPtr item = recording.NewObject(collection.kind + " item", line);
  const std::string& kind = collection.kind;
  collection.made.push_back(item);
  if (arguments.empty()) return item;
  item->progId = arguments[0].PlainText();
  if (kind == "precedenceconstraints")
    item->Set("StepName", arguments[0], line);
  else if (kind != "connections" && kind != "tasks" && kind != "transformations")
    item->Set("Name", arguments[0], line);
  if (arguments.size() > 1 && kind == "globalvariables") item->Set("Value", arguments[1], line);
  if (arguments.size() > 1 && kind.ends_with("columns")) item->Set("Ordinal", arguments[1], line);
  return item;
}

ObjectPtr AddItem(Recording& recording, Object& collection, const std::vector<Value>& arguments,
                  int line) {
  ObjectPtr item = arguments[0].object;
  if (!arguments[0].IsObject()) {
    item = NewItem(recording, collection, arguments, line);
    static constexpr const char* kLookupParts[] = {"Name", "Query", "ConnectionID", "MaxCacheRows"};
    if (collection.kind == "lookups")
      for (std::size_t i = 0; i < std::min(std::size(kLookupParts), arguments.size()); ++i)
        item->Set(kLookupParts[i], arguments[i], line);
  }
  const bool isNew = item->collection == nullptr;
  const bool mayBeThere = !isNew && item->collection != &collection;
  if (isNew || (mayBeThere && std::ranges::find(collection.items, item) == collection.items.end()))
    collection.items.push_back(item);
  item->collection = &collection;
  return item;
}

ObjectPtr FindItem(Recording& recording, Object& collection, const Value& key, int line) {
  const std::string name = key.PlainText();
  if (IsBag(collection.kind)) {
    ObjectPtr& property = collection.children[LowerAscii(name)];
    if (!property) {
      property = recording.NewObject("property", line);
      property->progId = name;
      collection.items.push_back(property);
    }
    return property;
  }
  if (key.kind == Value::Kind::Number) {
    const bool isThere =
        key.number >= 1 && key.number <= static_cast<double>(collection.items.size());
    return isThere ? collection.items[static_cast<std::size_t>(key.number) - 1] : nullptr;
  }
  recording.searched += collection.items.size() + collection.made.size();
  for (const auto* list : {&collection.items, &collection.made})
    for (const ObjectPtr& item : *list)
      if (IsCalled(*item, name)) return item;
  // A global variable is there as soon as it is named.
  if (collection.kind == "globalvariables") return AddItem(recording, collection, {key}, line);
  return nullptr;
}

}  // namespace torvik::importing

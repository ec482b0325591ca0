#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "engine/model/TomlTable.h"

namespace torvik::engine {

/// A property of a task, as scripts call it by the package object model, and the key of documents
/// that says the same.
struct TaskProperty {
  enum class Form {
    Text,
    List,    ///< Parts with semicolons between them.
    Program  ///< A command line: the key is the program, "arguments" has the rest.
  };

  const char* task;  ///< The kind in documents: "ExecuteSQL".
  const char* name;
  const char* key;
  const char* instead;  ///< A key that cannot stand beside this one; empty for none.
  Form form;
};

/// Null when scripts cannot reach such a property. `name` may be in any letter case.
const TaskProperty* FindTaskProperty(std::string_view task, std::string_view name);

/// A property's name by its number, and the number by the name in any letter case; tasks of several
/// kinds have properties of one name. Nothing for a name that no task has.
std::optional<std::size_t> TaskPropertyNumber(std::string_view name);
std::string TaskPropertyName(std::size_t number);

/// What the object model calls a kind of task: "DTSExecuteSQLTask".
std::string CustomTaskId(std::string_view task);

/// The property's value among a step's keys; may hold `${Name}`.
std::string ValueAmong(const TomlTable& keys, const TaskProperty& property);

/// Sets the property among a step's keys to `text`, in which `${` is nothing special.
void SetAmong(TomlTable& keys, const TaskProperty& property, std::string_view text);

}  // namespace torvik::engine

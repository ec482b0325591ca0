#pragma once

#include <string_view>
#include <vector>

#include "import/Record.h"

/// The package object model, as far as its collections go.
namespace torvik::importing {

/// Members that are collections, or parts that have properties of their own.
bool IsCollection(std::string_view lowerName);

/// Methods of a package that run or store it: what follows them has nothing to do with how it is
/// built.
bool EndsBuilding(std::string_view lowerMethod);

/// Methods of a package that take one that is stored.
bool IsLoad(std::string_view lowerMethod);

/// What such a call takes: its arguments by their order, or by `names` in lower case, which are
/// empty where the text gives none.
LoadedPackage LoadedBy(std::string_view lowerMethod, const std::vector<std::string>& names,
                       const std::vector<Value>& arguments);

/// A collection's New: an item that is not in it yet.
ObjectPtr NewItem(Recording& recording, Object& collection, const std::vector<Value>& arguments,
                  int line);

/// A collection's Add: of an object, or of the parts of a new one (AddGlobalVariable name, value).
/// `arguments` are not empty.
ObjectPtr AddItem(Recording& recording, Object& collection, const std::vector<Value>& arguments,
                  int line);

/// The item of a name, at a position from 1, or in a bag of properties of any name. Null when there
/// is none.
ObjectPtr FindItem(Recording& recording, Object& collection, const Value& key, int line);

}  // namespace torvik::importing

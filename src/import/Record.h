#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The package that a Visual Basic text builds, as it was recorded: objects with the properties
/// that were set, each with its line.
namespace torvik::importing {

struct Object;
using ObjectPtr = std::shared_ptr<Object>;

/// A value. What cannot be known stands in texts as `${Name}`, as documents have it; "${" itself is
/// "$${" there.
struct Value {
  enum class Kind { Empty, Text, Number, Boolean, Object };

  Kind kind = Kind::Empty;
  std::string text;
  bool isUnknown = false;  ///< The text has names in it.
  bool isUnset = false;    ///< Empty, because nobody has set it.
  double number = 0;       ///< Of a Boolean -1 or 0.
  ObjectPtr object;

  static Value OfText(std::string_view plain);
  static Value OfNumber(double number);
  static Value OfBoolean(bool value);
  static Value OfObject(ObjectPtr object);
  static Value Unknown(const std::string& name);

  bool IsObject() const { return kind == Kind::Object && object != nullptr; }
  /// In the form of documents; empty for an object.
  std::string DocumentText() const;
  /// Without names and marks.
  std::string PlainText() const;
};

struct Property {
  std::string name;  ///< As it was first written.
  Value value;
  int line = 0;
};

struct Object {
  std::string kind;    ///< In lower case: "package", "connections", "connections item", "property".
  std::string progId;  ///< What New was given.
  int line = 0;
  std::vector<Property> properties;  ///< In the order in which they were first set.
  std::map<std::string, ObjectPtr>
      children;                        ///< Collections and parts, by their names in lower case.
  std::vector<ObjectPtr> items;        ///< Of a collection, in their order.
  std::vector<ObjectPtr> made;         ///< By the collection's New.
  const Object* collection = nullptr;  ///< To which it was added last.

  const Property* Find(std::string_view name) const;
  void Set(std::string_view name, Value value, int line);
  /// Null when there is none.
  const Object* Child(std::string_view lowerName) const;
};

/// What the importer has to say of a line.
struct Note {
  int line = 0;  ///< 0: of no line.
  std::string text;
};

/// That the text does not build a package but takes one that is stored somewhere.
struct LoadedPackage {
  ObjectPtr package;         ///< With what the text sets of it.
  std::string place;         ///< In words: "of server \"S\"".
  std::string name, server;  ///< In the form of documents; empty where it is not given.
  int line = 0;
};

/// What was recorded.
struct Recording {
  Recording() = default;
  Recording(Recording&&) = default;
  Recording& operator=(Recording&&) = delete;
  ~Recording();

  ObjectPtr NewObject(std::string kind, int line);
  /// Once for each line and text.
  void NoteAt(int line, const std::string& text);

  ObjectPtr package;                    ///< Null: the text builds no package.
  std::optional<LoadedPackage> loaded;  ///< The first one.
  std::vector<Note> notes;
  std::map<std::string, std::vector<int>> unknown;  ///< Lines by the names that are not known.
  std::size_t searched = 0;                         ///< Items that were looked at to find others.
  std::vector<ObjectPtr> objects;  ///< All: they may belong to each other, and end together.

 private:
  std::set<std::pair<int, std::string>> told_;
};

/// The names of variables that a text in the form of documents has, in their order.
std::vector<std::string> NamesIn(std::string_view documentText);

}  // namespace torvik::importing

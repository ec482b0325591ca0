#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/model/PackageModel.h"
#include "engine/model/TomlTable.h"

namespace torvik::engine {

/// Who sees a text after its variables have been put in.
enum class TextUse { Inside, ProcessList };

/// Reads the settings of one step's task and checks them against the package: variables and
/// connections must be there.
class TaskReader {
 public:
  /// `package` holds the variables and connections already.
  TaskReader(TableReader& table, const PackageModel& package, Problems& problems)
      : table_(table), package_(package), problems_(problems) {}

  TableReader& Table() { return table_; }
  void Problem(TextPlace place, std::string reason) { problems_.Add(place, std::move(reason)); }

  /// Texts that may hold `${Name}`; `RequiredTemplate` reports a missing one.
  std::optional<PlacedText> Template(std::string_view key, TextUse use = TextUse::Inside);
  PlacedText RequiredTemplate(std::string_view key, TextUse use = TextUse::Inside);
  /// A list of such texts; empty when the key is not there.
  std::vector<PlacedText> Templates(std::string_view key, TextUse use = TextUse::Inside);

  /// A whole number that is at least `least`.
  std::int64_t Whole(std::string_view key, std::int64_t least, std::int64_t fallback);
  /// The position in `words` of the word that the key has; `fallback` when it is not there.
  std::size_t OneOf(std::string_view key, std::span<const char* const> words, std::size_t fallback);

  /// Reads each table of an array of tables, and reports the keys that `read` has not asked for.
  void ForEach(std::string_view key, const std::function<void(TaskReader&)>& read);

  /// The same for the table of a key, if it is there.
  void One(std::string_view key, const std::function<void(TaskReader&)>& read);

  /// A table of such texts by their keys.
  std::vector<std::pair<std::string, PlacedText>> TemplateTable(std::string_view key);

  /// A table of new values for global variables by their names. A Boolean or a number stands for
  /// its text; a `${Name}` of a password may only go to a variable that is called one.
  std::vector<std::pair<std::string, PlacedText>> VariableTemplates(std::string_view key);

  /// Reports a `${Name}` of a password in a text that others see: in `where`.
  void RefusePassword(const PlacedText& text, const std::string& where);

  /// One of a few words; nothing, after a problem, when it is another one.
  std::optional<PlacedText> Choice(std::string_view key, std::initializer_list<const char*> words);

  /// A whole number of seconds, from 0 to ten years; `fallback` when the key is not there.
  std::int64_t Seconds(std::string_view key, std::int64_t fallback);

  /// A list of global variables; each must be declared.
  std::vector<std::string> DeclaredVariables(std::string_view key);
  /// The global variable that an element of `key` names, which must be declared.
  std::string DeclaredVariable(std::string_view key, const TomlValue& element);
  void DeclaredVariable(const std::string& name, TextPlace place);

  /// The connection that a key names; null, and a problem, when there is none.
  const ConnectionModel* AnyConnection(std::string_view key);
  /// The name of a connection to a database; a text file is a problem.
  std::string Database(std::string_view key);

  /// Reports a variable that the task reads and the package does not have.
  void RequireVariable(std::string_view name);

 private:
  void ReadTable(const TomlTable& entries, TextPlace place,
                 const std::function<void(TaskReader&)>& read);
  /// An element of a list or table, which must be a text.
  PlacedText Element(std::string_view key, const TomlValue& value, TextUse use);

  TableReader& table_;
  const PackageModel& package_;
  Problems& problems_;
};

/// Reports each `${Name}` of `text` that the package has no variable for and, where other users can
/// read the text, each that holds a password.
void CheckTemplate(const PlacedText& text, TextUse use,
                   const std::vector<GlobalVariable>& variables, Problems& problems);

}  // namespace torvik::engine

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/PackageModel.h"
#include "engine/TomlTable.h"

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

  /// A table of such texts by their keys.
  std::vector<std::pair<std::string, PlacedText>> TemplateTable(std::string_view key);

  /// The connection that a key names; null, and a problem, when there is none.
  const ConnectionModel* AnyConnection(std::string_view key);
  /// The name of a connection to a database; a text file is a problem.
  std::string Database(std::string_view key);

  /// Reports a variable that the task reads and the package does not have.
  void RequireVariable(std::string_view name);

 private:
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

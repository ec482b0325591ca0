#include "import/Remarks.h"

#include "platform/Text.h"

namespace torvik::importing {
namespace {

/// A property that has no counterpart here, and whose usual value needs none.
struct Rule {
  const char* object;
  const char* property;
  const char* usual;
  const char* words;  ///< What is different here.
};

constexpr Rule kRules[] = {
    {"package", "TransactionIsolationLevel", "4096",
     "transactions have the isolation level of their server"},
    {"step", "IsPackageDSORowset", "False", "its rows cannot be asked for by others"},
    {"datapump", "DestinationSQLStatement", "", "rows are loaded into the table of \"table\""},
    {"datapump", "InputGlobalVariableNames", "",
     "the source's query has no parameters: write ${Name} of the variables for its \"?\""},
    {"readfile", "ErrorIfFileNotFound", "True", "a file that is missing is an error of its row"},
    {"datetime", "ShortYear2000Cutoff", "2049", "years of two digits are those from 1950 to 2049"},
    {"datetime", "InputLocaleID", "1033", "the names of months and days are English"},
    {"datetime", "OutputLocaleID", "1033", "the names of months and days are English"},
    {"bulkinserttask", "DataFileType", "0", "the file is read as text of one byte a character"},
    {"bulkinserttask", "KeepIdentity", "False", "an identity column is numbered anew"},
    {"bulkinserttask", "KeepNulls", "False", "an empty field is NULL"},
    {"executepackagetask", "VersionID", "", "the latest version is run"},
};

}  // namespace

void NoteKept(std::string_view object, const std::string& what,
              const std::vector<Property>& properties, std::vector<Note>& notes) {
  for (const Rule& rule : kRules) {
    if (object != rule.object) continue;
    for (const Property& property : properties) {
      const std::string text = property.value.PlainText();
      if (!EqualsIgnoringCase(property.name, rule.property) || EqualsIgnoringCase(text, rule.usual))
        continue;
      notes.push_back({property.line, what + " has " + property.name + " = " +
                                          std::string(FirstCharacters(text, 100)) +
                                          ", which has no counterpart: " + rule.words});
    }
  }
}

}  // namespace torvik::importing

#include "import/Loader.h"

#include <set>
#include <vector>

#include "engine/model/Variables.h"
#include "import/Properties.h"
#include "platform/Secrets.h"
#include "platform/ShellWord.h"
#include "platform/Text.h"

namespace torvik::importing {
namespace {

/// Longer values and lists are cut.
constexpr std::size_t kLongestShown = 200, kMostShown = 100;

class Settings {
 public:
  explicit Settings(const Object& package) { AddParts(package, ""); }

  std::string Lines() const {
    std::string text;
    for (const std::string& line : lines_) text += "  " + line + "\n";
    if (count_ > lines_.size()) text += "  ...\n";
    return text;
  }
  /// The options of torvik-admin that set the same variables.
  const std::string& Options() const { return options_; }
  bool HasOthers() const { return count_ > variables_; }

 private:
  void Add(const std::string& path, const Property& property, bool isSecret) {
    const std::string value(FirstCharacters(property.value.PlainText(), kLongestShown));
    if (++count_ <= kMostShown)
      lines_.push_back("line " + std::to_string(property.line) + ": " + path + " = " +
                       (isSecret ? "(a password, not shown)" : "\"" + value + "\""));
  }

  void AddVariable(const std::string& name, const Property& value, const std::string& path) {
    const bool isSecret = IsPasswordName(name);
    Add(path, value, isSecret);
    ++variables_;
    if (!isSecret && variables_ <= kMostShown)
      options_ += " --var " + ShellWord(name + "=" + value.value.PlainText());
  }

  void AddParts(const Object& object, const std::string& path) {
    if (!seen_.insert(&object).second) return;  // parts may belong to each other
    const bool isVariable = object.kind == "globalvariables item";
    const Property* const name = object.Find("Name");
    for (const Property& property : object.properties) {
      if (EqualsIgnoringCase(property.name, "Name")) continue;
      const std::string place = path + property.name;
      if (isVariable && name != nullptr)
        AddVariable(name->value.PlainText(), property, place);
      else
        Add(place, property, IsPasswordProperty(property.name));
    }
    for (const auto& [key, child] : object.children) {
      AddParts(*child, path + key + ".");
      for (const ObjectPtr& item : child->items) AddItem(*item, path + key);
    }
  }

  void AddItem(const Object& item, const std::string& collection) {
    const Property* const name = item.Find("Name");
    std::string key = name ? name->value.PlainText() : item.progId;
    const std::string path = collection + "(\"" + key + "\")";
    // An entry of a bag is its value alone.
    if (name == nullptr && item.Find("Value") != nullptr)
      return Add(path, *item.Find("Value"), IsPasswordProperty(key));
    AddParts(item, path + ".");
  }

  std::set<const Object*> seen_;
  std::vector<std::string> lines_;
  std::string options_;
  std::size_t count_ = 0, variables_ = 0;
};

}  // namespace

std::string LoaderRefusal(const Recording& recording) {
  const LoadedPackage& loaded = *recording.loaded;
  const std::string which =
      (loaded.name.empty() ? "the package" : "package \"" + loaded.name + "\"") + " " +
      loaded.place;
  std::string text = "this text builds no package: it runs " + which + " (line " +
                     std::to_string(loaded.line) + ")";
  const Settings settings(*loaded.package);
  if (!settings.Lines().empty()) text += ", after it has set\n" + settings.Lines();
  text += settings.Lines().empty() ? "\n" : "";
  text +=
      "Import that package: open it in its designer and save it as a Visual Basic file "
      "(Package, Save As). A job file for it then does the same by\n"
      "  torvik-admin run JOB.etl" +
      settings.Options();
  if (settings.HasOthers())
    text +=
        "\nWhat is set besides variables: write ${Name} of a variable there in the document, "
        "and give its value by --var Name=VALUE";
  return text;
}

}  // namespace torvik::importing

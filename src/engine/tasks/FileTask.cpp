#include <chrono>
#include <map>

#include "engine/model/EngineServices.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "engine/tasks/FileNames.h"
#include "engine/tasks/FileWait.h"
#include "engine/tasks/Tasks.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

PlatformError FileFailure(const std::string& path, const std::string& reason, int number = 0) {
  return PlatformError(number, path + ": " + reason, "package engine");
}

/// What every action does with the files that "path" names.
class FilesTask : public Task {
 public:
  explicit FilesTask(TaskReader& reader) : path_(reader.RequiredTemplate("path")) {
    const auto missing = reader.Choice("missing", {"fail", "ignore"});
    mayBeMissing_ = missing && missing->text == "ignore";
  }

  /// No transaction of a database undoes what has become of a file.
  bool CanJoin() const override { return false; }

 protected:
  /// By name. None only when the document allows that.
  std::vector<std::string> Found(TaskContext& context) const {
    const std::string path = context.GlobalVariables().Substitute(path_.text);
    auto found = FindFiles(context.Services().files, path);
    if (found.empty() && !mayBeMissing_)
      throw FileFailure(path,
                        IsPattern(Split(path).name)
                            ? "no file is called like this; write missing = \"ignore\" when that "
                              "is in order"
                            : "there is no such file; write missing = \"ignore\" when that is in "
                              "order");
    return found;
  }

  static void StopWhenCancelled(TaskContext& context) {
    if (context.Cancelled())
      throw PlatformError(0, "the step is to end before it has seen to every file",
                          "package engine");
  }

 private:
  PlacedText path_;
  bool mayBeMissing_;
};

class RemoveFiles final : public FilesTask {
 public:
  using FilesTask::FilesTask;

  TaskResult Run(TaskContext& context) const override {
    for (const std::string& path : Found(context)) {
      StopWhenCancelled(context);
      if (const auto error = context.Services().files.Remove(path))
        throw FileFailure(path, "it cannot be removed: " + error.message(), error.value());
      context.Output(path + " is removed");
    }
    return std::nullopt;
  }
};

/// Copies or moves: to a file, or into a directory under a name of its own.
class BringFiles final : public FilesTask {
 public:
  enum class Action { Copy, Move, Archive };

  BringFiles(TaskReader& reader, Action action)
      : FilesTask(reader),
        to_(reader.RequiredTemplate("to")),
        overwrite_(reader.Table().Boolean("overwrite", false)),
        isDirectory_(action == Action::Archive),
        isCopy_(action == Action::Copy) {
    if (action != Action::Archive) return;
    isCopy_ = reader.Table().Boolean("keep", false);
    if (const auto name = reader.Template("new_name")) name_ = *name;
    const bool isWhole = name_.text.find("${") == std::string::npos;
    if (isWhole && !NameByTemplate(name_.text, "a.b", std::tm{.tm_mday = 1}))
      reader.Problem(
          name_.place,
          "\"new_name\" may hold {stem}, {extension} and {date:FORMAT}, FORMAT as strftime "
          "has it; correct what stands between { and }");
  }

  TaskResult Run(TaskContext& context) const override {
    const auto ways = Ways(context, Found(context));
    Files& files = context.Services().files;
    for (const auto& [from, to] : ways) {
      StopWhenCancelled(context);
      const auto error =
          isCopy_ ? files.CopyWhole(from, to, overwrite_) : files.Move(from, to, overwrite_);
      if (error) throw FileFailure(from, Words(to, error), error.value());
      context.Output(from + (isCopy_ ? " is copied to " : " is moved to ") + to);
    }
    return std::nullopt;
  }

 private:
  using Way = std::pair<std::string, std::string>;

  /// Where each file goes. What can be seen to be in the way stops the step before the first one.
  std::vector<Way> Ways(TaskContext& context, const std::vector<std::string>& found) const {
    const Variables& variables = context.GlobalVariables();
    const std::tm now = context.Services().clock.LocalTime();
    const std::string name = variables.Substitute(name_.text);
    std::string to = variables.Substitute(to_.text);
    bool isDirectory = Split(to).name.empty();
    if (isDirectory_ && !isDirectory) to += '/';
    isDirectory = isDirectory || isDirectory_;
    if (!isDirectory && found.size() > 1)
      throw FileFailure(to,
                        "several files cannot become one; end \"to\" with a separator, so that it "
                        "is a directory");
    std::map<std::string, std::string> origins;  // by target
    std::vector<Way> ways;
    for (const std::string& from : found) {
      const std::string target = isDirectory ? to + NewName(name, Split(from).name, now) : to;
      const auto [other, isNew] = origins.emplace(target, from);
      if (!isNew)
        throw FileFailure(target, "both " + other->second + " and " + from +
                                      " would be called this; use {stem} in \"new_name\"");
      FileStatus status;
      if (!overwrite_ && !context.Services().files.Status(target, status))
        throw FileFailure(from, Words(target, std::make_error_code(std::errc::file_exists)));
      ways.emplace_back(from, target);
    }
    return ways;
  }

  std::string NewName(const std::string& text, const std::string& name, const std::tm& now) const {
    if (!isDirectory_) return name;
    const auto made = NameByTemplate(text, name, now);
    if (!made || made->empty() || *made == "." || *made == ".." ||
        made->find_first_of("/\\") != std::string::npos)
      throw FileFailure(text, "this \"new_name\" gives " + Quoted(name) +
                                  " no name of a file; use {stem}, {extension} and {date:FORMAT}");
    return *made;
  }

  std::string Words(const std::string& to, const std::error_code& error) const {
    const std::string reason =
        std::string("it cannot be ") + (isCopy_ ? "copied to " : "moved to ") + to + ": ";
    if (error == std::errc::file_exists)
      return reason + "that file exists; write overwrite = true to replace it";
    if (error == std::errc::is_a_directory)
      return reason + "that is a directory; end \"to\" with a separator";
    if (error == std::errc::no_such_file_or_directory)
      return reason + error.message() + "; the directory must be there";
    return reason + error.message();
  }

  PlacedText to_;
  PlacedText name_{"{stem}-{date:%Y%m%d-%H%M%S}{extension}", {}};
  bool overwrite_;
  bool isDirectory_;  // whether "to" ends with a separator or not
  bool isCopy_;
};

/// Waits for files that others bring.
class WaitForFiles final : public Task {
 public:
  explicit WaitForFiles(TaskReader& reader)
      : path_(reader.RequiredTemplate("path")),
        settled_(reader.Seconds("settled_seconds", 0)),
        timeout_(reader.Seconds("timeout_seconds", 0)),
        notEmpty_(reader.Table().Boolean("not_empty", false)) {
    if (timeout_ == 0)
      reader.Problem(reader.Table().Place(),
                     "a File step that waits needs \"timeout_seconds\", 1 or more; add it here");
  }

  bool CanJoin() const override { return false; }

  TaskResult Run(TaskContext& context) const override {
    const EngineServices& services = context.Services();
    WaitForFile(services.files, services.clock,
                {context.GlobalVariables().Substitute(path_.text), std::chrono::seconds(settled_),
                 std::chrono::seconds(timeout_), notEmpty_},
                context.Cancelled());
    return std::nullopt;
  }

 private:
  PlacedText path_;
  std::int64_t settled_;
  std::int64_t timeout_;
  bool notEmpty_;
};

}  // namespace

std::unique_ptr<Task> ReadFileTask(TaskReader& reader) {
  const PlacedText action = reader.Table().RequiredText("action");
  if (!action.text.empty()) reader.Choice("action", {"copy", "move", "archive", "remove", "wait"});
  using Action = BringFiles::Action;
  if (action.text == "copy") return std::make_unique<BringFiles>(reader, Action::Copy);
  if (action.text == "move") return std::make_unique<BringFiles>(reader, Action::Move);
  if (action.text == "archive") return std::make_unique<BringFiles>(reader, Action::Archive);
  if (action.text == "wait") return std::make_unique<WaitForFiles>(reader);
  // Without its action nobody knows which of these keys the step may have.
  if (action.text != "remove")
    for (const char* key :
         {"to", "overwrite", "keep", "new_name", "settled_seconds", "timeout_seconds", "not_empty"})
      reader.Table().Find(key);
  return std::make_unique<RemoveFiles>(reader);
}

}  // namespace torvik::engine

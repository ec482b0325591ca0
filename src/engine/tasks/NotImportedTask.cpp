#include "engine/model/TaskReader.h"
#include "engine/tasks/Tasks.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// Stands for a task of an imported package that has no counterpart here.
class NotImportedTask final : public Task {
 public:
  explicit NotImportedTask(TaskReader& reader)
      : kind_(reader.Table().RequiredText("kind").text),
        reason_(reader.Table().RequiredText("reason").text) {}

  bool CanJoin() const override { return true; }
  std::string WhyNot() const override { return kind_ + " is not imported: " + reason_; }

  TaskResult Run(TaskContext&) const override {
    throw PlatformError(0, WhyNot() + "; replace the step's task", "package engine");
  }

 private:
  const std::string kind_, reason_;
};

}  // namespace

std::unique_ptr<Task> ReadNotImportedTask(TaskReader& reader) {
  return std::make_unique<NotImportedTask>(reader);
}

}  // namespace torvik::engine

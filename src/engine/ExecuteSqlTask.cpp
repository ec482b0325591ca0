#include "engine/TaskReader.h"
#include "engine/Tasks.h"
#include "engine/Variables.h"
#include "platform/Ado.h"

namespace torvik::engine {
namespace {

class ExecuteSqlTask final : public Task {
 public:
  explicit ExecuteSqlTask(TaskReader& reader)
      : connection_(reader.Database("connection")), sql_(reader.RequiredTemplate("sql")) {}

  bool CanJoin() const override { return true; }

  std::optional<std::int64_t> Run(TaskContext& context) const override {
    const std::string sql = context.GlobalVariables().Substitute(sql_.text);
    return context.Database(connection_).Execute(sql);
  }

 private:
  std::string connection_;
  PlacedText sql_;
};

}  // namespace

std::unique_ptr<Task> ReadExecuteSqlTask(TaskReader& reader) {
  return std::make_unique<ExecuteSqlTask>(reader);
}

}  // namespace torvik::engine

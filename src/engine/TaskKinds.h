#pragma once

#include <memory>
#include <span>

namespace torvik::engine {

class Task;
class TaskReader;

/// One kind of task: the name that documents call it by, and how its settings are read. What is
/// wrong with them goes to the reader's problems; the task is then never run.
struct TaskKind {
  const char* name;
  std::unique_ptr<Task> (*read)(TaskReader& reader);
};

/// All that a document may name, in the order in which messages list them.
std::span<const TaskKind> TaskKinds();

}  // namespace torvik::engine

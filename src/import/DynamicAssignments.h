#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "import/DynamicProperties.h"
#include "import/TaskTranslator.h"

namespace torvik::importing {

/// The assignments of a task for dynamic properties, as keys of a step that sets variables.
class DynamicAssignments {
 public:
  /// `task` and `scope` must outlive it.
  DynamicAssignments(const Object& task, TaskScope& scope);

  /// Why they cannot be imported; empty when they can.
  const std::string& Trouble() const { return trouble_; }

  /// Writes them in the simplest form that says it all, with "task" before them.
  void Write() const;

 private:
  struct Assignment {
    PropertyPath target;
    std::int64_t source = 0;
    const Object* object = nullptr;
  };

  void Read(const Object& object);
  std::string TroubleOf(const Assignment& one) const;
  bool IsSecret(const Assignment& one) const;
  void WriteQuery(const Assignment& one) const;
  void WriteValues() const;
  void WriteTables() const;
  void WriteSource(const Assignment& one) const;
  std::string ConnectionOf(const Assignment& one) const;

  TaskScope& scope_;
  std::vector<Assignment> assignments_;
  std::string trouble_;
};

}  // namespace torvik::importing

#include "script/Script.h"

#include <atomic>

#include "platform/Text.h"
#include "script/Compiler.h"
#include "script/ErrObject.h"
#include "script/Machine.h"
#include "script/Parser.h"

namespace torvik::script {

struct Script::State {
  State(std::string_view text, const Host& host, const Limits& limits)
      : source(text),
        heap(limits.memoryBytes),
        context{.heap = *heap,
                .clock = host.clock,
                .files = host.files,
                .services = host.services,
                .expressions = host.expressions},
        program(Compiled(host)),
        machine(program, context, limits, cancel) {}

  template <class Work>
  auto WithLine(Work work) const {
    try {
      return work();
    } catch (ScriptError& error) {
      if (error.line > 0 && error.sourceLine.empty()) error.sourceLine = LineOf(source, error.line);
      throw;
    }
  }

  Program Compiled(const Host& host) const {
    HostNames names;
    names.emplace("err", NewObject<ErrObject>());
    for (const auto& [name, value] : host.names) names.insert_or_assign(LowerAscii(name), value);
    return WithLine([&] { return Compiler(ParseScript(source), names).Compile(); });
  }

  const std::string source;
  HeapOwner heap;
  Context context;
  std::atomic<bool> cancel = false;
  Program program;
  Machine machine;
};

Script::Script(std::string_view source, const Host& host, const Limits& limits)
    : state_(std::make_unique<State>(source, host, limits)) {}

Script::~Script() {
  state_->machine.Clear();
  state_->heap->ClearObjects();
}

int Script::FindProcedure(std::string_view name) const {
  const auto& numbers = state_->program.procedureNumbers;
  const auto at = numbers.find(LowerAscii(name));
  return at == numbers.end() ? -1 : at->second;
}

void Script::RunBody() {
  Call(0);
}

Value Script::Call(int procedure, std::span<const Value> arguments) {
  return state_->WithLine([&] { return state_->machine.Run(procedure, arguments); });
}

void Script::Cancel() {
  state_->cancel.store(true, std::memory_order_relaxed);
}

Heap& Script::Memory() {
  return *state_->heap;
}

}  // namespace torvik::script

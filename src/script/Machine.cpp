#include "script/Machine.h"

#include <algorithm>
#include <new>
#include <utility>

#include "platform/PlatformError.h"
#include "script/Conversion.h"
#include "script/QuickOperators.h"

namespace torvik::script {

namespace {

constexpr std::size_t stackValues = 1 << 15;
constexpr std::uint64_t stepsOfError = 50;  // an error costs as much as many statements

}  // namespace

Machine::Machine(Program& program, Context& context, const Limits& limits,
                 const std::atomic<bool>& cancel)
    : program_(program),
      context_(context),
      limits_(limits),
      cancel_(cancel),
      globals_(static_cast<std::size_t>(program.globals)),
      stack_(stackValues) {}

void Machine::Clear() {
  for (Value& value : globals_) value.Clear();
  hostArguments_.clear();
}

Value Machine::Run(int procedure, std::span<const Value> arguments) {
  if (!frames_.empty()) throw RuntimeError(17, "a script that is running already");
  const Code& code = program_.procedures[static_cast<std::size_t>(procedure)];
  if (arguments.size() != code.byReference.size()) throw RuntimeError(450, code.name);
  context_.stepsLeft = limits_.steps;
  context_.err = {};
  hostArguments_.assign(arguments.begin(), arguments.end());
  sp_ = stack_.data();
  for (std::size_t i = 0; i < arguments.size(); ++i)
    Push(code.byReference[i] ? Value::OfReference(&hostArguments_[i]) : hostArguments_[i]);
  for (bool entered = false;;) {
    try {
      if (!std::exchange(entered, true)) Enter(procedure, arguments.size());
      return Execute();
    } catch (const ScriptError& error) {
      Handle(error);
    } catch (const PlatformError& error) {
      const int number = error.number == 0 ? 440 : static_cast<int>(error.number);
      Handle({number, error.Description(), error.source});
    } catch (const std::bad_alloc&) {
      Handle(MemoryLimitPassed());
    } catch (...) {
      Unwind(0);
      throw;
    }
  }
}

void Machine::Pass(std::uint64_t steps) {
  if (cancel_.load(std::memory_order_relaxed)) throw Cancelled();
  context_.Spend(steps);
}

/// Goes on behind the statement of the innermost procedure that resumes after errors, or throws.
void Machine::Handle(ScriptError error) {
  if (frames_.empty()) {
    Drop(static_cast<std::size_t>(sp_ - stack_.data()));
    throw error;
  }
  const Frame& top = frames_.back();
  const std::ptrdiff_t at = top.ip - top.code->instructions.data() - 1;
  if (error.line == 0) {
    const Place& place =
        top.code->places[static_cast<std::size_t>(std::max<std::ptrdiff_t>(at, 0))];
    error.line = place.line;
    error.column = place.column;
  }
  std::size_t handler = error.endsScript ? 0 : frames_.size();
  while (handler > 0 && !frames_[handler - 1].resumesNext) --handler;
  if (handler > 0 && context_.stepsLeft < stepsOfError) {
    error = StepLimitPassed();
    handler = 0;
  }
  Unwind(handler);
  if (handler == 0) throw error;
  context_.stepsLeft -= stepsOfError;
  context_.err = {error.number, error.Description(), error.source};
  Frame& frame = frames_.back();
  const Code& code = *frame.code;
  Drop(static_cast<std::size_t>(sp_ - frame.base) - static_cast<std::size_t>(code.slots));
  const auto failed = static_cast<std::int32_t>(frame.ip - code.instructions.data() - 1);
  const auto next = std::ranges::upper_bound(code.statements, failed);
  frame.ip =
      code.instructions.data() + (next == code.statements.end() ? code.statements.back() : *next);
}

/// Leaves that many procedures, and drops what the others had on the stack.
void Machine::Unwind(std::size_t frames) {
  if (frames == frames_.size()) return;
  Value* const keep = frames_[frames].base;
  Drop(static_cast<std::size_t>(sp_ - keep));
  frames_.erase(frames_.begin() + static_cast<std::ptrdiff_t>(frames), frames_.end());
}

void Machine::Enter(int procedure, std::size_t arguments) {
  Code& code = program_.procedures[static_cast<std::size_t>(procedure)];
  Value* const base = sp_ - arguments;
  const std::size_t need = static_cast<std::size_t>(code.slots + code.depth) + 8;
  if (frames_.size() >= static_cast<std::size_t>(limits_.callDepth) ||
      need > static_cast<std::size_t>(stack_.data() + stack_.size() - base))
    throw CallDepthPassed();
  Pass(1);
  frames_.push_back({&code, code.instructions.data(), base, false});
  sp_ = base + code.slots;
}

/// Leaves its result on the stack; false when it was the last procedure.
bool Machine::Leave() {
  const Frame frame = frames_.back();
  Value result;
  if (frame.code->result >= 0) result = std::move(frame.base[frame.code->result]);
  Drop(static_cast<std::size_t>(sp_ - frame.base));
  frames_.pop_back();
  Push(std::move(result));
  return !frames_.empty();
}

Value& Machine::Variable(const Instruction& in, Value* base) {
  switch (static_cast<Where>(in.b)) {
    case Where::Local: return base[in.a];
    case Where::Global: return globals_[static_cast<std::size_t>(in.a)];
    default: return *base[in.a].Referenced();
  }
}

Value Machine::Execute() {
  Frame* frame = &frames_.back();
  const Instruction* ip = frame->ip;
  const auto jump = [&](const Instruction& in) { ip = frame->code->instructions.data() + in.a; };
  const auto enterTop = [&] {
    frame = &frames_.back();
    ip = frame->ip;
  };
  for (;;) {
    const Instruction& in = *ip++;
    frame->ip = ip;
    switch (in.op) {
      case Op::Constant: Push(program_.constants[static_cast<std::size_t>(in.a)]); break;
      case Op::Load: Push(Variable(in, frame->base)); break;
      case Op::Store:
        if (sp_[-1].Is(Kind::Object)) ResolveTop(1);
        Variable(in, frame->base) = Take();
        break;
      case Op::StoreObject: StoreObject(in); break;
      case Op::StoreRaw: Variable(in, frame->base) = Take(); break;
      case Op::Append: Append(in); break;
      case Op::Address: Push(Value::OfReference(&Variable(in, frame->base))); break;
      case Op::Pop: Drop(1); break;
      case Op::Binary:
        if (QuickArithmetic(static_cast<Operator>(in.a), sp_[-2], sp_[-1]))
          Drop(1);
        else
          Binary(in);
        break;
      case Op::Compare:
        if (QuickComparison(static_cast<Operator>(in.a), sp_[-2], sp_[-1]))
          Drop(1);
        else
          Compare(in);
        break;
      case Op::Unary: Unary(in); break;
      case Op::Index: Index(in); break;
      case Op::StoreElement: StoreElement(in); break;
      case Op::GetMember: GetMember(in); break;
      case Op::PutMember: PutMember(in); break;
      case Op::LoadItem: {
        ItemUse& use = program_.items[static_cast<std::size_t>(in.a)];
        Push(use.object.AsObject()->Item(context_, use.number));
        break;
      }
      case Op::StoreItem: StoreItem(in); break;
      case Op::ItemValue: ItemValue(in); break;
      case Op::CallFunction: CallFunction(in); break;
      case Op::CallProcedure:
        Enter(in.a, in.c);
        enterTop();
        break;
      case Op::Return:
        if (!Leave()) return Take();
        enterTop();
        break;
      case Op::Jump: jump(in); break;
      case Op::LoopBack:
        Pass(in.c);
        jump(in);
        break;
      case Op::JumpIfFalse:
        if (!PopTruth()) jump(in);
        break;
      case Op::JumpIfTrue:
        if (PopTruth()) jump(in);
        break;
      case Op::Number:
        ResolveTop(1);
        if (!sp_[-1].IsNumber())
          sp_[-1] = Arithmetic(Operator::Add, sp_[-1], Value::OfInteger(0), nullptr);
        if (sp_[-1].Is(Kind::Null)) throw RuntimeError(94);
        break;
      case Op::ForTest:
        if (IsPast(in)) jump(in);
        break;
      case Op::Collect: Collect(); break;
      case Op::ForEachNext:
        if (!NextItem(in)) jump(in);
        break;
      case Op::MakeArray: MakeArray(in); break;
      case Op::ReDimension: ReDimension(in); break;
      case Op::Erase: EraseArray(in); break;
      case Op::OnError:
        frame->resumesNext = in.a != 0;
        context_.err = {};
        break;
      case Op::Raise: throw program_.raises[static_cast<std::size_t>(in.a)];
    }
  }
}

}  // namespace torvik::script

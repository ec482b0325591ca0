#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "script/Context.h"
#include "script/Program.h"
#include "script/ScriptError.h"

namespace torvik::script {

/// Runs a program's procedures. The variables outside procedures keep their values between runs.
class Machine {
 public:
  /// All are kept; `cancel` may be set by another thread.
  Machine(Program& program, Context& context, const Limits& limits,
          const std::atomic<bool>& cancel);

  /// Throws the ScriptError that no handler took, with its place.
  Value Run(int procedure, std::span<const Value> arguments);

  /// Lets go of all variables.
  void Clear();

 private:
  struct Frame {
    Code* code;
    const Instruction* ip;
    Value* base;
    bool resumesNext;
  };

  Value& Variable(const Instruction& in, Value* base);
  Value Execute();
  void Enter(int procedure, std::size_t arguments);
  bool Leave();
  void Pass(std::uint64_t steps);

  void Binary(const Instruction& in);
  void Compare(const Instruction& in);
  void Unary(const Instruction& in);
  void Append(const Instruction& in);
  void StoreObject(const Instruction& in);
  void Index(const Instruction& in);
  void StoreElement(const Instruction& in);
  void GetMember(const Instruction& in);
  void PutMember(const Instruction& in);
  void StoreItem(const Instruction& in);
  void ItemValue(const Instruction& in);
  void CallFunction(const Instruction& in);
  void MakeArray(const Instruction& in);
  void ReDimension(const Instruction& in);
  void EraseArray(const Instruction& in);
  void Collect();
  bool PopTruth() {
    const bool truth = sp_[-1].Is(Kind::Boolean) ? sp_[-1].Whole() != 0 : IsTrue(sp_[-1]);
    Drop(1);
    return truth;
  }
  bool IsTrue(const Value& value);
  bool IsPast(const Instruction& in);
  bool NextItem(const Instruction& in);

  Value DefaultOf(const Value& value);
  void ResolveTop(std::size_t below);
  int MemberOf(MemberUse& use, Object& object);
  Object& ObjectOf(const Value& value, const std::string& name);
  std::vector<std::int32_t> TakeBounds(std::size_t count);

  // Behind the top there are Empty values alone, which need no care.
  void Push(const Value& value) { std::construct_at(sp_++, value); }
  void Push(Value&& value) { std::construct_at(sp_++, std::move(value)); }
  Value Take() { return std::move(*--sp_); }
  void Drop(std::size_t count) {
    for (; count > 0; --count) (--sp_)->Clear();
  }
  void Handle(ScriptError error);
  void Unwind(std::size_t frames);

  Program& program_;
  Context& context_;
  const Limits limits_;
  const std::atomic<bool>& cancel_;
  std::vector<Value> globals_, stack_, hostArguments_;
  std::vector<Frame> frames_;
  Value* sp_ = nullptr;
};

}  // namespace torvik::script

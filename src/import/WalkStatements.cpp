#include "import/Walker.h"

#include <algorithm>
#include <functional>
#include <set>

#include "engine/model/Variables.h"
#include "import/Arrays.h"
#include "import/Entry.h"
#include "import/ExpressionNames.h"
#include "import/ObjectModel.h"
#include "import/Properties.h"
#include "platform/Secrets.h"
#include "platform/Text.h"

namespace torvik::importing {
namespace {

using script::Expression;
using script::ExpressionKind;

/// Code that does more than this runs on and on.
constexpr int kMostSteps = 1'000'000, kMostPasses = 500, kMostPassesOfAll = 2000;
constexpr std::size_t kMostObjects = 200'000, kMostSearched = 5'000'000;

std::string Shortened(const std::string& text) {
  return text.size() > 200 ? std::string(FirstCharacters(text, 200)) + "..." : text;
}

bool IsNumberType(std::string_view type) {
  return type == "integer" || type == "long" || type == "single" || type == "double" ||
         type == "byte" || type == "short" || type == "currency" || type == "decimal";
}

}  // namespace

Walker::Walker(const Code& code, const KnownValues& known, const std::string& procedure)
    : code_(code), procedure_(LowerAscii(procedure)) {
  for (const auto& [name, text] : known) known_[LowerAscii(name)] = Value::OfText(text);
  for (const Procedure& one : code.procedures) procedures_[one.lower] = &one;
}

Recording Walker::Walk() {
  try {
    entry_ = procedure_.empty() ? EntryOf(code_, recording_.notes) : procedures_.at(procedure_);
    scopes_.emplace_back();
    Run(code_.body);
    if (entry_ != nullptr) Call(*entry_, {}, entry_->line);
  } catch (const Exit&) {
    // The package is built.
  }
  NoteForgotten();
  for (const auto& [name, value] : known_)
    if (!usedKnown_.contains(name))
      NoteAt(0, "--var " + name + ": nothing in the text has that name");
  return std::move(recording_);
}

void Walker::Run(const Nodes& nodes) {
  for (const auto& node : nodes) {
    if (++steps_ > kMostSteps || recording_.objects.size() > kMostObjects ||
        recording_.searched > kMostSearched) {
      NoteAt(node->line, "the code runs on and on; what follows is left out");
      throw Exit{"all"};
    }
    Run(*node);
  }
}

void Walker::Run(const Node& node) {
  line_ = node.line;
  switch (node.kind) {
    case NodeKind::Assign: Assign(*node.expressions[0], Evaluate(*node.expressions[1])); break;
    case NodeKind::Append: {
      const Value before = ValueOf(*node.expressions[0]);
      Assign(*node.expressions[0], Joined(before, ValueOf(*node.expressions[1])));
      break;
    }
    case NodeKind::Call: Evaluate(*node.expressions[0]); break;
    case NodeKind::Declare:
    case NodeKind::Constant: Declare(node); break;
    case NodeKind::If: RunIf(node); break;
    case NodeKind::Select: RunSelect(node); break;
    case NodeKind::For: RunFor(node); break;
    case NodeKind::ForEach: RunForEach(node); break;
    case NodeKind::Loop: RunLoop(node); break;
    case NodeKind::With: RunWith(node); break;
    case NodeKind::Body: Run(node.body); break;
    case NodeKind::Exit:
      if (!node.expressions.empty())
        Current().variables[Current().function] = Evaluate(*node.expressions[0]);
      throw Exit{node.name == "for" || node.name == "do" || node.name == "while" ? node.name
                                                                                 : "sub"};
    case NodeKind::NotUnderstood:
      NoteAt(node.line, "not understood, and left out: " + Shortened(node.text));
      break;
  }
}

void Walker::Declare(const Node& node) {
  for (std::size_t i = 0; i < node.declarations.size(); ++i) {
    const Declaration& declared = node.declarations[i];
    if (IsOutside()) outside_.insert(declared.name);
    if (IsPackageType(declared.type)) packageNames_.insert(declared.name);
    if (node.expressions[i]) {
      Value value = WithoutPassword(declared.name, Evaluate(*node.expressions[i]));
      if (value.IsObject()) value.object->line = node.line;
      Current().variables[declared.name] = value;
    } else if (!IsOutside()) {
      Current().variables.insert_or_assign(declared.name, InitialValue(declared.type));
    }
    // What the caller knows of it goes before.
    if (const Value* known = Known(declared.name); known && node.kind != NodeKind::Constant)
      Current().variables[declared.name] = *known;
  }
}

bool Walker::IsPackageType(std::string_view type) {
  return type.substr(type.find_last_of('.') + 1).starts_with("package");
}

Value Walker::InitialValue(std::string_view type) {
  if (type == "string") return Value::OfText("");
  if (type == "boolean") return Value::OfBoolean(false);
  if (IsNumberType(type)) return Value::OfNumber(0);
  Value nothing;
  nothing.isUnset = true;
  return nothing;
}

bool Walker::IsPackageParameter(const Procedure& procedure, const Parameter& parameter) {
  const std::string& type = parameter.type;
  const std::string& name = parameter.name;
  if (IsPackageType(type)) return true;
  if (name.find("package") == name.npos) return false;
  const bool mayBeObject = type.empty() || type == "variant";
  return type == "object" || (mayBeObject && IsUsedAsObject(procedure.body, name));
}

Value Walker::WithoutPassword(const std::string& variable, Value value) {
  if (!IsPasswordProperty(variable) || value.kind != Value::Kind::Text || value.isUnknown ||
      value.text.empty())
    return value;
  const std::string name = IsPasswordName(variable) ? variable : variable + "Password";
  NoteAt(line_, "the password in " + variable +
                    " is not written down: where it is used, it is the global variable " + name);
  return Value::Unknown(name);
}

void Walker::RunIf(const Node& node) {
  for (const Branch& branch : node.branches) {
    line_ = branch.line;
    if (branch.conditions.empty()) return RunBranch(branch, "is not met");
    const std::optional<bool> truth = TruthOf(ValueOf(*branch.conditions[0]));
    if (!truth) return NoteUndecided(node, branch.line, *branch.conditions[0]);
    if (*truth) return RunBranch(branch, "is met");
  }
}

void Walker::RunBranch(const Branch& branch, const std::string& how) {
  if (PartsMade(branch.body) > 0)
    NoteAt(branch.line, "the condition " + how + " by what is known: the parts in it are imported");
  Run(branch.body);
}

void Walker::RunSelect(const Node& node) {
  const Value subject = ValueOf(*node.expressions[0]);
  for (const Branch& branch : node.branches) {
    bool matches = branch.conditions.empty();
    for (const auto& condition : branch.conditions) {
      const Value value = ValueOf(*condition);
      if (subject.isUnknown || subject.isUnset || value.isUnknown)
        return NoteUndecided(node, node.line, *(value.isUnknown ? condition : node.expressions[0]));
      const auto equals = Result(script::Operator::Equal, subject, value);
      matches = matches || (equals && equals->number != 0);
    }
    if (matches) return RunBranch(branch, "is met");
  }
}

void Walker::NoteUndecided(const Node& node, int line, const Expression& condition) {
  if (!Matters(node)) return;
  missed_.clear();
  const Value value = ValueOf(condition);
  if (missed_.empty() && value.isUnknown) missed_ = NamesIn(value.text);
  if (missed_.empty()) missed_.push_back(NameFor(condition));
  std::string names;
  const std::set<std::string> all(missed_.begin(), missed_.end());
  for (const std::string& name : all) {
    // "A_B" stands for "A.B", and for A as well.
    const auto next = all.lower_bound(name + "_");
    if (next != all.end() && next->starts_with(name + "_")) continue;
    names += (names.empty() ? "" : ", ") + name;
  }
  NoteAt(line, "whether this part of the package is made depends on what is not known (" + names +
                   "): it is left out; decide with --var NAME=VALUE");
}

bool Walker::Matters(const Node& node) const {
  const auto changes = [&](const Nodes& nodes) {
    return std::ranges::any_of(nodes, [&](const auto& one) { return MattersInside(*one); });
  };
  return changes(node.body) || std::ranges::any_of(node.branches, [&](const Branch& branch) {
           return changes(branch.body);
         });
}

bool Walker::MattersInside(const Node& node) const {
  if (node.kind == NodeKind::Assign || node.kind == NodeKind::Append) return true;
  if (node.kind != NodeKind::Call) return Matters(node);
  const Expression& call = *node.expressions[0];
  const Expression& callee = call.kind == ExpressionKind::Call ? *call.operands[0] : call;
  if (call.kind == ExpressionKind::Name) return procedures_.contains(call.lower);
  return !EndsBuilding(callee.lower);
}

void Walker::RunFor(const Node& node) {
  const auto first = NumberOf(ValueOf(*node.expressions[0]));
  const auto last = NumberOf(ValueOf(*node.expressions[1]));
  const auto step = node.expressions[2] ? NumberOf(ValueOf(*node.expressions[2])) : 1;
  if (!first || !last || !step || *step == 0)
    return NoteUndecided(node, node.line, *node.expressions[first ? 1 : 0]);
  int passes = 0;
  for (double at = *first; *step > 0 ? at <= *last : at >= *last; at += *step) {
    if (!MayGoOn(node, ++passes)) return;
    Current().variables[node.name] = Value::OfNumber(at);
    if (!RunBody(node, "for")) return;
  }
}

void Walker::RunForEach(const Node& node) {
  const Value collection = Evaluate(*node.expressions[0]);
  if (!collection.IsObject()) return NoteUndecided(node, node.line, *node.expressions[0]);
  std::vector<ObjectPtr> items = collection.object->items;
  if (IsLoaded()) {  // nobody knows what the stored one has
    const Value each = Item(collection.object, {Value::OfText("(each)")});
    items.push_back(each.object);
  }
  int passes = 0;
  for (const ObjectPtr& item : items) {
    if (IsArray(collection) && !MayGoOn(node, ++passes)) return;
    Current().variables[node.name] = IsArray(collection) ? HeldBy(*item) : Value::OfObject(item);
    if (!RunBody(node, "for")) return;
  }
}

void Walker::RunLoop(const Node& node) {
  for (int passes = 1;; ++passes) {
    const bool looksFirst = !node.flag2 && !node.expressions.empty();
    if (looksFirst && !GoesOn(node)) return;
    if (!MayGoOn(node, passes) || !RunBody(node, "do")) return;
    if (!looksFirst && !node.expressions.empty() && !GoesOn(node)) return;
  }
}

bool Walker::GoesOn(const Node& node) {
  line_ = node.line;
  const std::optional<bool> truth = TruthOf(ValueOf(*node.expressions[0]));
  if (!truth) NoteUndecided(node, node.line, *node.expressions[0]);
  return truth && *truth != node.flag;
}

bool Walker::MayGoOn(const Node& node, int passes) {
  if (passes == 1 && PartsMade(node.body) > 0)
    NoteAt(node.line,
           "parts of the package are made in this loop: they are imported as often as it runs");
  if (passes <= kMostPasses && ++passes_ <= kMostPassesOfAll) return true;
  NoteAt(node.line,
         "the loop runs on and on; it is left after " + std::to_string(passes - 1) + " passes");
  return false;
}

bool Walker::RunBody(const Node& node, const std::string& kind) {
  try {
    Run(node.body);
    return true;
  } catch (const Exit& exit) {
    if (exit.what == kind || (kind == "do" && exit.what == "while")) return false;
    throw;
  }
}

void Walker::RunWith(const Node& node) {
  withs_.push_back(Evaluate(*node.expressions[0]));
  try {
    Run(node.body);
  } catch (...) {
    withs_.pop_back();
    throw;
  }
  withs_.pop_back();
}

void Walker::NoteForgotten() {
  if (!recording_.package) return;
  if (const auto& loaded = recording_.loaded; loaded && loaded->package != recording_.package)
    NoteAt(loaded->line, "a stored package " + loaded->place +
                             " is taken here as well: it is left out; a step of ExecutePackage "
                             "runs it");
  NoteOtherPackages();
  std::set<const Object*> seen;
  const std::function<void(const Object&)> look = [&](const Object& object) {
    if (!seen.insert(&object).second) return;
    const std::set<ObjectPtr> added(object.items.begin(), object.items.end());
    for (const ObjectPtr& made : object.made) {
      if (added.contains(made)) continue;
      NoteAt(made->line,
             "one of the " + object.kind + " is made and not added to the package: it is left out");
    }
    for (const auto& [name, child] : object.children) look(*child);
    for (const ObjectPtr& item : object.items) look(*item);
  };
  look(*recording_.package);
}

void Walker::NoteOtherPackages() {
  constexpr const char* kAdvice =
      ": it is left out; put it into a procedure of its own, and import that by --procedure, or "
      "each by --all";
  for (const ObjectPtr& object : recording_.objects)
    if (object->kind == "package" && object != recording_.package && !object->children.empty())
      NoteAt(object->line, std::string("another package is built from this line on") + kAdvice);
  if (builtAt_ == 0) return;
  int end = 0;  // of the procedure that ends with the first package
  for (const Procedure& procedure : code_.procedures)
    if (procedure.line > builtAt_ && (end == 0 || procedure.line < end)) end = procedure.line;
  for (const int line : PackageLines(code_))
    if (line > builtAt_ && (end == 0 || line < end))
      NoteAt(line, std::string("another package is made behind the first one") + kAdvice);
}

Recording Evaluate(const Code& code, const KnownValues& known, const std::string& procedure) {
  return Walker(code, known, procedure).Walk();
}

}  // namespace torvik::importing

#include "import/Walker.h"

#include <algorithm>
#include <functional>

#include "import/Arrays.h"
#include "import/BasicFunctions.h"
#include "import/ExpressionNames.h"
#include "import/ObjectModel.h"
#include "platform/Text.h"

namespace torvik::importing {
namespace {

using script::Expression;
using script::ExpressionKind;

constexpr int kDeepestCall = 30, kMostCalls = 50'000;
/// Of procedures within themselves: code that builds packages has no use for more, and calls that
/// branch multiply.
constexpr int kMostRecursions = 100;
constexpr std::size_t kLongestValue = std::size_t{16} << 20;

}  // namespace

void Walker::Assign(const Expression& target, Value value) {
  switch (target.kind) {
    case ExpressionKind::Name: return AssignVariable(target, std::move(value));
    case ExpressionKind::Member: {
      const Value object = ObjectOf(target);
      if (object.IsObject()) return SetMember(*object.object, target, std::move(value));
      return;
    }
    case ExpressionKind::Call: {
      if (SetElement(target, value)) return;
      // An item: its value is set.
      const Value item = Evaluate(target);
      if (item.IsObject())
        SetDefault(*item.object, std::move(value));
      else if (target.operands[0]->kind == ExpressionKind::Name)
        Current().variables[KeyOf(target)] = std::move(value);
      return;
    }
    case ExpressionKind::Parentheses: return Assign(*target.operands[0], std::move(value));
    default: return;
  }
}

bool Walker::SetElement(const Expression& target, const Value& value) {
  const Expression& owner = *target.operands[0];
  const bool isName = owner.kind == ExpressionKind::Name;
  if ((!isName && owner.kind != ExpressionKind::Call) || target.operands.size() != 2) return false;
  const Value array = isName ? VariableOrElement(target) : Evaluate(owner);
  if (!IsArray(array)) return false;
  const std::vector<Value> keys = Arguments(target);
  if (const ObjectPtr element = ElementOf(*array.object, Plain(keys[0])))
    element->Set("Value", value, line_);
  else
    NoteNoElement(keys[0]);
  return true;
}

std::string Walker::KeyOf(const Expression& call) {
  std::string key = call.operands[0]->lower;
  for (std::size_t i = 1; i < call.operands.size(); ++i)
    key += "(" + (call.operands[i] ? Evaluate(*call.operands[i]).DocumentText() : "") + ")";
  return key;
}

void Walker::AssignVariable(const Expression& target, Value value) {
  Value& variable = Find(target.lower);
  // Without Set, the default property of an object.
  if (variable.IsObject() && !IsArray(variable) && !value.IsObject() &&
      value.kind != Value::Kind::Empty)
    return SetDefault(*variable.object, std::move(value));
  if (const Value* known = Known(target.lower); known && value.isUnknown) value = *known;
  if (value.IsObject() && value.object->kind == "package" && recording_.package == nullptr)
    recording_.package = value.object;
  variable = WithoutPassword(target.name, std::move(value));
}

void Walker::SetDefault(Object& object, Value value) {
  value = Plain(std::move(value));
  NoteUnknown(value);
  object.Set("Value", std::move(value), line_);
}

void Walker::SetMember(Object& object, const Expression& member, Value value) {
  value = Plain(std::move(value));
  if (value.IsObject()) {
    object.children[member.lower] = value.object;
    return;
  }
  NoteUnknown(value);
  object.Set(member.name, std::move(value), line_);
}

void Walker::NoteUnknown(const Value& value) {
  for (const std::string& name : NamesIn(value.text)) {
    auto& lines = recording_.unknown[name];
    if (lines.empty() || lines.back() != line_) lines.push_back(line_);
  }
}

Value Walker::Evaluate(const Expression& expression) {
  switch (expression.kind) {
    case ExpressionKind::Literal: return LiteralValue(expression);
    case ExpressionKind::Name: return NameValue(expression);
    case ExpressionKind::Member: return MemberValue(expression);
    case ExpressionKind::Call: return CallValue(expression);
    case ExpressionKind::Parentheses: return Evaluate(*expression.operands[0]);
    case ExpressionKind::Unary: return UnaryValue(expression);
    case ExpressionKind::Binary: return BinaryValue(expression);
  }
  return {};
}

Value& Walker::Find(const std::string& lower) {
  auto& own = Current().variables;
  if (const auto found = own.find(lower); found != own.end()) return found->second;
  auto& outside = scopes_.front().variables;
  if (const auto found = outside.find(lower); found != outside.end()) return found->second;
  Value unset;
  unset.isUnset = true;
  return (IsOutside() || outside_.contains(lower) ? outside : own)
      .emplace(lower, unset)
      .first->second;
}

Value Walker::NameValue(const Expression& name) {
  if (const auto constant = ConstantNamed(name.lower)) return *constant;
  const auto procedure = procedures_.find(name.lower);
  if (procedure != procedures_.end() && Current().function != name.lower)
    return Call(*procedure->second, {}, line_);
  if (IsKnownFunction(name.lower)) return CallFunction(name, {});
  for (Scope* scope : {&Current(), &scopes_.front()}) {
    const auto found = scope->variables.find(name.lower);
    if (found != scope->variables.end() && !found->second.isUnset) return found->second;
    // A variable of the procedure that nobody has set yet.
    const bool isOwn = found != scope->variables.end() && scope != &scopes_.front();
    if (isOwn && !packageNames_.contains(name.lower)) return found->second;
  }
  if (packageNames_.contains(name.lower)) return GivenPackage(name.lower);
  if (Known(name.lower) == nullptr && outside_.contains(name.lower))
    if (const auto value = SetElsewhere(name)) return *value;
  return KnownOrUnknown(name.name);
}

std::optional<Value> Walker::SetElsewhere(const Expression& name) {
  const Node* only = nullptr;
  int count = 0;
  const std::function<void(const Nodes&)> look = [&](const Nodes& nodes) {
    for (const auto& node : nodes) {
      const bool assigns = node->kind == NodeKind::Assign || node->kind == NodeKind::Append;
      if (assigns && node->expressions[0]->kind == ExpressionKind::Name &&
          node->expressions[0]->lower == name.lower) {
        only = node.get();
        ++count;
      }
      look(node->body);
      for (const Branch& branch : node->branches) look(branch.body);
    }
  };
  for (const Procedure& procedure : code_.procedures) look(procedure.body);
  const bool isPlain = count == 1 && only->kind == NodeKind::Assign &&
                       only->expressions[1]->kind == ExpressionKind::Literal;
  if (!isPlain) return std::nullopt;
  NoteAt(only->line, name.name + " has its value from this line");
  return LiteralValue(*only->expressions[1]);
}

Value Walker::GivenPackage(const std::string& variable) {
  if (!recording_.package) recording_.package = recording_.NewObject("package", line_);
  return Current().variables[variable] = Value::OfObject(recording_.package);
}

Value Walker::ObjectOf(const Expression& member) {
  if (!member.operands.empty()) return Evaluate(*member.operands[0]);
  return withs_.empty() ? Value() : withs_.back();
}

Value Walker::MemberValue(const Expression& member) {
  const Value owner = ObjectOf(member);
  if (!owner.IsObject()) return MemberOfUnknown(member, owner);
  return Get(owner.object, member);
}

Value Walker::MemberOfUnknown(const Expression& member, const Value& owner) {
  if (const auto constant = ConstantNamed(member.lower)) return *constant;
  // Environment.NewLine and ControlChars.CrLf
  if (member.lower == "newline" || member.lower == "crlf") return Value::OfText("\r\n");
  if (owner.kind == Value::Kind::Text && !owner.isUnknown && member.lower == "tostring")
    return owner;
  return KnownOrUnknown(NameFor(member));
}

Value Walker::Get(const ObjectPtr& object, const Expression& member) {
  const std::string& name = member.lower;
  if (const auto child = object->children.find(name); child != object->children.end())
    return Value::OfObject(child->second);
  if (const Property* property = object->Find(name)) return property->value;
  if (name == "count" && IsCollection(object->kind))
    return Value::OfNumber(static_cast<double>(object->items.size()));
  if (IsCollection(name) || name == "customtask") {
    ObjectPtr child = recording_.NewObject(name, line_);
    object->children[name] = child;
    return Value::OfObject(child);
  }
  // A method without arguments, or a property that nobody has set.
  return CallMethod(object, member, {});
}

Value Walker::CallValue(const Expression& call) {
  const Expression& callee = *call.operands[0];
  if (callee.kind == ExpressionKind::Name) {
    if (callee.lower.ends_with(':'))  // a named argument
      return call.operands.size() > 1 && call.operands[1] ? Evaluate(*call.operands[1]) : Value();
    if (callee.lower == "ctype" || callee.lower == "directcast" || callee.lower == "trycast")
      return call.operands.size() > 1 && call.operands[1] ? Evaluate(*call.operands[1]) : Value();
    const auto procedure = procedures_.find(callee.lower);
    if (procedure != procedures_.end()) return Call(*procedure->second, Arguments(call), line_);
    if (IsKnownFunction(callee.lower)) return CallFunction(callee, Arguments(call));
    if (IsArrayFunction(callee.lower)) return CallArrayFunction(call);
    if (callee.lower == "new" || callee.lower == "createobject") return Made(Arguments(call));
    const Value variable = VariableOrElement(call);
    if (variable.IsObject()) return Item(variable.object, Arguments(call));
    if (!variable.isUnset) return variable;
    return CallUnknown(call);
  }
  if (callee.kind == ExpressionKind::Member) {
    const Value owner = ObjectOf(callee);
    if (!owner.IsObject() && callee.lower == "combine" && call.operands.size() > 1)
      return CombinedPath(Arguments(call));
    if (!owner.IsObject()) return CallUnknown(call);
    if (owner.object->kind == "package" && IsLoad(callee.lower))
      return Load(owner.object, call), Value();
    const std::vector<Value> arguments = Arguments(call);
    if (callee.lower == "item") return Item(owner.object, arguments);
    const auto child = owner.object->children.find(callee.lower);
    if (child != owner.object->children.end() || IsCollection(callee.lower)) {
      const Value part = Get(owner.object, callee);
      return part.IsObject() && !arguments.empty() ? Item(part.object, arguments) : part;
    }
    return CallMethod(owner.object, callee, arguments);
  }
  const Value object = Evaluate(callee);
  return object.IsObject() ? Item(object.object, Arguments(call)) : object;
}

Value Walker::CallArrayFunction(const Expression& call) {
  const auto value =
      ArrayFunction(recording_, call.operands[0]->lower, Arguments(call), code_.arrayBase, line_);
  return value ? *value : KnownOrUnknown(NameFor(call));
}

void Walker::NoteNoElement(const Value& number) {
  NoteAt(line_, "the array has no element " + std::string(FirstCharacters(number.PlainText(), 20)) +
                    "; what is done with it is left out");
}

Value Walker::CombinedPath(const std::vector<Value>& parts) {
  Value path = Plain(parts[0]);
  for (std::size_t i = 1; i < parts.size(); ++i) {
    const std::string text = path.DocumentText();
    const bool isOpen = text.empty() || text.ends_with('\\') || text.ends_with('/');
    path = Joined(path, Joined(Value::OfText(isOpen ? "" : "\\"), Plain(parts[i])));
  }
  return path;
}

std::vector<Value> Walker::Arguments(const Expression& call) {
  std::vector<Value> arguments;
  for (std::size_t i = 1; i < call.operands.size(); ++i)
    arguments.push_back(call.operands[i] ? Evaluate(*call.operands[i]) : Value());
  return arguments;
}

Value Walker::VariableOrElement(const Expression& call) {
  for (const std::string& key : {call.operands[0]->lower, KeyOf(call)})
    for (Scope* scope : {&Current(), &scopes_.front()}) {
      const auto found = scope->variables.find(key);
      if (found != scope->variables.end() &&
          (found->second.IsObject() || key.find('(') != key.npos))
        return found->second;
    }
  Value none;
  none.isUnset = true;
  return none;
}

Value Walker::CallUnknown(const Expression& call) {
  for (const Value& argument : Arguments(call))
    if (argument.IsObject() && argument.object->kind == "package")
      NoteAt(line_, "what " + NameFor(*call.operands[0]) +
                        " does with the package is not known, and left out");
  return KnownOrUnknown(NameFor(call));
}

Value Walker::Made(const std::vector<Value>& arguments) {
  const std::string name = arguments.empty() ? "" : LowerAscii(arguments[0].PlainText());
  const std::string last = name.substr(name.find_last_of('.') + 1);
  const bool isPackage =
      last == "package" || last == "package2" || last == "packageclass" || last == "package2class";
  const ObjectPtr object = recording_.NewObject(isPackage ? "package" : last, line_);
  if (isPackage && recording_.package == nullptr) recording_.package = object;
  return Value::OfObject(object);
}

Value Walker::CallFunction(const Expression& name, std::vector<Value> arguments) {
  for (Value& argument : arguments) argument = Plain(std::move(argument));
  if (name.lower == "iif" && arguments.size() == 3)
    if (const auto truth = TruthOf(arguments[0])) return arguments[*truth ? 1 : 2];
  const bool isKnown = std::ranges::none_of(
      arguments, [](const Value& one) { return one.isUnknown || one.isUnset; });
  if (isKnown)
    if (const auto value = BasicFunction(name.lower, arguments)) return *value;
  // Conversions keep what they are given.
  if (arguments.size() == 1 && (name.lower == "cstr" || name.lower == "trim")) return arguments[0];
  return KnownOrUnknown(NameFor(name.name, arguments));
}

const Value* Walker::Known(const std::string& lower) {
  const auto known = known_.find(lower);
  if (known == known_.end()) return nullptr;
  usedKnown_.insert(lower);
  return &known->second;
}

Value Walker::KnownOrUnknown(const std::string& name) {
  if (const Value* known = Known(LowerAscii(name))) return *known;
  missed_.push_back(name);
  return Value::Unknown(name);
}

Value Walker::LeftOut(const Parameter& parameter) {
  return parameter.value ? Evaluate(*parameter.value) : InitialValue(parameter.type);
}

Value Walker::Call(const Procedure& procedure, const std::vector<Value>& arguments, int line) {
  const bool isWithin =
      std::ranges::find(scopes_, procedure.lower, &Scope::function) != scopes_.end();
  if (scopes_.size() > kDeepestCall || ++calls_ > kMostCalls ||
      (isWithin && ++recursions_ > kMostRecursions)) {
    NoteAt(line, procedure.name + " is called too often; it is left out");
    return {};
  }
  Scope scope;
  scope.function = procedure.lower;
  for (std::size_t i = 0; i < procedure.parameters.size(); ++i) {
    const Parameter& parameter = procedure.parameters[i];
    const bool isGiven = i < arguments.size() && !arguments[i].isUnset;
    const Value* value = Known(parameter.name);
    if (isGiven && (value == nullptr || !arguments[i].isUnknown)) value = &arguments[i];
    const bool isLeftOut = value == nullptr || value->kind == Value::Kind::Empty;
    // Nobody knows what the caller of the first procedure gives.
    if (parameter.isOptional && isLeftOut && &procedure != entry_)
      scope.variables[parameter.name] = LeftOut(parameter);
    else if (value != nullptr)
      scope.variables[parameter.name] = *value;
    else if (IsPackageParameter(procedure, parameter))
      packageNames_.insert(parameter.name);
  }
  const std::size_t depth = withs_.size();
  scopes_.push_back(std::move(scope));
  try {
    Run(procedure.body);
  } catch (const Exit& exit) {
    if (exit.what == "all") throw;
  }
  withs_.resize(depth);
  const auto answer = Current().variables.find(procedure.lower);
  const Value value = answer == Current().variables.end() ? Value() : answer->second;
  scopes_.pop_back();
  line_ = line;
  return value;
}

Value Walker::CallMethod(const ObjectPtr& object, const Expression& method,
                         const std::vector<Value>& arguments) {
  const std::string& name = method.lower;
  for (const Value& argument : arguments) NoteUnknown(argument);
  if (object->kind == "package" && EndsBuilding(name)) {
    builtAt_ = line_;
    throw Exit{"all"};
  }
  if (IsCollection(object->kind)) {
    if (name == "new") return Value::OfObject(NewItem(recording_, *object, arguments, line_));
    const bool adds = name.starts_with("add") || name == "insert";
    if (adds && !arguments.empty())
      return Value::OfObject(AddItem(recording_, *object, arguments, line_));
    if (name == "remove") return NoteAt(line_, "a removal is left out"), Value();
  }
  if (name == "new") return Value::OfObject(recording_.NewObject(object->kind + " item", line_));
  Value unset;
  unset.isUnset = true;
  return unset;
}

void Walker::Load(const ObjectPtr& package, const Expression& call) {
  std::vector<std::string> names;
  for (std::size_t i = 1; i < call.operands.size(); ++i) {
    const Expression* const one = call.operands[i].get();
    const bool isCall = one != nullptr && one->kind == ExpressionKind::Call;
    const std::string name = isCall ? one->operands[0]->lower : "";
    names.push_back(name.ends_with(':') ? name.substr(0, name.size() - 1) : "");
  }
  LoadedPackage loaded = LoadedBy(call.operands[0]->lower, names, Arguments(call));
  loaded.package = package;
  loaded.line = line_;
  if (!recording_.loaded) recording_.loaded = std::move(loaded);
}

Value Walker::Item(const ObjectPtr& collection, const std::vector<Value>& keys) {
  if (collection->kind == "array" && !keys.empty()) {
    const Value number = Plain(keys[0]);
    if (const ObjectPtr element = ElementOf(*collection, number)) return HeldBy(*element);
    return NoteNoElement(number), Value();
  }
  if (keys.empty() || !IsCollection(collection->kind)) return Value::OfObject(collection);
  const Value key = Plain(keys[0]);
  if (const ObjectPtr item = FindItem(recording_, *collection, key, line_))
    return Value::OfObject(item);
  if (IsLoaded()) {  // nobody knows what it has
    const ObjectPtr part = recording_.NewObject(collection->kind + " item", line_);
    part->Set("Name", key, line_);
    collection->items.push_back(part);
    return Value::OfObject(part);
  }
  NoteAt(line_, "the package has no \"" + std::string(FirstCharacters(key.PlainText(), 200)) +
                    "\"" + " among its " + collection->kind + "; what is done with it is left out");
  return Value::OfObject(recording_.NewObject(collection->kind + " item", line_));
}

Value Walker::UnaryValue(const Expression& expression) {
  const Value operand = ValueOf(*expression.operands[0]);
  const auto result = Result(expression.op, operand);
  if (result || operand.isUnknown) return result.value_or(operand);
  return KnownOrNamed(expression);
}

Value Walker::BinaryValue(const Expression& expression) {
  Value left = Evaluate(*expression.operands[0]), right = Evaluate(*expression.operands[1]);
  if (expression.op != script::Operator::Is) {
    left = Plain(std::move(left));
    right = Plain(std::move(right));
  }
  const auto result = Result(expression.op, left, right);
  if (!result) return KnownOrNamed(expression);
  if (result->text.size() <= kLongestValue) return *result;
  NoteAt(line_, "a text is longer than 16 MiB; what follows is left out");
  throw Exit{"all"};
}

Value Walker::KnownOrNamed(const Expression& expression) {
  const std::string name = NameFor(expression);
  const Value* const known = Known(LowerAscii(name));
  return known ? *known : Value::Unknown(name);
}

}  // namespace torvik::importing

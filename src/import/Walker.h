#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "import/Code.h"
#include "import/Evaluator.h"
#include "import/Operators.h"
#include "import/Record.h"

namespace torvik::importing {

/// How the code leaves what it is in.
struct Exit {
  std::string what;  ///< "sub" for any procedure, "for", "do"; "all": the package is built.
};

/// Follows the code that builds a package and records what it makes.
class Walker {
 public:
  /// Both must outlive it.
  Walker(const Code& code, const KnownValues& known, const std::string& procedure);
  Recording Walk();

 private:
  /// The variables of one call.
  struct Scope {
    std::map<std::string, Value> variables;
    std::string function;  ///< Whose name takes the answer.
  };

  // Statements.
  void Run(const Nodes& nodes);
  void Run(const Node& node);

  Scope& Current() { return scopes_.back(); }
  bool IsOutside() const { return scopes_.size() == 1; }
  /// Within a procedure a variable begins as nothing; outside, others may set it.
  void Declare(const Node& node);
  static bool IsPackageType(std::string_view type);
  /// What a variable of a type, in lower case, begins with; unset for an object or any value.
  static Value InitialValue(std::string_view type);
  /// True for a parameter that nobody gives and that stands for the package itself.
  static bool IsPackageParameter(const Procedure& procedure, const Parameter& parameter);
  /// A password that a variable gets stays out: the value then is a name for it.
  Value WithoutPassword(const std::string& variable, Value value);
  void RunIf(const Node& node);
  void RunBranch(const Branch& branch, const std::string& how);
  void RunSelect(const Node& node);
  /// Nothing decides which way the code goes: it goes none.
  void NoteUndecided(const Node& node, int line, const script::Expression& condition);
  /// True when something of a package is made or set there.
  bool Matters(const Node& node) const;
  bool MattersInside(const Node& node) const;
  void RunFor(const Node& node);
  void RunForEach(const Node& node);
  void RunLoop(const Node& node);
  bool GoesOn(const Node& node);
  bool MayGoOn(const Node& node, int passes);
  /// False when the loop is left.
  bool RunBody(const Node& node, const std::string& kind);
  void RunWith(const Node& node);

  // Assignments.
  void Assign(const script::Expression& target, Value value);
  /// True when the target is an element of an array that is known.
  bool SetElement(const script::Expression& target, const Value& value);
  /// An element of another array as a variable of its own.
  std::string KeyOf(const script::Expression& call);
  void AssignVariable(const script::Expression& target, Value value);
  void SetDefault(Object& object, Value value);
  void SetMember(Object& object, const script::Expression& member, Value value);
  void NoteUnknown(const Value& value);

  // Expressions.
  Value ValueOf(const script::Expression& expression) { return Plain(Evaluate(expression)); }
  Value Evaluate(const script::Expression& expression);
  /// The variable of that name, of the call or of the whole text; made where there is none.
  Value& Find(const std::string& lower);
  Value NameValue(const script::Expression& name);
  /// What the only assignment of the text gives to a variable, as that of an event's procedure,
  /// which is not run.
  std::optional<Value> SetElsewhere(const script::Expression& name);
  /// A package that somebody else has made and handed to this code.
  Value GivenPackage(const std::string& variable);
  /// What a member belongs to.
  Value ObjectOf(const script::Expression& member);
  Value MemberValue(const script::Expression& member);
  Value MemberOfUnknown(const script::Expression& member, const Value& owner);
  Value Get(const ObjectPtr& object, const script::Expression& member);
  Value CallValue(const script::Expression& call);
  Value CallArrayFunction(const script::Expression& call);
  /// System.IO.Path.Combine.
  Value CombinedPath(const std::vector<Value>& parts);
  std::vector<Value> Arguments(const script::Expression& call);
  /// An object in a variable, or the element of an array.
  Value VariableOrElement(const script::Expression& call);
  Value CallUnknown(const script::Expression& call);
  /// The object of a class: a package, or what nobody needs.
  Value Made(const std::vector<Value>& arguments);
  Value CallFunction(const script::Expression& name, std::vector<Value> arguments);
  /// What the caller says of a name, in lower case; null when that is nothing.
  const Value* Known(const std::string& lower);
  /// What the caller says of a name, else the name itself.
  Value KnownOrUnknown(const std::string& name);
  /// What an optional parameter is that the caller leaves out.
  Value LeftOut(const Parameter& parameter);
  Value Call(const Procedure& procedure, const std::vector<Value>& arguments, int line);

  // The object model, and operators.
  Value CallMethod(const ObjectPtr& object, const script::Expression& method,
                   const std::vector<Value>& arguments);
  /// The text takes a package that is stored; what it sets of it is recorded all the same.
  void Load(const ObjectPtr& package, const script::Expression& call);
  bool IsLoaded() const { return recording_.loaded.has_value(); }
  Value Item(const ObjectPtr& collection, const std::vector<Value>& keys);
  Value UnaryValue(const script::Expression& expression);
  Value BinaryValue(const script::Expression& expression);
  /// What the caller says of an expression, else its name.
  Value KnownOrNamed(const script::Expression& expression);

  // Remarks.
  void NoteAt(int line, const std::string& text) { recording_.NoteAt(line, text); }
  /// What was made and never put into the package, and other packages.
  void NoteForgotten();
  void NoteOtherPackages();
  void NoteNoElement(const Value& number);

  const Code& code_;
  const std::string procedure_;  // to begin with; empty: the one that builds most
  std::map<std::string, Value> known_;
  std::set<std::string> usedKnown_;
  std::map<std::string, const Procedure*> procedures_;
  std::set<std::string> outside_;       // variables outside of procedures
  std::set<std::string> packageNames_;  // variables that are declared as packages
  std::vector<Scope> scopes_;
  std::vector<Value> withs_;
  const Procedure* entry_ = nullptr;  // the one to begin with, if any
  int builtAt_ = 0;                   // the line on which the package is run or stored
  int line_ = 0, steps_ = 0, passes_ = 0, calls_ = 0, recursions_ = 0;
  std::vector<std::string> missed_;  // names that were not known, since a condition began
  Recording recording_;
};

}  // namespace torvik::importing

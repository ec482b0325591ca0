#include "import/Entry.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

#include "import/BasicFunctions.h"
#include "import/ObjectModel.h"
#include "platform/Text.h"

namespace torvik::importing {
namespace {

using script::Expression;
using script::ExpressionKind;

void EachExpression(const Expression& one, const std::function<void(const Expression&)>& visit) {
  visit(one);
  for (const auto& operand : one.operands)
    if (operand) EachExpression(*operand, visit);
}

void EachExpression(const Nodes& nodes, const std::function<void(const Expression&)>& visit) {
  const auto all = [&](const std::vector<script::ExpressionPtr>& list) {
    for (const auto& one : list)
      if (one) EachExpression(*one, visit);
  };
  for (const auto& node : nodes) {
    all(node->expressions);
    EachExpression(node->body, visit);
    for (const Branch& branch : node->branches) {
      all(branch.conditions);
      EachExpression(branch.body, visit);
    }
  }
}

bool MakesPart(const Expression& one) {
  if (one.kind == ExpressionKind::Member)
    return one.lower == "new" || one.lower == "addglobalvariable" || one.lower == "add" ||
           IsLoad(one.lower);
  return one.kind == ExpressionKind::Literal && one.literal.Is(script::Kind::Text) &&
         LowerAscii(one.literal.View()).starts_with("dts.package");
}

/// The lines of all statements that have such an expression themselves.
std::vector<int> LinesOf(const Code& code, const std::function<bool(const Expression&)>& is) {
  std::vector<int> lines;
  const auto look = [&](const auto& self, const Nodes& nodes) -> void {
    for (const auto& node : nodes) {
      bool has = false;
      for (const auto& one : node->expressions)
        if (one) EachExpression(*one, [&](const Expression& part) { has = has || is(part); });
      if (has) lines.push_back(node->line);
      self(self, node->body);
      for (const Branch& branch : node->branches) self(self, branch.body);
    }
  };
  look(look, code.body);
  for (const Procedure& procedure : code.procedures) look(look, procedure.body);
  return lines;
}

/// What stands outside of procedures, as if it were one.
const std::string kOutside;

/// Which procedure calls which, and what each makes itself.
class CallGraph {
 public:
  explicit CallGraph(const Code& code) {
    nodes_[kOutside];
    for (const Procedure& procedure : code.procedures) nodes_[procedure.lower];
    Add(kOutside, code.body);
    for (const Procedure& procedure : code.procedures) Add(procedure.lower, procedure.body);
    for (const auto& [name, node] : nodes_)
      for (const std::string& called : node.calls) called_.insert(called);
  }

  bool IsCalled(const std::string& name) const { return called_.contains(name); }

  std::set<std::string> ReachedFrom(const std::string& name) const {
    std::set<std::string> reached = {name};
    std::vector<std::string> open = {name};
    while (!open.empty()) {
      const std::string next = open.back();
      open.pop_back();
      for (const std::string& called : nodes_.at(next).calls)
        if (reached.insert(called).second) open.push_back(called);
    }
    return reached;
  }

  int Parts(const std::set<std::string>& names) const {
    int parts = 0;
    for (const std::string& name : names) parts += nodes_.at(name).parts;
    return parts;
  }

 private:
  struct Node {
    std::set<std::string> calls;
    int parts = 0;
  };

  void Add(const std::string& name, const Nodes& body) {
    Node& node = nodes_.at(name);
    EachExpression(body, [&](const Expression& one) {
      // That a variable outside is a package says nothing of where it is built.
      const bool counts = name != kOutside || one.kind != ExpressionKind::Literal;
      node.parts += counts && MakesPart(one) ? 1 : 0;
      const bool isOther = one.kind == ExpressionKind::Name && one.lower != name;
      if (isOther && nodes_.contains(one.lower)) node.calls.insert(one.lower);
    });
  }

  std::map<std::string, Node> nodes_;
  std::set<std::string> called_;
};

}  // namespace

int PartsMade(const Nodes& nodes) {
  int parts = 0;
  EachExpression(nodes, [&](const Expression& one) { parts += MakesPart(one) ? 1 : 0; });
  return parts;
}

bool IsUsedAsObject(const Nodes& nodes, const std::string& name) {
  const auto is = [&](const script::ExpressionPtr& one) {
    return one && one->kind == ExpressionKind::Name && one->lower == name;
  };
  bool isUsed = false;
  EachExpression(nodes, [&](const Expression& one) {
    if (one.kind == ExpressionKind::Member)
      isUsed = isUsed || (!one.operands.empty() && is(one.operands[0]));
    if (one.kind != ExpressionKind::Call || one.operands[0]->kind != ExpressionKind::Name) return;
    const bool isFunction = IsKnownFunction(one.operands[0]->lower);
    isUsed =
        isUsed || (!isFunction && std::any_of(one.operands.begin() + 1, one.operands.end(), is));
  });
  const auto hasWith = [&](const auto& self, const Nodes& list) -> bool {
    return std::ranges::any_of(list, [&](const auto& node) {
      return (node->kind == NodeKind::With && is(node->expressions[0])) || self(self, node->body) ||
             std::ranges::any_of(node->branches,
                                 [&](const Branch& branch) { return self(self, branch.body); });
    });
  };
  return isUsed || hasWith(hasWith, nodes);
}

std::vector<int> PackageLines(const Code& code) {
  return LinesOf(code, [](const Expression& one) {
    return one.kind == ExpressionKind::Literal && MakesPart(one);
  });
}

int LoadLine(const Code& code) {
  const std::vector<int> lines = LinesOf(code, [](const Expression& one) {
    return one.kind == ExpressionKind::Member && IsLoad(one.lower);
  });
  return lines.empty() ? 0 : *std::ranges::min_element(lines);
}

std::vector<std::string> BuildersOf(const Code& code) {
  const CallGraph graph(code);
  std::vector<std::string> makers, uncalled;
  for (const Procedure& procedure : code.procedures) {
    bool isMaker = false;
    EachExpression(procedure.body, [&](const Expression& one) {
      isMaker = isMaker || (one.kind == ExpressionKind::Literal && MakesPart(one));
    });
    const int parts = graph.Parts(graph.ReachedFrom(procedure.lower));
    if (isMaker && parts > 1) makers.push_back(procedure.name);
    if (!graph.IsCalled(procedure.lower) && parts > 0) uncalled.push_back(procedure.name);
  }
  return makers.size() > 1 ? makers : uncalled;
}

const Procedure* EntryOf(const Code& code, std::vector<Note>& notes) {
  const CallGraph graph(code);
  const Procedure* best = nullptr;
  std::set<std::string> reached = graph.ReachedFrom(kOutside);
  const bool isOutside = graph.Parts(reached) > 0;
  int most = 0;
  for (const Procedure& procedure : code.procedures) {
    if (isOutside || graph.IsCalled(procedure.lower)) continue;
    const std::set<std::string> names = graph.ReachedFrom(procedure.lower);
    const int parts = graph.Parts(names);
    if (parts <= most) continue;
    best = &procedure;
    most = parts;
    reached = names;
  }
  for (const Procedure& procedure : code.procedures)
    if (!reached.contains(procedure.lower) && PartsMade(procedure.body) > 0)
      notes.push_back({procedure.line, procedure.name +
                                           " makes parts of a package as well, but is not called "
                                           "where this one is built; it is left out (--procedure " +
                                           procedure.name + " imports it, --all each)"});
  return best;
}

}  // namespace torvik::importing

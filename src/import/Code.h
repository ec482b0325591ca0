#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "script/Syntax.h"

/// What a Visual Basic text says, as far as it matters to a package: a tree of statements, tolerant
/// of all else.
namespace torvik::importing {

struct Node;
using Nodes = std::vector<std::unique_ptr<Node>>;

enum class NodeKind {
  Assign,    ///< expressions: target, value.
  Append,    ///< The same of "&=" and "+=".
  Call,      ///< expressions: what is called, arguments included.
  Declare,   ///< names with their types; expressions: the values they begin with, or null.
  Constant,  ///< The same for constants.
  If,        ///< branches; one without a condition is Else.
  Select,    ///< expressions: subject; branches with the values of their cases.
  For,       ///< name; expressions: first, last, step or null; body.
  ForEach,   ///< name; expressions: collection; body.
  Loop,      ///< expressions: condition or none; `flag`: until; `flag2`: behind the body; body.
  With,      ///< expressions: object; body.
  Body,      ///< body: what always runs.
  Exit,      ///< name: "sub", "function", "for", "do"; expressions: an answer.
  NotUnderstood,  ///< text.
};

struct Branch {
  std::vector<script::ExpressionPtr> conditions;
  Nodes body;
  int line = 0;
};

struct Declaration {
  std::string name, type;  ///< In lower case; the type without "new".
  bool isNew = false;
};

struct Node {
  NodeKind kind = NodeKind::Call;
  int line = 0;
  std::string name, text;
  bool flag = false, flag2 = false;
  std::vector<script::ExpressionPtr> expressions;
  std::vector<Declaration> declarations;
  std::vector<Branch> branches;
  Nodes body;
};

struct Parameter {
  std::string name, type;  ///< In lower case; the type is empty where none is given.
  bool isOptional = false;
  script::ExpressionPtr value;  ///< Of one that is left out; may be null.
};

struct Procedure {
  std::string name, lower;
  std::vector<Parameter> parameters;
  Nodes body;
  int line = 0;
};

struct Code {
  std::vector<Procedure> procedures;
  Nodes body;         ///< What stands outside of them.
  int arrayBase = 0;  ///< Of "Option Base".
};

/// Never fails: what makes no sense is kept as not understood.
Code ReadCode(std::string_view source);

}  // namespace torvik::importing

#include "platform/linux/odbc/SqlServerBatch.h"

#include <charconv>
#include <cstddef>
#include <variant>

#include "platform/Text.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/database/SqlTokens.h"

namespace torvik {
namespace {

/// A value as a variable's type and what it is set to.
struct Declared {
  std::string type, value;
};

Declared DeclaredAs(const ado::Null&) {
  return {"nvarchar(1)", "NULL"};
}

Declared DeclaredAs(std::int64_t value) {
  return {"bigint", std::to_string(value)};
}

Declared DeclaredAs(double value) {
  char text[40];
  const auto end = std::to_chars(text, std::end(text), value, std::chars_format::scientific).ptr;
  return {"float", {text, end}};
}

Declared DeclaredAs(const std::string& value) {
  constexpr std::size_t kLongest = 4000;  // UTF-16 units
  return {CountUtf16Units(value) > kLongest ? "nvarchar(max)" : "nvarchar(4000)",
          "N" + QuotedText(value)};
}

Declared DeclaredAs(const ado::Blob& value) {
  constexpr const char* kDigits = "0123456789ABCDEF";
  std::string text = "0x";
  for (const char c : value.bytes) {
    text += kDigits[static_cast<unsigned char>(c) >> 4];
    text += kDigits[static_cast<unsigned char>(c) & 15];
  }
  return {"varbinary(max)", text};
}

}  // namespace

std::string WithDeclared(const std::string& sql, std::span<const ado::Value> parameters) {
  std::string before, batch;
  std::size_t used = 0, number = 0;
  for (const SqlToken& token : Tokenise(sql)) {
    if (token.text != "?" || number == parameters.size()) continue;
    const auto& [type, value] =
        std::visit([](const auto& v) { return DeclaredAs(v); }, parameters[number]);
    const std::string variable = "@torvik_" + std::to_string(++number);
    before += "DECLARE " + variable + " " + type + " SET " + variable + " = " + value + " ";
    batch.append(sql, used, token.begin - used).append(variable);
    used = token.begin + 1;
  }
  return before + batch.append(sql, used);
}

}  // namespace torvik

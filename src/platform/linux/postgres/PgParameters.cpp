#include "platform/linux/postgres/PgParameters.h"

#include <charconv>

namespace torvik {
namespace {

struct AsText {
  PgSession::Parameter operator()(const ado::Null&) const { return {}; }
  PgSession::Parameter operator()(std::int64_t number) const { return std::to_string(number); }
  PgSession::Parameter operator()(const std::string& text) const { return text; }

  /// The shortest text that is read as the same number.
  PgSession::Parameter operator()(double number) const {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, number).ptr;
    return std::string(text, end);
  }

  PgSession::Parameter operator()(const ado::Blob& blob) const {
    std::string text = "\\x";
    for (const char c : blob.bytes) {
      const auto byte = static_cast<unsigned char>(c);
      text += "0123456789abcdef"[byte >> 4];
      text += "0123456789abcdef"[byte & 0xF];
    }
    return text;
  }
};

}  // namespace

std::vector<PgSession::Parameter> PgParameters(std::span<const ado::Value> values) {
  std::vector<PgSession::Parameter> parameters;
  for (const ado::Value& value : values) parameters.push_back(std::visit(AsText(), value));
  return parameters;
}

}  // namespace torvik

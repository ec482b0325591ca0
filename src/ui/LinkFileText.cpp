#include "ui/LinkFileText.h"

#include <cstdio>
#include <string_view>
#include <utility>

#include "datalinks/cDataSource.h"

namespace torvik {
namespace {

/// A basic string of TOML 1.0.
std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      char code[8];
      std::snprintf(code, sizeof code, "\\u%04X", static_cast<unsigned>(c));
      quoted += code;
    } else {
      quoted += c;
    }
  }
  return quoted + "\"";
}

}  // namespace

std::string LinkFileText(const cDataSource& link) {
  const std::pair<const char*, const std::string&> texts[] = {
      {"model", link.strModelName},    {"source_name", link.strName},
      {"ds_server", link.strDSServer}, {"ds_database", link.strDSDatabase},
      {"ds_user", link.strDSUser},     {"ds_password", link.strDSPassword},
      {"ds_file", link.strDSFile},     {"ds_directory", link.strDSDirectory}};
  std::string file;
  for (const auto& [key, text] : texts) file += std::string(key) + " = " + Quoted(text) + "\n";
  return file + "Type = " + std::to_string(link.etlType) +
         "\ntransfer_data = " + std::to_string(link.intTransferData) +
         "\nds_trusted_login = " + (link.blnDSTrustedLogin ? "true" : "false") + "\n";
}

}  // namespace torvik

#include "admin/common/Secrets.h"

#include <algorithm>
#include <cstdio>

#include "engine/model/Problems.h"
#include "engine/model/TextTemplate.h"
#include "engine/model/Variables.h"
#include "platform/Secrets.h"
#include "platform/Text.h"
#include "platform/linux/settings/SecretFile.h"
#include "platform/linux/system/PathMap.h"

namespace torvik::admin {
namespace {

bool IsLiteral(const std::string& text) {
  const auto pieces = engine::SplitTemplate(text);
  return !text.empty() && std::none_of(pieces.begin(), pieces.end(), [](const auto& piece) {
    return piece.kind == engine::TemplatePiece::Kind::Variable;
  });
}

}  // namespace

std::string OpenToOthers(const PathMap& paths, const std::string& path) {
  std::error_code error;
  const std::string linuxPath = paths.ToLinux(path, error);
  const Descriptor file = error ? Descriptor() : OpenFile(linuxPath, O_RDONLY | O_NONBLOCK);
  return file.IsOpen() ? CheckSecretFile(file, path) : "";
}

std::vector<std::string> PlainPasswords(const engine::PackageModel& package) {
  engine::Problems found(package.document);
  const std::string advice =
      ", and everyone who may read the package has it; leave it empty and let the job or a file of "
      "variables set it";
  for (const engine::GlobalVariable& variable : package.variables)
    if (IsPasswordName(variable.name) && !engine::TextOf(variable.value).empty())
      found.Add(variable.place, "the variable " + engine::Quoted(variable.name) +
                                    " has its password in the document" + advice);
  for (const engine::ConnectionModel& connection : package.connections)
    for (const auto& property : connection.properties)
      if (EqualsIgnoringCase(property.name, "Password") && IsLiteral(property.value.text))
        found.Add(property.value.place,
                  "the connection " + engine::Quoted(connection.name) +
                      " has its password in the document, and everyone who may read the package "
                      "has it; write a variable there: ${DestServerLoginPassword} or one of the "
                      "package's own");
  return found.Lines();
}

void Warn(const std::string& text) {
  std::fprintf(stderr, "torvik-admin: warning: %s\n", text.c_str());
}

}  // namespace torvik::admin

#include "admin/ImportCommand.h"

#include <cstdio>

#include "admin/Admin.h"
#include "engine/PackageDocument.h"
#include "import/PackageImport.h"
#include "platform/PlatformError.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

importing::KnownValues KnownValuesOf(const std::vector<std::string>& variables) {
  importing::KnownValues known;
  for (const std::string& variable : variables) {
    const std::size_t equals = variable.find('=');
    if (equals == 0 || equals == variable.npos)
      throw PlatformError(0, "--var " + variable + ": write NAME=VALUE", "package import");
    known.emplace_back(variable.substr(0, equals), variable.substr(equals + 1));
  }
  return known;
}

/// What a check of the document finds; empty when it is fine.
std::string ProblemsOf(const importing::Translation& package, const std::string& name) {
  try {
    engine::ReadPackageDocument(package.document, name);
    return {};
  } catch (const PlatformError& error) {
    return error.Description();
  }
}

void Write(LinuxPlatform& platform, const std::string& output, const std::string& document) {
  if (output.empty()) {
    std::fwrite(document.data(), 1, document.size(), stdout);
    return;
  }
  const std::error_code error = platform.files->ReplaceBytes(output, document);
  if (error)
    throw PlatformError(0, output + " cannot be written: " + error.message(), "package import");
}

std::string LineOf(const std::string& file, const importing::Note& note) {
  return file + (note.line > 0 ? ", line " + std::to_string(note.line) : "") + ": " + note.text;
}

}  // namespace

int ImportPackageFile(LinuxPlatform& platform, const std::string& file,
                      const ImportOptions& options, bool json) {
  const importing::KnownValues known = KnownValuesOf(options.variables);
  const auto package = importing::ImportPackage(file, ReadText(*platform.files, file), known,
                                                {options.procedure, options.name});
  const std::string problems =
      ProblemsOf(package, options.output.empty() ? "the document" : options.output);
  if (json) {
    Json notes = Json::array();
    for (const importing::Note& note : package.notes)
      notes.push_back({{"line", note.line}, {"text", note.text}});
    Json result = {{"name", package.name},
                   {"connections", package.connections},
                   {"steps", package.steps},
                   {"notes", notes},
                   {"problems", problems}};
    if (options.output.empty())
      result["document"] = package.document;
    else
      Write(platform, options.output, package.document);
    PrintResult(result, "", true);
    return problems.empty() ? 0 : 1;
  }
  Write(platform, options.output, package.document);
  for (const importing::Note& note : package.notes)
    std::fprintf(stderr, "%s\n", LineOf(file, note).c_str());
  if (!problems.empty()) std::fprintf(stderr, "%s\n", problems.c_str());
  std::fprintf(stderr,
               "package %s: %d connections, %d steps, %d variables of its own; %zu remarks\n",
               package.name.c_str(), package.connections, package.steps, package.variables,
               package.notes.size());
  return problems.empty() ? 0 : 1;
}

}  // namespace torvik::admin

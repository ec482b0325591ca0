#include "admin/packages/ImportCommand.h"

#include <algorithm>
#include <cstdio>

#include "admin/common/Admin.h"
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

importing::Translation Import(const std::string& file, const std::string& bytes,
                              const ImportOptions& options, const std::string& procedure) {
  return importing::ImportPackage(file, bytes, KnownValuesOf(options.variables),
                                  {procedure, options.name});
}

Json JsonOf(const importing::Translation& package, const std::string& problems) {
  Json notes = Json::array();
  for (const importing::Note& note : package.notes)
    notes.push_back({{"line", note.line}, {"text", note.text}});
  return {{"name", package.name},
          {"connections", package.connections},
          {"steps", package.steps},
          {"notes", notes},
          {"problems", problems}};
}

void Tell(const std::string& file, const importing::Translation& package,
          const std::string& problems) {
  for (const importing::Note& note : package.notes)
    std::fprintf(stderr, "%s\n", LineOf(file, note).c_str());
  if (!problems.empty()) std::fprintf(stderr, "%s\n", problems.c_str());
  std::fprintf(stderr,
               "package %s: %d connections, %d steps, %d variables of its own; %zu remarks\n",
               package.name.c_str(), package.connections, package.steps, package.variables,
               package.notes.size());
}

/// The file of a package in a directory; packages of one name have numbers behind it.
std::string FreeDocument(LinuxPlatform& platform, const std::string& directory,
                         const std::string& package) {
  std::string name = package.empty() ? "package" : package;
  std::ranges::replace(name, '/', '_');
  const std::string begin = (directory.empty() ? "." : directory) + "/" + name;
  std::string file = begin + ".toml";
  FileStatus status;
  for (int number = 2; !platform.files->Status(file, status); ++number)
    file = begin + "-" + std::to_string(number) + ".toml";
  return file;
}

/// One of several packages of a text; false when it is refused or has problems.
bool ImportOne(LinuxPlatform& platform, const std::string& file, const std::string& bytes,
               const ImportOptions& options, const std::string& procedure, Json& results) {
  try {
    const importing::Translation package = Import(file, bytes, options, procedure);
    const std::string output = FreeDocument(platform, options.output, package.name);
    const std::string problems = ProblemsOf(package, output);
    Write(platform, output, package.document);
    Json result = JsonOf(package, problems);
    result["file"] = output;
    results.push_back(result);
    std::fprintf(stderr, "%s: %s\n", output.c_str(), procedure.c_str());
    Tell(file, package, problems);
    return problems.empty();
  } catch (const PlatformError& error) {
    results.push_back({{"procedure", procedure}, {"problems", error.Description()}});
    std::fprintf(stderr, "%s: %s\n", procedure.c_str(), error.Description().c_str());
    return false;
  }
}

int ImportAll(LinuxPlatform& platform, const std::string& file, const std::string& bytes,
              const ImportOptions& options, bool json) {
  std::vector<std::string> procedures = importing::PackageProcedures(file, bytes);
  if (procedures.empty()) procedures.emplace_back();
  Json results = Json::array();
  bool isGood = true;
  for (const std::string& procedure : procedures)
    isGood = ImportOne(platform, file, bytes, options, procedure, results) && isGood;
  if (json) PrintResult(results, "", true);
  return isGood ? 0 : 1;
}

}  // namespace

int ImportPackageFile(LinuxPlatform& platform, const std::string& file,
                      const ImportOptions& options, bool json) {
  const std::string bytes = ReadText(*platform.files, file);
  if (options.isAll) return ImportAll(platform, file, bytes, options, json);
  const importing::Translation package = Import(file, bytes, options, options.procedure);
  const std::string problems =
      ProblemsOf(package, options.output.empty() ? "the document" : options.output);
  if (!json || !options.output.empty()) Write(platform, options.output, package.document);
  if (json) {
    Json result = JsonOf(package, problems);
    if (options.output.empty()) result["document"] = package.document;
    PrintResult(result, "", true);
  } else {
    Tell(file, package, problems);
  }
  return problems.empty() ? 0 : 1;
}

}  // namespace torvik::admin

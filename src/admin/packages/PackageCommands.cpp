#include <algorithm>
#include <cstdio>

#include "admin/common/Commands.h"
#include "admin/common/Secrets.h"
#include "admin/common/StoredName.h"
#include "admin/packages/GraphCommand.h"
#include "admin/packages/ImportCommand.h"
#include "admin/packages/PackageSql.h"
#include "engine/PackageDocument.h"
#include "engine/PackageStore.h"
#include "engine/model/Providers.h"
#include "engine/model/RunnerVariables.h"
#include "platform/PlatformError.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/database/ServerPlace.h"
#include "platform/linux/odbc/AdoOdbc.h"

namespace torvik::admin {
namespace {

struct PackageOptions {
  std::vector<std::string> files;
  std::string name;
  std::string version;
  std::size_t versionsToKeep = 0;
  bool triesSql = false;  ///< On the servers of the connections.
  std::string job;        ///< Whose values the package's variables have then.
  bool isStored = false;  ///< `name` is a package of a server, not a file.
  GraphOptions graph;
  ImportOptions import;
};

engine::PackageStore OpenStore(LinuxPlatform& platform, const ServerChoice& choice) {
  return {*platform.databases,
          {choice.server, choice.user.empty(), choice.user, ReadPassword(choice)}};
}

std::string Joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + line;
  return text;
}

/// Reads and checks a document; throws PlatformError that holds a line for each problem.
engine::PackageModel ReadChecked(const std::string& file, const std::string& text) {
  engine::PackageModel package = engine::ReadPackageDocument(text, file);
  std::vector<std::string> problems = engine::CheckTwelve(package);
  if (const std::string problem = PackageNameProblem(package.name); !problem.empty())
    problems.push_back(file + ": the package's name " + problem);
  if (!problems.empty()) throw PlatformError(0, Joined(problems), "package document");
  for (const std::string& line : PlainPasswords(package)) Warn(line);
  return package;
}

int NewPackage(LinuxPlatform&, const Invocation& invocation, const PackageOptions& options) {
  const std::string text = engine::NewPackageDocument(options.name);
  if (invocation.json) {
    PrintResult({{"name", options.name}, {"document", text}}, "", true);
  } else {
    std::fwrite(text.data(), 1, text.size(), stdout);
  }
  return 0;
}

int PutPackages(LinuxPlatform& platform, const Invocation& invocation,
                const PackageOptions& options) {
  struct Checked {
    std::string file, text, name, description;
  };
  // All are checked before the first is stored.
  std::vector<Checked> packages;
  for (const std::string& file : options.files) {
    std::string text = ReadText(*platform.files, file);
    const engine::PackageModel package = ReadChecked(file, text);
    packages.push_back({file, std::move(text), package.name, package.description});
  }
  engine::PackageStore store = OpenStore(platform, invocation.server);
  std::vector<JsonRow> rows;
  for (const Checked& package : packages) {
    const std::string version =
        store.Save(package.name, package.description, package.text, *platform.clock);
    rows.push_back({package.file, package.name, version});
  }
  PrintRows({"file", "package", "version"}, rows, invocation.json);
  return 0;
}

int GetPackage(LinuxPlatform& platform, const Invocation& invocation,
               const PackageOptions& options) {
  const auto stored = OpenStore(platform, invocation.server).Load(options.name, options.version);
  if (invocation.json) {
    PrintResult({{"name", stored.name}, {"version", stored.versionId}, {"document", stored.text}},
                "", true);
  } else {
    std::fwrite(stored.text.data(), 1, stored.text.size(), stdout);
  }
  return 0;
}

int ListPackages(LinuxPlatform& platform, const Invocation& invocation, const PackageOptions&) {
  std::vector<JsonRow> rows;
  for (const auto& package : OpenStore(platform, invocation.server).List()) {
    rows.push_back({package.name, package.versions, package.createDate, package.description});
  }
  PrintRows({"package", "versions", "created", "description"}, rows, invocation.json);
  return 0;
}

int ListVersions(LinuxPlatform& platform, const Invocation& invocation,
                 const PackageOptions& options) {
  std::vector<JsonRow> rows;
  for (const auto& version : OpenStore(platform, invocation.server).Versions(options.name)) {
    rows.push_back({version.versionId, version.createDate, version.owner, version.description});
  }
  PrintRows({"version", "created", "owner", "description"}, rows, invocation.json);
  return 0;
}

int PrunePackage(LinuxPlatform& platform, const Invocation& invocation,
                 const PackageOptions& options) {
  const int removed =
      OpenStore(platform, invocation.server).Prune(options.name, options.versionsToKeep);
  PrintResult({{"package", options.name}, {"removed", removed}},
              "package " + options.name + ": " + std::to_string(removed) +
                  (removed == 1 ? " older version is removed" : " older versions are removed"),
              invocation.json);
  return 0;
}

/// True when a connection is known to lead elsewhere than to PostgreSQL: neither a variable nor a
/// data link file says where.
bool LeadsElsewhere(const engine::ConnectionModel& connection, const Settings& settings) {
  std::string server;
  for (const engine::ConnectionProperty& property : connection.properties)
    if (property.name == "Data Source") server = property.value.text;
  if (connection.dataLinkFile || server.find("${") != std::string::npos) return false;
  try {
    return FindServerPlace(settings, connection.provider, server, DriverOfDataSource).kind !=
           ServerPlace::Kind::PostgreSql;
  } catch (const PlatformError&) {
    return false;  // it leads nowhere, which its opening tells
  }
}

/// The same of a step's.
bool NeedsWhatIsElsewhere(const engine::PackageModel& package, const engine::StepModel& step,
                          const Settings& settings) {
  const std::string name = step.task->NeedsPostgreSql();
  return !name.empty() && std::ranges::any_of(package.connections, [&](const auto& connection) {
    return connection.name == name && LeadsElsewhere(connection, settings);
  });
}

/// What of a package will fail whatever happens, as it may be in an imported one: a line for each.
std::string WhatCannotRun(const engine::PackageModel& package, const Settings& settings) {
  std::vector<std::string> lines;
  for (const engine::ConnectionModel& connection : package.connections)
    if (engine::FindProvider(connection.provider) == nullptr &&
        settings.FindProvider(connection.provider) == nullptr)
      lines.push_back(package.document + ": the connection \"" + connection.name +
                      "\" cannot be opened: its provider has no driver; add [provider " +
                      connection.provider + "] to the settings");
  for (const engine::StepModel& step : package.steps) {
    const std::string place = package.document + ": the step \"" + step.name + "\" will not run: ";
    if (const std::string reason = step.task->WhyNot(); !reason.empty())
      lines.push_back(place + reason);
    if (NeedsWhatIsElsewhere(package, step, settings))
      lines.push_back(place + "\"load_connections\" is for PostgreSQL, and the connection \"" +
                      step.task->NeedsPostgreSql() + "\" leads elsewhere; remove the key");
    if (step.workflowScript && !step.workflowScript->lacks.empty())
      lines.push_back(place + "the workflow's script: " + step.workflowScript->lacks);
  }
  return Joined(lines);
}

int CheckPackages(LinuxPlatform& platform, const Invocation& invocation,
                  const PackageOptions& options) {
  bool allGood = true;
  std::vector<JsonRow> rows;
  for (const std::string& file : options.files) {
    std::string problems;
    try {
      const std::string text = ReadText(*platform.files, file);
      const engine::PackageModel package = ReadChecked(file, text);
      problems = WhatCannotRun(package, platform.settings);
      if (options.triesSql) {
        const std::string refused = Joined(TryStatements(platform, package, text, options.job));
        problems += (problems.empty() || refused.empty() ? "" : "\n") + refused;
      }
      allGood = allGood && problems.empty();
    } catch (const PlatformError& error) {
      problems = error.Description();
      allGood = false;
    }
    if (!problems.empty() && !invocation.json) std::fprintf(stderr, "%s\n", problems.c_str());
    rows.push_back({file, problems.empty() ? "ok" : invocation.json ? problems : "has problems"});
  }
  PrintRows({"file", "result"}, rows, invocation.json);
  return allGood ? 0 : 1;
}

int RemovePackage(LinuxPlatform& platform, const Invocation& invocation,
                  const PackageOptions& options) {
  const int versions = OpenStore(platform, invocation.server).Remove(options.name);
  if (versions == 0) {
    throw PlatformError(
        0, "there is no package " + options.name + " on the server " + invocation.server.server,
        "package store");
  }
  PrintResult({{"package", options.name}, {"versions", versions}},
              "package " + options.name + " is removed, " + std::to_string(versions) +
                  (versions == 1 ? " version" : " versions"),
              invocation.json);
  return 0;
}

int GraphPackage(LinuxPlatform& platform, const Invocation& invocation,
                 const PackageOptions& options) {
  const std::string text = options.isStored
                               ? OpenStore(platform, invocation.server).Load(options.name).text
                               : ReadText(*platform.files, options.name);
  return DrawPackage(platform, engine::ReadPackageDocument(text, options.name), options.graph,
                     invocation.json);
}

int ImportPackages(LinuxPlatform& platform, const Invocation& invocation,
                   const PackageOptions& options) {
  return ImportPackageFile(platform, options.name, options.import, invocation.json);
}

void AddImportCommand(CommandGroup<PackageOptions>& group) {
  PackageOptions& given = group.Given();
  CLI::App* import =
      group.Add("import", "turn a package that was saved as Visual Basic text into a document",
                ImportPackages);
  import->add_option("FILE", given.name, "the text: .bas, .cls, .frm, .vb or .vbs")->required();
  import->add_option("--var", given.import.variables,
                     "NAME=VALUE: what a variable or an argument of the text is; may be repeated");
  CLI::Option* procedure =
      import->add_option("--procedure", given.import.procedure,
                         "the procedure that builds the package, when several do");
  CLI::Option* name =
      import->add_option("--name", given.import.name, "the package's name; its own else");
  import->add_option("-o,--output", given.import.output,
                     "file to write; standard output else; with --all a directory");
  import
      ->add_flag("--all", given.import.isAll,
                 "import each package that the text builds, into a file named after it")
      ->excludes(procedure)
      ->excludes(name);
}

/// The package is a file, or one of the server that is named.
void AddGraphCommand(CommandGroup<PackageOptions>& group, Invocation& invocation) {
  PackageOptions& given = group.Given();
  CLI::App* graph = group.Add("graph", "draw the steps of a package as SVG", GraphPackage);
  graph->add_option("FILE", given.name, "document; with --server the name of a stored package")
      ->required();
  graph->add_option("-o,--output", given.graph.output, "file to draw into; standard output else");
  graph->add_option("--log", given.graph.log, "log of the package, whose last run is shown");
  graph->add_flag("--dot", given.graph.isText, "print the input of Graphviz instead");
  AddServerOptions(*graph, invocation);
  graph->get_option("--server")->each([&given](const std::string&) { given.isStored = true; });
}

}  // namespace

void AddPackageCommands(CLI::App& app, Invocation& invocation) {
  CommandGroup<PackageOptions> group(app, invocation, "package",
                                     "packages and the server that stores them");
  PackageOptions& given = group.Given();
  group.Add("new", "print a first document", NewPackage)
      ->add_option("NAME", given.name)
      ->required();
  CLI::App* check = group.Add("check", "check documents without storing them", CheckPackages);
  check->add_option("FILE", given.files)->required();
  CLI::Option* onServers =
      check->add_flag("--server", given.triesSql,
                      "have the servers of the connections compile each SQL text too; none is run");
  check
      ->add_option("--job", given.job,
                   "job file whose values the package's variables have; those of the document else")
      ->needs(onServers);

  CLI::App* put = group.Add("put", "check documents and store each as a new version", PutPackages);
  put->add_option("FILE", given.files)->required();
  CLI::App* get = group.Add("get", "print a stored document", GetPackage);
  get->add_option("NAME", given.name)->required();
  get->add_option("--version-id", given.version, "this version instead of the latest");
  CLI::App* list = group.Add("list", "list the stored packages", ListPackages);
  CLI::App* remove = group.Add("remove", "remove a package, every version of it", RemovePackage);
  CLI::App* versions = group.Add("versions", "list the versions of a package", ListVersions);
  CLI::App* prune = group.Add("prune", "remove the older versions of a package", PrunePackage);
  prune->add_option("--keep", given.versionsToKeep, "how many of the latest versions stay")
      ->check(CLI::Range(1, 1'000'000))
      ->required();
  for (CLI::App* command : {remove, versions, prune})
    command->add_option("NAME", given.name)->required();
  for (CLI::App* command : {put, get, list, versions, prune, remove})
    AddServerOptions(*command, invocation);
  AddGraphCommand(group, invocation);
  AddImportCommand(group);
}

}  // namespace torvik::admin

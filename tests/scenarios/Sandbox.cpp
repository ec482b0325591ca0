#include "scenarios/Sandbox.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "platform/Ado.h"
#include "platform/linux/AdoServers.h"

namespace torvik {
namespace {

namespace fs = std::filesystem;

constexpr const char* kVariables = R"([global_variables]
ExceptionFilePath = ""
DTSServer = ""
DTSServerTrustedLogin = false
DTSServerLoginUserName = ""
DTSServerLoginPassword = ""
DestinationServer = ""
DestServerTrustedLogin = false
DestServerLoginUserName = ""
DestServerLoginPassword = ""
DestServerDatabaseName = ""
WriteCompletionStatusToNT = false
OverwriteGlobalSettings = false
)";

std::string ReadWhole(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string ProgramPath(const std::string& name) {
  if (name == "torvik") return TORVIK_PROGRAM;
  if (name == "torvik-admin") return TORVIK_ADMIN_PROGRAM;
  if (name.starts_with('/')) return name;
  throw std::invalid_argument("unknown program " + name);
}

void Require(bool condition, const std::string& what) {
  if (!condition) throw std::runtime_error(what);
}

}  // namespace

Sandbox::Sandbox() : Sandbox("") {
  section_ = "[server (local)]\nbackend = embedded\ndirectory = " + PathOf("server") + "\n";
  WriteSettings();
  const ProgramResult made = Run({"torvik-admin", "server", "init", "--warehouse", "DW"});
  Require(made.exitCode == 0, made.err);
}

Sandbox::Sandbox(const std::string& section) : section_(section) {
  std::string pattern = (fs::temp_directory_path() / "torvik-XXXXXX").string();
  Require(mkdtemp(pattern.data()) != nullptr, "cannot make " + pattern);
  directory_ = pattern;
  WriteSettings();
}

Sandbox::~Sandbox() {
  std::error_code ignored;
  fs::remove_all(directory_, ignored);
}

void Sandbox::WriteSettings() const {
  WriteFile("torvik.conf", "[paths]\ndrive S: = " + directory_ + "\n" + section_);
}

void Sandbox::AddSettings(const std::string& sections) const {
  WriteFile("torvik.conf", ReadFile("torvik.conf") + sections);
}

void Sandbox::WriteFile(const std::string& name, const std::string& text) const {
  fs::create_directories(fs::path(PathOf(name)).parent_path());
  std::ofstream(PathOf(name), std::ios::binary) << text;
}

std::string Sandbox::ReadFile(const std::string& name) const {
  return ReadWhole(PathOf(name));
}

RunningProgram Sandbox::Start(const std::vector<std::string>& command) const {
  const std::string number = std::to_string(++programs_);
  RunningProgram program{0, PathOf("." + number + ".out"), PathOf("." + number + ".err")};
  std::vector<std::string> arguments = command;
  arguments[0] = ProgramPath(command[0]);
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  program.pid = fork();
  if (program.pid == 0) {
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    dup2(open(program.outFile.c_str(), flags, 0600), STDOUT_FILENO);
    dup2(open(program.errFile.c_str(), flags, 0600), STDERR_FILENO);
    setenv("TORVIK_CONF", PathOf("torvik.conf").c_str(), 1);
    setenv("TORVIK_STATE", PathOf("state").c_str(), 1);
    setenv("LC_ALL", "C", 1);
    for (const char* own : {"TMPDIR", "DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
      unsetenv(own);
    for (const auto& [name, value] : variables_) setenv(name.c_str(), value.c_str(), 1);
    if (chdir(directory_.c_str()) == 0) execv(argv[0], argv.data());
    _exit(127);
  }
  return program;
}

ProgramResult Sandbox::Wait(const RunningProgram& program) const {
  int status = 0;
  waitpid(program.pid, &status, 0);
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return {code, ReadWhole(program.outFile), ReadWhole(program.errFile)};
}

ProgramResult Sandbox::Run(const std::vector<std::string>& command) const {
  return Wait(Start(command));
}

void Sandbox::PutPackage(const std::string& name, const std::string& body) const {
  WriteFile(name + ".toml", "name = \"" + name + "\"\n" + kVariables + body);
  const ProgramResult put = Run({"torvik-admin", "package", "put", name + ".toml"});
  Require(put.exitCode == 0, put.err);
}

void Sandbox::WriteJob(const std::string& name, const std::string& package) const {
  WriteFile(name, "[Package Info]\r\nPackage=" + package +
                      "\r\nLogFile=S:\\err.txt\r\nLogFileDir=S:\\logs\\\r\n"
                      "UseDefaultLogFileDir=FALSE\r\nTruncLogFile=FALSE\r\n"
                      "[DTS Server Info]\r\nDTSServer=(local)\r\nDTSNTAut=TRUE\r\n"
                      "[Datawarehouse Server Info]\r\nDWServer=(local)\r\nDWNTAut=TRUE\r\n"
                      "DWDB=DW\r\n");
}

std::unique_ptr<ado::Connection> Sandbox::Connect(const std::string& database) const {
  Settings settings;
  Environment environment;
  environment.variables = {{"TORVIK_CONF", PathOf("torvik.conf")}, {"TORVIK_STATE", directory_}};
  const std::string problem = LoadSettings(environment, settings);
  Require(problem.empty(), problem);
  auto connection = NewAdoProvider(settings)->NewConnection();
  connection->SetProvider("SQLOLEDB");
  connection->SetProperty("Integrated Security", "SSPI");
  connection->SetProperty("Data Source", "(local)");
  connection->SetProperty("Initial Catalog", database);
  connection->Open();
  return connection;
}

std::string Sandbox::Query(const std::string& sql, const std::string& database) const {
  const auto connection = Connect(database);
  std::string text;
  for (auto rows = connection->OpenRecordset(sql, {}); !rows->Eof(); rows->MoveNext()) {
    for (int i = 0; i < rows->FieldCount(); ++i) {
      const ado::Value value = rows->Field(i);
      if (i > 0) text += "|";
      if (const auto* whole = std::get_if<std::int64_t>(&value)) text += std::to_string(*whole);
      if (const auto* words = std::get_if<std::string>(&value)) text += *words;
      if (std::holds_alternative<ado::Null>(value)) text += "NULL";
    }
    text += "\n";
  }
  return text;
}

std::string WithoutCr(std::string text) {
  std::erase(text, '\r');
  return text;
}

}  // namespace torvik

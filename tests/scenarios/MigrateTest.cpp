// An inventory of an old installation: an embedded server stands for the old one.

#include <gmock/gmock.h>

#include <filesystem>

#include "import/CompoundWriter.h"
#include "platform/Ado.h"
#include "scenarios/Sandbox.h"

namespace torvik {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kAgentTables = R"(
CREATE TABLE sysjobs (job_id TEXT, name TEXT, enabled INTEGER);
CREATE TABLE sysjobsteps (job_id TEXT, step_id INTEGER, step_name TEXT, subsystem TEXT,
  command TEXT);
INSERT INTO sysjobs VALUES ('1', 'Nightly', 1), ('2', 'Secret', 0);
INSERT INTO sysjobsteps VALUES
  ('1', 1, 'load', 'CmdExec', 'dtsrun /S OLD /U sa /P dragon /N Sales_LoadDW /L Q:\logs\l.txt'),
  ('1', 2, 'shrink', 'TSQL', 'EXEC sp_password ''dragon'''),
  ('2', 1, 'hidden', 'CmdExec', 'dtsrun /~Z0xAFFE');
)";

constexpr const char* kSchedules = R"(
CREATE TABLE sysjobschedules (job_id TEXT, name TEXT, enabled INTEGER, freq_type INTEGER,
  freq_interval INTEGER, freq_subday_type INTEGER, freq_subday_interval INTEGER,
  freq_relative_interval INTEGER, freq_recurrence_factor INTEGER, active_start_date INTEGER,
  active_start_time INTEGER, active_end_time INTEGER, active_end_date INTEGER);
INSERT INTO sysjobschedules VALUES
  ('1', 'at night', 1, 8, 62, 1, 0, 0, 1, 20020101, 13000, 235959, 99991231);
)";

/// What the old installation has: three packages, one of which is imported.
void MakeOld(const Sandbox& sandbox) {
  const auto msdb = sandbox.Connect("msdb");
  msdb->Execute(
      "INSERT INTO sysdtspackages (name, id, versionid, description, categoryid, createdate, "
      "owner, packagedata) VALUES ('Sales_LoadDW', 'a', 'v1', '', 'c', '2001-05-01 10:00:00', "
      "'OLD\\eva', x'D0CF11E000'), ('Sales_LoadDW', 'a', 'v2', '', 'c', '2001-06-01 10:00:00', "
      "'OLD\\eva', x'D0CF11E000'), ('Stock_Init', 'b', 'v1', '', 'c', '2001-05-01 10:00:00', "
      "'OLD\\max', x'D0CF11E000')");
  msdb->Execute(kAgentTables);
  sandbox.PutPackage(
      "Stock_Init",
      "[[connections]]\nname = \"host\"\nprovider = \"IBMDA400\"\n[connections.properties]\n"
      "\"Data Source\" = \"AS400\"\n");
  sandbox.Connect("DW")->Execute(
      "INSERT INTO dwm_data_link (model, source_name, Type, ds_connect_string, transfer_data, "
      "remote_directory) VALUES ('Sales', 'shop', 1, 'Provider=MSDAORA;Password=\"x;Data "
      "Source=dragon\";Data "
      "Source=SHOP', 2, '\\\\files\\in\\shop')");
  sandbox.WriteFile("old/a/sales.etl",
                    "[Package Info]\r\nPackage=Sales_LoadDW\r\nLogFile=T:\\logs\\sales.txt\r\n"
                    "[DTS Server Info]\r\nDTSServer=(local)\r\nDTSPwd=dragon\r\n"
                    "[Datawarehouse Server Info]\r\nDWServer=DWOLD\\ONE\r\nDWDB=DW\r\n"
                    "[Data Source::shop]\r\nDirectory=S:\\in\r\nFTPServer=ftp.shop\r\n");
  sandbox.WriteFile("old/b/stock.etl",
                    "[Package Info]\nPackage=Stock_Init\n[Datawarehouse Server Info]\n"
                    "DWServer=(local)\nDWDB=DW\n");
  sandbox.WriteFile("old/none.etl", "hello");
  sandbox.WriteFile("old/night.cmd", "@echo off\r\ndtsrun /S DB,1434 /E /N Stock_Init\r\n");
  sandbox.WriteFile("old/Sales.dts", importing::CompoundWriter::Write(importing::WrittenPackage()));
  sandbox.WriteFile("old/cube.vbs",
                    "Set p = CreateObject(\"DTS.Package\")\np.Name = \"Cube_Init\"\n"
                    "Set s = p.Steps.New\ns.Name = \"x\"\np.Steps.Add s\n");
  std::string both;
  for (const char* name : {"A_Init", "B_Init"})
    both += std::string("Sub Make") + name +
            "()\nSet p = CreateObject(\"DTS.Package\")\np.Name = \"" + name +
            "\"\np.Steps.Add p.Steps.New\nEnd Sub\n";
  sandbox.WriteFile("old/both.bas", both);
}

std::string Inventory(const Sandbox& sandbox, const std::vector<std::string>& more) {
  std::vector<std::string> command = {"torvik-admin", "migrate",     "inventory",
                                      "--server",     "(local)",     "--jobs",
                                      "old",          "--warehouse", "DW"};
  command.insert(command.end(), more.begin(), more.end());
  const ProgramResult result = sandbox.Run(command);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  return result.out;
}

TEST(Migrate, AnInventoryTellsWhatComesOverAndWhatIsNeeded) {
  const Sandbox sandbox;
  MakeOld(sandbox);
  sandbox.Connect("msdb")->Execute(kSchedules);
  const std::string text = Inventory(sandbox, {});
  const char* const lines[] = {
      "| Sales\\_LoadDW | 2 | 2001-06-01 10:00:00 | OLD\\\\eva | 44 steps, 4 connections | has to "
      "be saved as text |",
      "| Stock\\_Init | 2 |",
      "| other server | AS400 | package Stock\\_Init |",
      "| Cube\\_Init | none |  |  |  | is saved as text, to be imported |",
      "| Nightly | yes | Mon..Fri 01:30 | load | package Sales\\_LoadDW of OLD |",
      "| Nightly | yes | Mon..Fri 01:30 | shrink | TSQL, no package |",
      "| Secret | no |  | hidden | a dtsrun line | the dtsrun line is not taken over: /~",
      "| old/a/sales.etl | Sales\\_LoadDW | (local) | DW of DWOLD\\\\ONE | waits for its package |",
      "| old/night.cmd | Stock\\_Init | DB,1434 |  | can run |",
      "| old/none.etl |  |  |  | it is no job file |",
      "| old/both.bas | A\\_Init |",
      "| old/both.bas | B\\_Init |",
      "| old/Sales.dts | Sales\\_LoadDW | 2 | 8.0.760 | has to be saved as text |",
      "| DW | Sales | shop | SHOP |",
      "| drive | Q | the Agent job Nightly | is in the state directory, unless \\[paths\\]",
      "| FTP server | ftp.shop |",
      "| provider | IBMDA400 | package Stock\\_Init | needs \\[provider\\] |",
      "    [server DB,1434]\n    backend = odbc\n    driver = FreeTDS\n    host = DB\n    port = "
      "1434\n",
      "    ;drive T: = /srv/t\n",
      "    ;share \\\\files\\in = /mnt/in\n",
      "    ;[provider IBMDA400]\n"};
  for (const char* line : lines) EXPECT_THAT(text, HasSubstr(line));
  EXPECT_THAT(text, AllOf(Not(HasSubstr("dragon")), Not(HasSubstr("could not be read"))));
}

TEST(Migrate, AnInventoryIsWrittenInTheFormOfItsFileAndItsSettingsAreTaken) {
  const Sandbox sandbox;
  MakeOld(sandbox);
  // Without a table of schedules the jobs are there, and why it is so.
  const std::string json = Inventory(sandbox, {"--json"});
  EXPECT_THAT(json, AllOf(HasSubstr("\"what\": \"the schedules of Agent jobs: "),
                          HasSubstr("\"job\": \"Nightly\""), HasSubstr("\"settings\": \"; What")));
  EXPECT_THAT(Inventory(sandbox, {"-o", "r.html"}),
              HasSubstr("r.html: 5 packages, 2 Agent jobs, 4 job files, 1 data links; 1 could"));
  EXPECT_THAT(sandbox.ReadFile("r.html"),
              AllOf(HasSubstr("<td>Sales_LoadDW</td>"), Not(HasSubstr("dragon"))));
  Inventory(sandbox, {"-o", "r.json"});
  EXPECT_THAT(sandbox.ReadFile("r.json"), HasSubstr("\"packages\": ["));
  const std::size_t begin = json.find("\"settings\": \"") + 13;
  std::string settings = json.substr(begin, json.find("\",\n", begin) - begin);
  for (std::size_t at = 0; (at = settings.find('\\', at)) != settings.npos; ++at)
    settings.replace(at, 2, settings[at + 1] == 'n' ? "\n" : settings.substr(at + 1, 1));
  sandbox.AddSettings(settings);
  EXPECT_EQ(sandbox.Run({"torvik-admin", "package", "list"}).err, "");
  EXPECT_THAT(Inventory(sandbox, {}), Not(HasSubstr("[server DB,1434]")));
}

TEST(Migrate, TheStatusSaysWhatIsLeft) {
  const Sandbox sandbox;
  MakeOld(sandbox);
  std::filesystem::create_directory(sandbox.PathOf("here"));
  sandbox.WriteJob("here/s.etl", "Stock_Init");
  const ProgramResult status = sandbox.Run({"torvik-admin", "migrate", "status", "--server",
                                            "(local)", "--jobs", "old", "--jobs-here", "here"});
  EXPECT_EQ(status.exitCode, 0) << status.err;
  EXPECT_THAT(status.out, HasSubstr("no job file here runs Sales_LoadDW"));
  EXPECT_THAT(status.out, HasSubstr("a job file here runs Stock_Init"));
  EXPECT_THAT(status.out, HasSubstr("8 of 11 left"));
  const ProgramResult missing = sandbox.Run(
      {"torvik-admin", "migrate", "status", "--server", "(local)", "--jobs", "nowhere"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_THAT(missing.err, HasSubstr("nowhere cannot be read"));
}

}  // namespace
}  // namespace torvik

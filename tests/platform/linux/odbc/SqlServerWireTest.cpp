// What a SQL Server is sent and how its answers are read, by way of the driver that reaches it.

#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <sstream>
#include <thread>

#include "fakes/LoadRow.h"
#include "fakes/ReadRows.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"

namespace torvik {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kPassword = "ge;heim{}";

/// A process of its own that speaks as a SQL Server does and answers by a script.
class TdsPeer {
 public:
  explicit TdsPeer(const std::string& script) {
    disk_.Write("script", script);
    disk_.Write("log", "");
    int output[2];
    if (pipe(output) != 0) throw std::runtime_error("no pipe for the peer");
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      dup2(output[1], STDOUT_FILENO);
      const std::string program = TORVIK_SOURCE_DIR "/tests/servers/tds-peer.py";
      execlp("python3", "python3", program.c_str(), disk_.PathOf("script").c_str(),
             disk_.PathOf("log").c_str(), nullptr);
      _exit(127);
    }
    close(output[1]);
    for (char c; read(output[0], &c, 1) == 1 && c != '\n';) port_ += c;
    close(output[0]);
  }
  ~TdsPeer() {
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
  }
  TdsPeer(const TdsPeer&) = delete;
  TdsPeer& operator=(const TdsPeer&) = delete;

  std::unique_ptr<ado::Connection> NewConnection(const std::string& password = kPassword) const {
    Settings settings;
    settings.servers["dw"] = {
        "odbc", "", {{"driver", "FreeTDS"}, {"host", "127.0.0.1"}, {"port", port_}}};
    auto connection = NewAdoProvider(settings)->NewConnection();
    connection->SetProvider("SQLOLEDB");
    connection->SetConnectionTimeout(10);
    connection->SetProperty("Data Source", "dw");
    connection->SetProperty("Initial Catalog", "Sales");
    connection->SetProperty("User ID", "sa");
    connection->SetProperty("Password", password);
    return connection;
  }
  std::unique_ptr<ado::Connection> Open() const {
    auto connection = NewConnection();
    connection->Open();
    return connection;
  }

  /// What it was sent, from the `from`th line on.
  std::vector<std::string> Log(std::size_t from = 2) const {
    std::vector<std::string> lines;
    std::istringstream log(disk_.Read("log"));
    for (std::string line; std::getline(log, line);)
      if (from == 0 || from-- == 0) lines.push_back(line);
    return lines;
  }

 private:
  TemporaryDirectory disk_;
  pid_t process_ = -1;
  std::string port_;
};

TEST(SqlServerWire, TheLogonCarriesWhatWasSetAndHidesThePassword) {
  const TdsPeer peer("");
  for (const std::string password : {"secret", "a}b", "se;cr{e}t", "{a}", " a=b; ", "x;}", "ö😀"}) {
    const std::size_t before = peer.Log(0).size();
    const auto connection = peer.NewConnection(password);
    EXPECT_EQ("", ErrorOf([&] { connection->Open(); })) << password;
    EXPECT_THAT(peer.Log(before),
                ElementsAre("logon user=sa password=" + password +
                                " database=Sales app=torvik server=127.0.0.1 version=74.4 "
                                "password not readable",
                            AllOf(StartsWith("batch SET ANSI_NULLS, "),
                                  HasSubstr("QUOTED_IDENTIFIER ON; SET NUMERIC_ROUNDABORT, "),
                                  HasSubstr("OFF; SET TEXTSIZE 2147483647"))));
  }
  const auto connection = peer.NewConnection("geh};eim");
  EXPECT_THAT(ErrorOf([&] { connection->Open(); }),
              AllOf(HasSubstr("cannot be given the value of PWD"), Not(HasSubstr("geh"))));
}

TEST(SqlServerWire, ARefusedLogonGivesTheServersErrorsThenWhatItWasAskedFor) {
  const std::pair<long, const char*> cases[] = {
      {18456, "Login failed for user 'sa'."},
      {4060, "Cannot open database \"Sales\" requested by the login. The login failed."}};
  for (const auto& [number, text] : cases) {
    const TdsPeer peer("when logon\nerror " + std::to_string(number) + " 14 " + text + "\n");
    const auto connection = peer.NewConnection();
    EXPECT_THAT(ErrorOf([&] { connection->Open(); }), Not(HasSubstr("heim"))) << text;
    const auto is = [](long n, const std::string& description) {
      return AllOf(testing::Field(&ado::ProviderError::number, n),
                   testing::Field(&ado::ProviderError::description, HasSubstr(description)));
    };
    EXPECT_THAT(connection->Errors(),
                ElementsAre(is(number, std::string(text) + " (SQLSTATE 42000)"),
                            is(0, "Unable to connect to data source (SQLSTATE 08001)"),
                            is(0,
                               "DATABASE=Sales;TDS_Version=7.4;ClientCharset=UTF-8;APP=torvik;"
                               "UID=sa;PWD=***")));
    EXPECT_EQ(ado::ObjectState::Closed, connection->State());
  }
}

TEST(SqlServerWire, TransactionsArePlainStatements) {
  const TdsPeer peer("");
  const auto connection = peer.Open();
  connection->BeginTrans();
  connection->SetSavepoint();
  connection->RollbackToSavepoint();
  connection->CommitTrans();
  connection->BeginTrans();
  connection->RollbackTrans();
  EXPECT_THAT(
      peer.Log(),
      ElementsAre("batch BEGIN TRANSACTION", "batch SAVE TRANSACTION torvik_point",
                  "batch ROLLBACK TRANSACTION torvik_point", StartsWith("batch COMMIT TRANSACTION"),
                  "batch BEGIN TRANSACTION", "batch IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION"));
}

TEST(SqlServerWire, EveryTypeIsReadAsOnAnyOtherServer) {
  std::string sent, read, bytes, hex;
  for (int i = 0; i < 1000; ++i)
    sent += "ä\\u1F600;", read += "ä😀", hex += "00ff41", bytes += std::string("\0\xff\x41", 3);
  const struct {
    std::string type, sent;
    ado::Value value;
  } cases[] = {{"int", "-7", std::int64_t{-7}},
               {"tinyint", "255", std::int64_t{255}},
               {"bigint", "9223372036854775807", std::int64_t{9223372036854775807}},
               {"bit", "1", std::int64_t{1}},
               {"float", "1e300", 1e300},
               {"money", "12.5", 12.5},
               {"money", "922337203685477.5807", "922337203685477.5807"},
               {"decimal", "-0.50", -0.5},
               {"decimal", "123456789012345678.91", "123456789012345678.91"},
               {"datetime", "2001-01-08T09:10:11.250", "2001-01-08 09:10:11.25"},
               {"datetime2", "2001-01-08T09:10:11.1234567", "2001-01-08 09:10:11.1234567"},
               {"date", "2001-01-08", "2001-01-08"},
               {"uniqueidentifier", "6f9619ff-8b86-d011-b42d-00c04fc964ff",
                "6F9619FF-8B86-D011-B42D-00C04FC964FF"},
               {"nvarchar", "Grüße \\u1F600;", "Grüße 😀"},
               {"varchar", "", ""},
               {"varchar", "äb€", "äb€"},
               {"nvarchar(max)", sent, read},
               {"varchar(max)", std::string(2000, 'x') + "ä", std::string(2000, 'x') + "ä"},
               {"varchar(max)", "", ""},
               {"ntext", sent, read},
               {"xml", "<a>ä</a>", "<a>ä</a>"},
               {"image", hex, ado::Blob{bytes}},
               {"image", "", ado::Blob{}},
               {"varbinary(max)", hex, ado::Blob{bytes}}};
  std::string script;
  for (std::size_t i = 0; i < std::size(cases); ++i)
    script += "when '" + std::to_string(i) + "'\ncolumns x " + cases[i].type + "\nrow " +
              cases[i].sent + "\nrow NULL\n";
  const TdsPeer peer(script);
  const auto connection = peer.Open();
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(cases[i].type + " " + cases[i].sent.substr(0, 40));
    const auto rows = connection->OpenRecordset("SELECT '" + std::to_string(i) + "'", {});
    EXPECT_EQ(cases[i].value, rows->Field("X"));
    rows->MoveNext();
    EXPECT_EQ(ado::Value(ado::Null{}), rows->Field(0));
  }
}

TEST(SqlServerWire, AStatementEndsAsItsLastResultsSay) {
  const TdsPeer peer(
      "when batch none\ndone 0\ndone 0\ndone 2\ninfo 0 0 a word\ndone 0\ncount 3\n"
      "when batch second\ndone 1\nerror 547 16 conflict\ndone\ndone 1\n"
      "when batch rows\ncolumns a int\nrow 1\ndone\ncolumns b int\nrow 2\ndone\ncount 4\n"
      "when batch late\ncolumns a int\nrow 1\nerror 8134 16 by zero\n");
  const auto connection = peer.Open();
  EXPECT_EQ(5, connection->Execute("none"));
  EXPECT_EQ(4, connection->Execute("rows"));
  EXPECT_THAT(ErrorOf([&] { connection->Execute("second"); }),
              HasSubstr("conflict (SQLSTATE 23000)"));
  EXPECT_THAT(ErrorOf([&] { RowsOf(*connection, "late"); }), HasSubstr("by zero"));
  EXPECT_EQ(5, connection->Execute("none"));
}

TEST(SqlServerWire, RowsThatAreComingInAreKeptAndTheStatementsBehindThemRun) {
  const TdsPeer peer(
      "when SELECT\ncolumns a int\nrow 1\nrow 2\nrow 3\ndone\ncolumns b int\nrow 9\ndone\n");
  const auto connection = peer.Open();
  auto rows = connection->OpenRecordset("SELECT 1", {});
  connection->Execute("UPDATE t");
  for (std::int64_t a = 1; a <= 3; ++a, rows->MoveNext()) EXPECT_EQ(ado::Value(a), rows->Field(0));
  EXPECT_TRUE(rows->Eof());
  EXPECT_EQ("1\n2\n3", RowsOf(*connection, "SELECT 2"));
  rows = connection->OpenRecordset("SELECT 3", {});
  rows.reset();
  connection->Execute("UPDATE t");
  EXPECT_THAT(peer.Log(), ElementsAre("batch SELECT 1", "batch UPDATE t", "batch SELECT 2",
                                      "batch SELECT 3", "attention", "batch UPDATE t"));
}

/// A column of dbo.fact as the catalogue has it: flags are 1 for NULL, 2 for an identity, 4 for a
/// computed column.
std::string FactColumn(const std::string& name, const char* type, int bytes, int precision,
                       int scale, int flags = 1, const char* key = "NULL",
                       const char* codePage = "NULL") {
  std::string row = "row dbo | fact | " + name + " | " + type;
  for (const int number : {bytes, precision, scale, flags}) row += " | " + std::to_string(number);
  return row + " | " + key + " | " + codePage + "\n";
}

const std::string kCatalogue =
    "when OBJECT_SCHEMA_NAME\ncolumns S nvarchar, T nvarchar, C nvarchar, TYPE nvarchar, LEN int, "
    "PREC int, SCALE int, FLAGS int, SEQ int, PAGE int\n";
/// What a new session has set.
const std::string kOptions = "when @@OPTIONS\ncolumns o int\nrow 5496\n";

/// The catalogue's answers for dbo.fact, a row of it, and one row for each change.
const std::string kFact =
    kCatalogue + FactColumn("id", "int", 4, 10, 0, 2, "1") +
    FactColumn("name", "nvarchar", 80, 0, 0) + FactColumn("price", "money", 8, 19, 4) +
    FactColumn("day", "date", 3, 10, 0) + FactColumn("at", "datetime", 8, 23, 3) +
    FactColumn("pic", "image", 16, 0, 0) + kOptions +
    "when SELECT *\ncolumns id int, name nvarchar, price money, pic image\n"
    "row 7 | Ann | 12.5 | 00ff\n"
    "when rpc sp_prepexec\ncount 1\nwhen rpc sp_execute\ncount 1\n";

TEST(SqlServerWire, AnUpdatedRowAndLoadedRowsAreSentAsTheServerTakesThem) {
  const TdsPeer peer(kFact);
  const auto connection = peer.Open();
  std::string types;
  for (const ado::Column& column : connection->TableColumns("Sales.dbo.fa_ct"))
    types += column.declaredType + " " + std::to_string(static_cast<int>(column.kind)) + "; ";
  EXPECT_EQ("int 1; nvarchar(40) 0; money 2; date 5; datetime 6; image 7; ", types);
  const auto rows = connection->OpenRecordset("SELECT * FROM fact", kLocked);
  rows->SetField("price", "3.25");
  rows->SetField("pic", ado::Null{});
  rows->Update();
  const std::string names[] = {"name", "price", "day", "at", "pic"};
  const auto load = connection->OpenBulkLoad("fact", names);
  const ado::LoadValue loaded[][5] = {{"Bo😀", "1.5", "2001-01-08", "2001-01-08 09:10:11", "ab"},
                                      {"", {}, {}, {}, {}}};
  for (const auto& row : loaded) LoadRow(*load, row);
  EXPECT_EQ(2, load->Finish());
  const std::string markers = "(@P1, CAST(@P2 AS money), @P3, @P4, CAST(@P5 AS varbinary(max)))'";
  const std::vector<testing::Matcher<std::string>> sent = {
      AllOf(HasSubstr("FROM \"Sales\".sys.columns"), HasSubstr("DB_ID(N'Sales')"),
            HasSubstr("OBJECT_ID(N'\"Sales\".\"dbo\".\"fa_ct\"')")),
      HasSubstr("SET \"price\" = CAST(@P1 AS money), \"pic\" = CAST(@P2 AS varbinary(max)) WHERE "
                "\"id\" = @P3 AND \"price\" = CAST(@P4 AS money)' | nvarchar '3.25' | varchar NULL "
                "| nvarchar '7' | float 12.5"),
      HasSubstr(
          "IF @@TRANCOUNT > 0 INSERT INTO \"dbo\".\"fact\" (\"name\", \"price\", \"day\", \"at\", "
          "\"pic\") VALUES " +
          markers +
          " | nvarchar 'Bo😀' | nvarchar '1.5' | nvarchar "
          "'2001-01-08' | nvarchar '2001-01-08T09:10:11' | varbinary(max) 0x6162"),
      StartsWith("rpc sp_execute int 7 | nvarchar '' | nvarchar NULL | nvarchar NULL | nvarchar "
                 "NULL | varbinary(max) NULL")};
  EXPECT_THAT(peer.Log(), testing::IsSupersetOf(sent));
}

/// The rows of `load`, and what of them was refused.
std::string Refused(ado::BulkLoad& load, const std::vector<ado::LoadValue>& rows,
                    std::size_t width) {
  std::vector<ado::Refusal> refused;
  load.Load({rows, width}, 9, refused);
  return WordsOf(refused, 0, 120);
}

/// The catalogue's answers for dbo.fact with columns of every kind that is copied in bulk.
const std::string kCopied =
    kCatalogue + FactColumn("id", "int", 4, 10, 0, 2) + FactColumn("name", "nvarchar", 18, 0, 0) +
    FactColumn("price", "money", 8, 19, 4) + FactColumn("day", "date", 3, 10, 0) +
    FactColumn("at", "datetime", 8, 23, 3) + FactColumn("at2", "datetime2", 8, 27, 7) +
    FactColumn("n", "decimal", 9, 17, 2) + FactColumn("f", "float", 8, 53, 0) +
    FactColumn("b", "bit", 1, 1, 0) + FactColumn("t", "tinyint", 1, 3, 0) + kOptions +
    "when FMTONLY\ncolumns #id int, name nvarchar, price money, day date, at datetime, "
    "at2 datetime2, n decimal, f float, b bit, t tinyint\n";

TEST(SqlServerWire, RowsAreCopiedInBulkAndOnesThatAreRefusedAreFoundByInserting) {
  const TdsPeer peer(kCopied +
                     "when 'twice'\nerror 2627 14 Violation of a key\n"
                     "when long name!\nerror 8152 16 Data would be truncated\n"
                     "when 'dead'\nerror 1205 13 Deadlock\nwhen rpc\ncount 1\n");
  const auto connection = peer.Open();
  const std::vector<std::string> names = {"price", "NAME", "day", "at", "at2", "n", "f", "b", "t"};
  const auto load = connection->OpenBulkLoad("fact", names);
  const auto row = [&](const char* name) {
    std::vector<ado::LoadValue> values(names.size());
    values[1] = name;
    return values;
  };
  connection->BeginTrans();
  std::size_t sent = peer.Log(0).size();
  EXPECT_EQ("", Refused(*load,
                        {"1.5",
                         "Bo😀",
                         "2001-01-08",
                         "2001-01-08 09:10:11.250",
                         "2001-01-08 00:00:00.1",
                         "-12.5",
                         0.1,
                         "1",
                         "255",
                         "-2",
                         "",
                         {},
                         "2001-01-08",
                         {},
                         std::int64_t{7},
                         "1e300",
                         {},
                         {}},
                        names.size()));
  EXPECT_THAT(
      peer.Log(sent),
      ElementsAre(
          "batch SAVE TRANSACTION torvik_copy", HasSubstr("FMTONLY"),
          "batch insert bulk \"dbo\".\"fact\" ([name] NVARCHAR(4000), [price] MONEY, "
          "[day] "
          "DATE, [at] DATETIME, [at2] DATETIME2, [n] DECIMAL(38,2), [f] FLOAT, [b] BIT, [t] "
          "TINYINT) with (CHECK_CONSTRAINTS, FIRE_TRIGGERS, KEEP_NULLS)",
          "bulk 'Bo😀' | 1.5 | 2001-01-08 | 2001-01-08 09:10:11.250000 | 2001-01-08+1000000 | "
          "-12.50 "
          "| 0.1 | 1 | 255; '' | -2 | NULL | 2001-01-08 00:00:00 | NULL | 7.00 | 1e+300 | NULL | "
          "NULL"));
  std::vector<ado::LoadValue> rows;
  for (const char* name : {"a", "twice", "b", "long name!"})
    for (const ado::LoadValue& value : row(name)) rows.push_back(value);
  sent = peer.Log(0).size();
  EXPECT_THAT(Refused(*load, rows, names.size()),
              testing::MatchesRegex("1 table .*Violation of a key.*;3 table .*truncated.*;"));
  std::string steps;
  for (const std::string& line : peer.Log(sent)) {
    const auto point = line.rfind("torvik_");
    steps += line.substr(0, line.find(' ', 6)) +
             (point < line.size() ? line.substr(point + 6) : "") + "\n";
  }
  EXPECT_EQ(
      "batch SAVE_copy\nbatch SET\nbatch insert\nbulk 'a'\nbatch ROLLBACK_copy\nbatch SAVE_load\n"
      "rpc sp_prepare\nrpc sp_execute\nrpc sp_execute\nrpc sp_execute\nrpc sp_execute\n"
      "batch ROLLBACK_load\nbatch SAVE_load\nrpc sp_prepexec\nbatch SAVE_load\nrpc sp_unprepare\n"
      "rpc sp_prepexec\nbatch ROLLBACK_load\nbatch SAVE_load\nrpc sp_execute\nbatch SAVE_load\n"
      "rpc sp_unprepare\nrpc sp_prepexec\nbatch ROLLBACK_load\n",
      steps);
  EXPECT_EQ(4, load->Finish());
  std::vector<ado::Refusal> refused;
  try {
    load->Load({row("dead"), names.size()}, 9, refused);
    ADD_FAILURE() << "a deadlock is no refusal";
  } catch (const PlatformError& error) {
    EXPECT_TRUE(error.isTransient) << error.Description();
  }
}

TEST(SqlServerWire, ValuesThatTheDriverWouldChangeGoToTheServerAsTexts) {
  const struct {
    const char *type, *value;
    int bytes, precision, scale;
    bool isCopied;
    const char* page = "NULL";
  } cases[] = {{"date", "1753-01-01", 3, 10, 0, true},
               {"date", "1752-12-31", 3, 10, 0, false},
               {"date", "0001-01-01", 3, 10, 0, false},
               {"datetime2", "9999-12-31 23:59:59.123", 8, 27, 7, true},
               {"datetime2", "2001-01-08 09:10:11.1234567", 8, 27, 7, false},
               {"datetime2", "2001-01-08 09:10:11.500", 6, 19, 0, false},
               {"datetime2", "1752-12-31 00:00:00", 8, 27, 7, false},
               {"datetime", "2001-01-08 09:10:11.997", 8, 23, 3, true},
               {"datetime", "2001-01-08 09:10:11.25", 8, 23, 3, true},
               {"datetime", "2001-01-08 09:10:11.005", 8, 23, 3, false},
               {"datetime", "2001-01-08 23:59:59.999", 8, 23, 3, false},
               {"smalldatetime", "2001-01-08 09:10:00", 4, 16, 0, true},
               {"smalldatetime", "2001-01-08 09:10:31", 4, 16, 0, false},
               {"smalldatetime", "1899-12-31", 4, 16, 0, false},
               {"money", "99999999999999.9999", 8, 19, 4, true},
               {"money", "922337203685477.5807", 8, 19, 4, false},
               {"money", "0.00005", 8, 19, 4, false},
               {"decimal", "1e3", 9, 17, 2, false},
               {"real", "1e300", 4, 24, 0, false},
               {"real", "1e-40", 4, 24, 0, false},
               {"tinyint", "256", 1, 3, 0, false},
               {"varchar", "Grüße", 5, 0, 0, true, "1252"},
               {"varchar", "Łódź", 5, 0, 0, false, "1252"},
               {"varchar", "1 €", 5, 0, 0, false, "1252"},
               {"varchar", "Grüße", 9, 0, 0, false, "65001"},
               {"nvarchar", "😀a", 6, 0, 0, true},
               {"nvarchar", "😀😀", 6, 0, 0, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.type) + " " + c.value);
    const bool isNarrow = std::string(c.type) == "varchar";
    // The wire's type stands for all that are like it.
    const std::string type = std::string(c.type) == "smalldatetime" ? "datetime"
                             : std::string(c.type) == "real"        ? "float"
                                                                    : c.type;
    const TdsPeer peer(kCatalogue +
                       FactColumn("x", c.type, c.bytes, c.precision, c.scale, 1, "NULL",
                                  isNarrow ? c.page : "NULL") +
                       kOptions + "when FMTONLY\ncolumns x " + type + "\nwhen rpc\ncount 1\n");
    const auto connection = peer.Open();
    const std::string columns[] = {"x"};
    const auto load = connection->OpenBulkLoad("fact", columns);
    EXPECT_EQ("", Refused(*load, {c.value}, 1));
    EXPECT_EQ(1, load->Finish());
    std::size_t copies = 0, inserts = 0;
    for (const std::string& line : peer.Log()) {
      copies += line.starts_with("bulk ");
      inserts += line.starts_with("rpc sp_prepexec");
    }
    EXPECT_EQ(std::pair(std::size_t{c.isCopied}, std::size_t{!c.isCopied}),
              std::pair(copies, inserts));
  }
}

TEST(SqlServerWire, ARowThatIsSentAloneAndRefusedIsTold) {
  const TdsPeer peer(kFact.substr(0, kFact.find("when rpc")) +
                     "when 'long'\nerror 2628 16 would be truncated\nwhen 'dead'\n"
                     "error 1205 13 Deadlock\nwhen rpc\ncount 1\n");
  const auto connection = peer.Open();
  const std::string columns[] = {"name"};
  const auto load = connection->OpenBulkLoad("fact", columns);
  EXPECT_THAT(Refused(*load, {"long"}, 1), testing::MatchesRegex("0 table .*truncated.*"));
  EXPECT_EQ("", Refused(*load, {"good"}, 1));
  try {
    Refused(*load, {"dead"}, 1);
    ADD_FAILURE() << "a deadlock is no refusal";
  } catch (const PlatformError& error) {
    EXPECT_TRUE(error.isTransient) << error.Description();
  }
  EXPECT_EQ(1, load->Finish());
}

TEST(SqlServerWire, WhatIsWrongWithARowAloneIsARefusal) {
  const std::pair<int, bool> cases[] = {
      {235, true},   // no money
      {296, true},   // outside smalldatetime
      {547, true},   // a check or a foreign key
      {8134, true},  // a computed column divides by zero
      {8169, true},  // no uniqueidentifier
      {9436, true},  // no XML
      {229, false},  // no right to insert
      {208, false},  // no such table
      {50001, true}  // a trigger's own
  };
  for (const auto& [number, isRefusal] : cases) {
    const TdsPeer peer(kFact.substr(0, kFact.find("when rpc")) + "when rpc\nerror " +
                       std::to_string(number) + " 16 so it is\n");
    const auto connection = peer.Open();
    const std::string columns[] = {"name"};
    const auto load = connection->OpenBulkLoad("fact", columns);
    std::string refused;
    const std::string error = ErrorOf([&] { refused = Refused(*load, {"a"}, 1); });
    EXPECT_THAT(isRefusal ? refused : error, HasSubstr("so it is")) << number;
  }
}

TEST(SqlServerWire, WhenTheServerEndsTheTransactionTheRowsOwnErrorIsTheFirst) {
  const std::string ends =
      "when 'bad'\nerror 50000 16 refused by trigger\nerror 3609 16 ended in the trigger\n"
      "when TRUNCATE\nerror 4712 16 is referenced\n"
      "when ROLLBACK TRANSACTION torvik\nerror 3903 16 no such point\nwhen rpc\ncount 1\n";
  for (const std::string& table : {kFact.substr(0, kFact.find("when rpc")), kCopied}) {
    const TdsPeer peer(table + ends);
    const auto connection = peer.Open();
    const bool isCopied = table == kCopied;
    const std::vector<std::string> columns =
        isCopied ? std::vector<std::string>{"price", "name", "day", "at", "at2", "n", "f", "b", "t"}
                 : std::vector<std::string>{"name"};
    const auto load = connection->OpenBulkLoad("fact", columns);
    for (const std::size_t rows : {1, 3}) {
      std::vector<ado::LoadValue> values(columns.size() * rows);
      for (std::size_t row = 0; row < rows; ++row)
        values[row * columns.size() + (isCopied ? 1 : 0)] = row == 0 ? "bad" : "good";
      connection->BeginTrans();
      EXPECT_THAT(ErrorOf([&] { Refused(*load, values, columns.size()); }),
                  testing::MatchesRegex(".*table .*refused by trigger.*ended in the trigger.*the "
                                        "server has ended the whole transaction.*no such point.*"))
          << rows;
      EXPECT_THAT(connection->Errors().at(0).description, HasSubstr("refused by trigger"));
      connection->RollbackTrans();
    }
    connection->BeginTrans();
    EXPECT_THAT(ErrorOf([&] { connection->EmptyTable("fact"); }),
                testing::MatchesRegex(".*is referenced.*no such point.*"));
  }
}

TEST(SqlServerWire, ALoadSetsWhatItReliesOnAndPutsItBack) {
  std::string script = kFact;
  const std::string usual = "row 5496";
  const long options = 5496 - 8 + 2 + 512 + 16384;
  script.replace(script.find(usual), usual.size(), "row " + std::to_string(options));
  const TdsPeer peer(script);
  const auto connection = peer.Open();
  const std::string columns[] = {"id", "name"}, fewer[] = {"name"};
  for (const bool givesIdentity : {false, true}) {
    const std::size_t sent = peer.Log(0).size();
    connection->OpenBulkLoad("fact", columns, {.givesIdentity = givesIdentity}).reset();
    const std::string on = givesIdentity ? "ON" : "OFF";
    std::vector<testing::Matcher<std::string>> expected = {
        "batch SET ROWCOUNT 0 SELECT @@OPTIONS",
        "batch SET IMPLICIT_TRANSACTIONS OFF SET ANSI_WARNINGS ON SET NOCOUNT OFF SET XACT_ABORT "
        "OFF SET IDENTITY_INSERT \"dbo\".\"fact\" " +
            on + " ",
        "batch SET IMPLICIT_TRANSACTIONS ON SET ANSI_WARNINGS OFF SET NOCOUNT ON SET XACT_ABORT "
        "ON " +
            std::string(givesIdentity ? "SET IDENTITY_INSERT \"dbo\".\"fact\" OFF " : "")};
    // The catalogue is asked once.
    if (!givesIdentity)
      expected.insert(expected.begin(), StartsWith("batch SET ROWCOUNT 0 SELECT OBJECT_SCHEMA"));
    EXPECT_THAT(peer.Log(sent), testing::ElementsAreArray(expected));
  }
  const std::size_t sent = peer.Log(0).size();
  connection->OpenBulkLoad("fact", fewer, {.givesIdentity = true}).reset();
  EXPECT_THAT(peer.Log(sent).at(1), HasSubstr("SET IDENTITY_INSERT \"dbo\".\"fact\" OFF"));
}

TEST(SqlServerWire, ATextWithParametersIsOneBatch) {
  const TdsPeer peer("when DECLARE @torvik_1\ndone 1\ncolumns o int\nrow 14\n");
  const auto connection = peer.Open();
  const ado::Value values[] = {std::int64_t{-7}, "it's 😀", 0.5, ado::Null{},
                               ado::Blob{std::string("\0\xab", 2)}};
  const auto result = connection->ExecuteWith(
      "DECLARE @o int; EXEC p ?, @o OUTPUT; -- ?\n"
      "IF ? > '?' BEGIN INSERT [t?] VALUES (?, ?, ?); END SELECT @o",
      values);
  EXPECT_EQ(std::vector<ado::Value>({std::int64_t{14}}), result.firstRow);
  // The log has a line for each line of a text.
  EXPECT_THAT(
      peer.Log(),
      ElementsAre("batch DECLARE @torvik_1 bigint SET @torvik_1 = -7 DECLARE @torvik_2 "
                  "nvarchar(4000) SET @torvik_2 = N'it''s 😀' DECLARE @torvik_3 float SET "
                  "@torvik_3 = 5e-01 DECLARE @torvik_4 nvarchar(1) SET @torvik_4 = NULL DECLARE "
                  "@torvik_5 varbinary(max) SET @torvik_5 = 0x00AB DECLARE @o int; EXEC p "
                  "@torvik_1, @o OUTPUT; -- ?",
                  "IF @torvik_2 > '?' BEGIN INSERT [t?] VALUES (@torvik_3, @torvik_4, @torvik_5); "
                  "END SELECT @o"));
  EXPECT_EQ("'it''s ü'", connection->Literal("it's ü").substr(1));
  EXPECT_EQ("'it''s'", connection->Literal("it's"));
}

TEST(SqlServerWire, ATemporaryTableIsKnownByWhatItsQueryAnswers) {
  const TdsPeer peer("when tempdb..\ncolumns #id int, name nvarchar, at2 datetime2, n decimal\n" +
                     kOptions +
                     "when FMTONLY\ncolumns #id int, name nvarchar, at2 datetime2, n decimal\n");
  const auto connection = peer.Open();
  std::string columns;
  for (const ado::Column& column : connection->TableColumns("#t"))
    columns += column.name + " " + column.declaredType + (column.isIdentity ? " numbers; " : "; ");
  EXPECT_EQ("id int numbers; name nvarchar(4000); at2 datetime2(7); n decimal(38, 2); ", columns);
  const std::string names[] = {"name", "at2", "n"};
  const auto load = connection->OpenBulkLoad("#t", names);
  LoadRow(*load, std::vector<ado::LoadValue>{"a", "2001-01-08 09:10:11", "1.5"});
  EXPECT_EQ(1, load->Finish());
  EXPECT_THAT(peer.Log(), testing::Contains(StartsWith("batch insert bulk \"#t\" ([name]")));
}

TEST(SqlServerWire, ColumnsSayInWhatTheirTextsAreMeasured) {
  const TdsPeer peer(kCatalogue + FactColumn("a", "nvarchar", 80, 0, 0) +
                     FactColumn("b", "varchar", 40, 0, 0, 1, "NULL", "1252") +
                     FactColumn("c", "char", 40, 0, 0, 1, "NULL", "65001") +
                     FactColumn("d", "nvarchar", -1, 0, 0) + FactColumn("e", "tinyint", 1, 3, 0) +
                     FactColumn("f", "timestamp", 8, 0, 0) + FactColumn("g", "int", 4, 10, 0, 5) +
                     FactColumn("h", "time", 5, 16, 2));
  std::string columns;
  for (const ado::Column& column : peer.Open()->TableColumns("fact"))
    columns += column.declaredType + " " + std::to_string(column.size) + " " +
               std::to_string(static_cast<int>(column.unit)) + (column.isComputed ? " no; " : "; ");
  EXPECT_EQ(
      "nvarchar(40) 40 1; varchar(40) 40 0; char(40) 40 2; nvarchar(max) 0 1; tinyint 1 0; "
      "timestamp 0 0 no; int 4 0 no; time(2) 0 0; ",
      columns);
}

TEST(SqlServerWire, AnUnknownDatabaseIsNotTriedAgain) {
  const std::pair<const char*, bool> cases[] = {
      {"911 16 database does not exist", false},
      {"4060 11 Cannot open database", false},
      {"40613 17 Database is not currently available", true}};
  for (const auto& [error, isPassing] : cases) {
    const TdsPeer peer(std::string("when logon\nerror ") + error + "\n");
    try {
      peer.Open();
      ADD_FAILURE() << error;
    } catch (const PlatformError& failure) {
      EXPECT_EQ(isPassing, failure.isTransient) << failure.Description();
    }
  }
}

TEST(SqlServerWire, ABulkReadFetchesBlocksAndSetsTheRestAsideWhenAnotherStatementBegins) {
  std::string rows;
  for (int i = 0; i < 1200; ++i) rows += "row " + std::to_string(i) + " | Grüße \\u1F600;\n";
  const TdsPeer peer(
      "when 'block'\ncolumns i int, s nvarchar\n" + rows +
      "when 'types'\ncolumns b bit, f float, m money, n decimal, d date, t datetime2, "
      "u uniqueidentifier, s varchar\nrow 1 | 0.5 | 12.5 | -0.50 | 2001-01-08 | "
      "2001-01-08T09:10:11.1234567 | 6f9619ff-8b86-d011-b42d-00c04fc964ff | \n"
      "row NULL | NULL | NULL | NULL | NULL | NULL | NULL | NULL\n"
      "when 'long'\ncolumns x nvarchar(max), b varbinary(max)\nrow ä | 00ff\nrow ö | 01\n"
      "when 'late'\ncolumns a int\nrow 1\nerror 8134 16 by zero\n");
  const auto connection = peer.Open();
  const std::pair<const char*, std::string> cases[] = {
      {"SELECT 'types'",
       "1|0.500000|'12.5000'|'-0.50'|'2001-01-08'|'2001-01-08 09:10:11.1234567'|"
       "'6F9619FF-8B86-D011-B42D-00C04FC964FF'|''|\n-|-|-|-|-|-|-|-|\n"},
      {"SELECT 'long'", "'ä'|'" + std::string("\0\xff", 2) + "'|\n'ö'|'\1'|\n"}};
  for (const auto& [sql, all] : cases) {
    EXPECT_EQ(all, RestOf(*connection->OpenBulkRead(sql, false)));
    const auto read = connection->OpenBulkRead(sql, true);
    ado::LoadValue first[8];
    ASSERT_TRUE(read->Next({first, read->Columns().size()}));
    connection->Execute("UPDATE t");
    if (first[0].IsText()) {
      EXPECT_EQ("ä", first[0].Text()) << "the row read last is gone";
    }
    EXPECT_EQ(all.substr(all.find('\n') + 1), RestOf(*read));
  }
  for (const bool alongside : {false, true}) {
    const auto read = connection->OpenBulkRead("SELECT 'block'", alongside);
    ado::LoadValue row[2];
    for (std::int64_t i = 0; i < 1200; ++i) {
      ASSERT_TRUE(read->Next(row)) << i;
      ASSERT_EQ(i, row[0].Integer());
      ASSERT_EQ("Grüße 😀", row[1].Text());
      if (alongside && i == 600) connection->Execute("UPDATE t");
    }
    EXPECT_FALSE(read->Next(row));
  }
  const auto late = connection->OpenBulkRead("SELECT 'late'", false);
  EXPECT_THAT(ErrorOf([&] { RestOf(*late); }), HasSubstr("by zero"));
}

TEST(SqlServerWire, TablesAreMadeAndReplacedByItsOwnStatements) {
  const TdsPeer peer(
      kCopied +
      "when TRUNCATE\nerror 4712 16 is referenced\nwhen INSERT INTO\ncount 3\n"
      "when identity_columns\ncolumns n nvarchar, t nvarchar, p int, s bigint, i bigint\n"
      "row id | int | 10 | 5 | 2\n"
      "when computed_columns\ncolumns n nvarchar, d nvarchar\nrow twice | ([t]*(2))\n"
      "when default_constraints\ncolumns n nvarchar, d nvarchar\nrow t | ((7))\n"
      "when check_constraints\ncolumns d nvarchar\nrow ([t]>(0))\n"
      "when index_columns\ncolumns i nvarchar, c nvarchar, f nvarchar\n"
      "row pk | id | NULL\nrow u | name | ([b]=(1))\nrow u | day | ([b]=(1))\n");
  const auto connection = peer.Open();
  using enum ado::ColumnKind;
  const ado::Column columns[] = {
      {.name = "Id", .kind = Integer, .size = 4, .keyPosition = 1, .isIdentity = true},
      {.name = "s", .kind = Text},
      {.name = "n", .kind = Decimal},
      {.name = "k", .kind = Text, .keyPosition = 2},
      {.name = "g", .kind = Text, .declaredType = "uniqueidentifier"},
      {.name = "w", .kind = Text, .declaredType = "time(3)"},
      {.name = "m", .kind = Decimal, .declaredType = "money", .precision = 19, .scale = 4},
      {.name = "y", .kind = Integer, .declaredType = "tinyint", .size = 1}};
  const std::size_t sent = peer.Log(0).size();
  connection->CreateTable("Sales.dbo.made", columns);
  connection->EmptyTable("fact");
  const std::string staging = connection->CreateStagingTable("fact");
  EXPECT_EQ("\"dbo\".\"fact_torvik_staging\"", staging);
  EXPECT_EQ(3, connection->ReplaceRows("fact", staging));
  const std::string fact = "\"dbo\".\"fact",
                    rest =
                        "\"name\", \"price\", \"day\", \"at\", \"at2\", \"n\", \"f\", \"b\", \"t\"";
  const std::string alter = "ALTER TABLE " + staging + " ADD ";
  std::string statements;
  for (const std::string& line : peer.Log(sent))
    if (line.find("SELECT OBJECT") == std::string::npos &&
        line.find("@@OPT") == std::string::npos && line.find("FROM sys.") == std::string::npos)
      statements += (line.starts_with("batch ") ? line.substr(6) : line) + "\n";
  EXPECT_EQ(
      "CREATE TABLE \"Sales\".\"dbo\".\"made\" (\"Id\" int IDENTITY NOT NULL, \"s\" "
      "nvarchar(max), \"n\" decimal(38, 10), \"k\" nvarchar(450) NOT NULL, \"g\" "
      "uniqueidentifier, \"w\" time(3), \"m\" money, \"y\" tinyint, PRIMARY KEY (\"Id\", "
      "\"k\"))\nBEGIN TRANSACTION\nTRUNCATE TABLE " +
          fact + "\"\nIF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\nDELETE FROM " + fact +
          "\"\nIF OBJECT_ID(N'" + staging + "') IS NOT NULL DROP TABLE " + staging +
          "\nSELECT TOP 0 " + rest + " INTO " + staging + " FROM " + fact + "\"\n" + alter +
          "\"id\" int IDENTITY(5, 2) NOT NULL;\n" + alter + "\"twice\" AS ([t]*(2));\n" + alter +
          "DEFAULT ((7)) FOR \"t\";\n" + alter +
          "CHECK (([t]>(0)));\nCREATE UNIQUE INDEX \"pk\" ON " + staging +
          " (\"id\");\nCREATE UNIQUE INDEX \"u\" ON " + staging +
          " (\"name\", \"day\") WHERE ([b]=(1));\n\nDELETE FROM " + fact +
          "\"\nSET IDENTITY_INSERT " + fact + "\" ON \nINSERT INTO " + fact + "\" (\"id\", " +
          rest + ") SELECT \"id\", " + rest + " FROM " + fact + "\"\nDROP TABLE " + fact +
          "\"\nSET IDENTITY_INSERT " + fact + "\" OFF \n",
      statements);
}

TEST(SqlServerWire, AStatementIsCancelledAndALostConnectionIsClosed) {
  const TdsPeer peer(
      "when WAITFOR\nwait\nwhen DEAF\ndeaf\nwhen SELECT\ncolumns a int\nrow 1\nrow 2\nclose\n");
  const auto connection = peer.Open();
  std::thread canceller([&] {
    while (peer.Log().empty()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    connection->Cancel();
  });
  EXPECT_THAT(ErrorOf([&] { connection->Execute("WAITFOR"); }), HasSubstr("cancelled"));
  canceller.join();
  EXPECT_THAT(peer.Log(), ElementsAre("batch WAITFOR", "attention"));
  // One that does not answer loses its connection.
  const auto other = peer.Open();
  std::thread second([&] {
    while (peer.Log(0).back() != "batch DEAF")
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    other->Cancel();
  });
  EXPECT_THAT(ErrorOf([&] { other->Execute("DEAF"); }),
              HasSubstr("did not answer when it was told to cancel"));
  second.join();
  EXPECT_EQ(ado::ObjectState::Closed, other->State());
  EXPECT_THAT(ErrorOf([&] { RowsOf(*connection, "SELECT a"); }),
              HasSubstr("the connection to the server is lost; open it again"));
  EXPECT_EQ(ado::ObjectState::Closed, connection->State());
}

}  // namespace
}  // namespace torvik

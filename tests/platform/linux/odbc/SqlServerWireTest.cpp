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
                  "batch ROLLBACK TRANSACTION torvik_point", "batch COMMIT TRANSACTION",
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

/// A column of dbo.fact as the catalogue has it.
std::string FactColumn(const std::string& name, const char* code, const char* type,
                       const char* size, const char* digits) {
  return "row Sales | dbo | fact | " + name + " | " + code + " | " + type + " | " + size +
         " | 0 | " + digits + " | 10 | 1 | NULL | NULL | 0 | 0 | 0 | 0\n";
}

/// The catalogue's answers for dbo.fact, a row of it, and one row for each change.
const std::string kFact =
    "when sp_columns\ncolumns Q nvarchar, O nvarchar, T nvarchar, C nvarchar, TYPE smallint, NAME "
    "nvarchar, SIZE int, LEN int, SCALE smallint, RADIX smallint, NULLABLE smallint, R nvarchar, "
    "DEF nvarchar, TYPE2 smallint, SUB smallint, OCTETS int, POSITION int\n" +
    FactColumn("id", "4", "int identity", "10", "0") +
    FactColumn("name", "-9", "nvarchar", "40", "NULL") +
    FactColumn("price", "3", "money", "19", "4") + FactColumn("day", "-9", "date", "10", "NULL") +
    FactColumn("at", "93", "datetime", "23", "3") +
    FactColumn("pic", "-4", "image", "2147483647", "NULL") +
    "when sp_pkeys\ncolumns Q nvarchar, O nvarchar, T nvarchar, C nvarchar, SEQ smallint\n"
    "row Sales | dbo | fact | id | 1\n"
    "when SELECT SCHEMA_NAME()\ncolumns x nvarchar\nrow dbo\n"
    "when SELECT *\ncolumns id int, name nvarchar, price money, pic image\n"
    "row 7 | Ann | 12.5 | 00ff\n"
    "when rpc sp_prepexec\ncount 1\nwhen rpc sp_execute\ncount 1\n";

TEST(SqlServerWire, AnUpdatedRowAndLoadedRowsAreSentAsTheServerTakesThem) {
  const TdsPeer peer(kFact);
  const auto connection = peer.Open();
  std::string types;
  for (const ado::Column& column : connection->TableColumns("Sales.dbo.fa_ct"))
    types += column.declaredType + " " + std::to_string(static_cast<int>(column.kind)) + "; ";
  EXPECT_EQ("int 1; nvarchar(40) 0; money(19, 4) 2; date 5; datetime 6; image 7; ", types);
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
      HasSubstr("sp_columns @table_name=nvarchar 'fa[_]ct' | @table_owner=nvarchar 'dbo'"),
      HasSubstr("SET \"price\" = CAST(@P1 AS money), \"pic\" = CAST(@P2 AS varbinary(max)) WHERE "
                "\"id\" = @P3 AND \"price\" = CAST(@P4 AS money)' | nvarchar '3.25' | varchar NULL "
                "| nvarchar '7' | float 12.5"),
      HasSubstr("INSERT INTO \"Sales\".\"dbo\".\"fact\" (\"name\", \"price\", \"day\", \"at\", "
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
    kFact.substr(0, kFact.find("row")) + FactColumn("id", "4", "int identity", "10", "0") +
    FactColumn("name", "-9", "nvarchar", "9", "NULL") +
    FactColumn("price", "3", "money", "19", "4") + FactColumn("day", "-9", "date", "10", "NULL") +
    FactColumn("at", "93", "datetime", "23", "3") +
    FactColumn("at2", "-9", "datetime2", "27", "7") + FactColumn("n", "3", "decimal", "17", "2") +
    FactColumn("f", "6", "float", "15", "NULL") + FactColumn("b", "-7", "bit", "1", "NULL") +
    FactColumn("t", "-6", "tinyint", "3", "0") +
    "when SELECT SCHEMA_NAME()\ncolumns x nvarchar\nrow dbo\n"
    "when is_identity\ncolumns n nvarchar, i int\nrow id | 1\nrow name | 0\nrow price | 0\n"
    "row day | 0\nrow at | 0\nrow at2 | 0\nrow n | 0\nrow f | 0\nrow b | 0\nrow t | 0\n"
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
          "batch insert bulk \"Sales\".\"dbo\".\"fact\" ([name] NVARCHAR(4000), [price] MONEY, "
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
  const TdsPeer peer(kCopied +
                     "when TRUNCATE\nerror 4712 16 is referenced\nwhen INSERT\ncount 3\n"
                     "");
  const auto connection = peer.Open();
  using enum ado::ColumnKind;
  const ado::Column columns[] = {{.name = "Id", .kind = Integer, .size = 4, .keyPosition = 1},
                                 {.name = "s", .kind = Text},
                                 {.name = "n", .kind = Decimal},
                                 {.name = "k", .kind = Text, .keyPosition = 2}};
  const std::size_t sent = peer.Log(0).size();
  connection->CreateTable("Sales.dbo.made", columns);
  connection->EmptyTable("fact");
  const std::string staging = connection->CreateStagingTable("fact");
  EXPECT_EQ("\"Sales\".\"dbo\".\"fact_torvik_staging\"", staging);
  EXPECT_EQ(3, connection->ReplaceRows("fact", staging));
  const std::string
      fact = "\"Sales\".\"dbo\".\"fact",
      names = "\"id\", \"name\", \"price\", \"day\", \"at\", \"at2\", \"n\", \"f\", \"b\", \"t\"";
  std::string statements;
  for (const std::string& line : peer.Log(sent))
    if (line.starts_with("batch") && line.find("SELECT name") == std::string::npos &&
        line.find("SCHEMA_NAME") == std::string::npos)
      statements += line.substr(6) + "\n";
  EXPECT_EQ(
      "CREATE TABLE \"Sales\".\"dbo\".\"made\" (\"Id\" int NOT NULL, \"s\" nvarchar(max), \"n\" "
      "decimal(38, 10), \"k\" nvarchar(450) NOT NULL, PRIMARY KEY (\"Id\", \"k\"))\n"
      "BEGIN TRANSACTION\nTRUNCATE TABLE " +
          fact +
          "\"\nIF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\n"
          "DELETE FROM " +
          fact + "\"\nIF OBJECT_ID(N'" + staging + "') IS NOT NULL DROP TABLE " + staging +
          "\nSELECT TOP 0 " + names + " INTO " + staging + " FROM " + fact + "\"\nDELETE FROM " +
          fact + "\"\nSET IDENTITY_INSERT " + fact + "\" ON\nINSERT INTO " + fact + "\" (" + names +
          ") SELECT " + names + " FROM \"Sales\".\"dbo\".\"fact\"\nSET IDENTITY_INSERT " + fact +
          "\" OFF\nDROP TABLE \"Sales\".\"dbo\".\"fact\"\n",
      statements);
}

TEST(SqlServerWire, AStatementIsCancelledAndALostConnectionIsClosed) {
  const TdsPeer peer("when WAITFOR\nwait\nwhen SELECT\ncolumns a int\nrow 1\nrow 2\nclose\n");
  const auto connection = peer.Open();
  std::thread canceller([&] {
    while (peer.Log().empty()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    connection->Cancel();
  });
  EXPECT_THAT(ErrorOf([&] { connection->Execute("WAITFOR"); }), HasSubstr("cancelled"));
  canceller.join();
  EXPECT_THAT(peer.Log(), ElementsAre("batch WAITFOR", "attention"));
  EXPECT_THAT(ErrorOf([&] { RowsOf(*connection, "SELECT a"); }),
              HasSubstr("the connection to the server is lost; open it again"));
  EXPECT_EQ(ado::ObjectState::Closed, connection->State());
}

}  // namespace
}  // namespace torvik

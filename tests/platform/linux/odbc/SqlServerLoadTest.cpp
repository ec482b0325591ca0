// How rows get into the tables of a SQL Server, by way of the driver that reaches it.

#include <gmock/gmock.h>

#include "fakes/LoadRow.h"
#include "fakes/ReadRows.h"
#include "servers/TdsPeer.h"

namespace torvik {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

/// A column of dbo.fact as the catalogue has it: flags are 1 for NULL, 2 for an identity, 4 for a
/// computed column.
std::string FactColumn(const std::string& name, const char* type, int bytes, int precision,
                       int scale, int flags = 1, const char* key = "NULL",
                       const char* codePage = "NULL", const char* rest = "NULL | NULL | NULL") {
  std::string row = "row dbo | fact | " + name + " | " + type;
  for (const int number : {bytes, precision, scale, flags}) row += " | " + std::to_string(number);
  return row + " | " + key + " | " + codePage + " | " + rest + "\n";
}

const std::string kCatalogue =
    "when OBJECT_SCHEMA_NAME\ncolumns S nvarchar, T nvarchar, C nvarchar, TYPE nvarchar, LEN int, "
    "PREC int, SCALE int, FLAGS int, SEQ int, PAGE int, DEF nvarchar, SEED bigint, STEP bigint\n";
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

TEST(SqlServerLoad, AnUpdatedRowAndLoadedRowsAreSentAsTheServerTakesThem) {
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

TEST(SqlServerLoad, RowsAreCopiedInBulkAndOnesThatAreRefusedAreFoundByInserting) {
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
  rows.clear();
  for (int i = 0; i < 1000; ++i)
    for (const ado::LoadValue& value : row(i == 601 ? "twice" : "a")) rows.push_back(value);
  sent = peer.Log(0).size();
  EXPECT_THAT(Refused(*load, rows, names.size()), StartsWith("601 table "));
  std::size_t copies = 0;
  for (const std::string& line : peer.Log(sent)) copies += line.starts_with("bulk ");
  EXPECT_EQ(5U, copies) << "1000, 500, 500, 250 with the refused row, 250";
  EXPECT_EQ(1003, load->Finish());
  std::vector<ado::Refusal> refused;
  try {
    load->Load({row("dead"), names.size()}, 9, refused);
    ADD_FAILURE() << "a deadlock is no refusal";
  } catch (const PlatformError& error) {
    EXPECT_TRUE(error.isTransient) << error.Description();
  }
}

TEST(SqlServerLoad, ACopyIsToldWhatOfTheTablesRulesCounts) {
  const struct {
    ado::LoadOptions options;
    const char* hints;
    const char* inserted;  ///< The columns of a row without a value for the second.
  } cases[] = {
      {{}, "CHECK_CONSTRAINTS, FIRE_TRIGGERS, KEEP_NULLS", "(\"a\", \"b\")"},
      {{.keepsNulls = false}, "CHECK_CONSTRAINTS, FIRE_TRIGGERS", "(\"a\") VALUES"},
      {{.locksTable = true, .checksConstraints = false},
       "FIRE_TRIGGERS, KEEP_NULLS, TABLOCK",
       "(\"a\", \"b\")"},
  };
  for (const auto& c : cases) {
    const TdsPeer peer(kCatalogue +
                       FactColumn("a", "int", 4, 10, 0, 1, "NULL", "NULL", "((7)) | NULL | NULL") +
                       FactColumn("b", "int", 4, 10, 0, 0, "NULL", "NULL", "((8)) | NULL | NULL") +
                       kOptions + "when FMTONLY\ncolumns a int, b int\nwhen rpc\ncount 1\n");
    const auto connection = peer.Open();
    const std::string columns[] = {"a", "b"};
    const auto load = connection->OpenBulkLoad("fact", columns, c.options);
    EXPECT_EQ("", Refused(*load, {{}, "1", "2", {}}, 2));
    EXPECT_EQ(2, load->Finish());
    EXPECT_THAT(peer.Log(), testing::IsSupersetOf(std::vector<testing::Matcher<std::string>>{
                                testing::EndsWith(std::string(" with (") + c.hints + ")"),
                                "bulk NULL | 1", HasSubstr(c.inserted)}));
  }
}

TEST(SqlServerLoad, ValuesThatTheDriverWouldChangeGoToTheServerAsTexts) {
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
               {"money", "99999999999999.9999", 8, 19, 4, true},
               {"money", "922337203685477.5807", 8, 19, 4, false},
               {"money", "0.00005", 8, 19, 4, false},
               {"decimal", "1e3", 9, 17, 2, false},
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

TEST(SqlServerLoad, AValueThatWouldEndTheTransactionIsRefusedBeforeItIsSent) {
  const struct {
    const char* type;
    std::vector<const char*> taken, refused;
  } cases[] = {
      {"uniqueidentifier",
       {"6F9619FF-8B86-D011-B42D-00C04FC964FF", "{6f9619ff-8b86-d011-b42d-00c04fc964ff}"},
       {"x", "6F9619FF-8B86-D011-B42D-00C04FC964FG", "6F9619FF8B86-D011-B42D-00C04FC964FF-"}},
      {"time", {"23:59:59.9999999", "09:10", "9:10 PM"}, {"24:00:00", "10:60", "soon"}},
      {"datetimeoffset",
       {"2001-12-31 23:59:59 +14:00", "8 Jan 2001"},
       {"2001-13-01", "2001-01-32", "2001-01-08 24:00:00 +00:00", "never"}},
      {"datetime", {"1753-01-01"}, {"1752-12-31 23:59:59.999"}},
      {"smalldatetime", {"2079-06-06 23:59:29"}, {"1899-12-31", "2079-06-06 23:59:30"}},
      {"money",
       {"922337203685477.5807", "-922337203685477.5808", "0.00005"},
       {"922337203685477.5808", "-922337203685477.5809", "99999999999999999999"}},
      {"smallmoney", {"214748.3647", "-214748.3648"}, {"214748.3648", "-214748.3649"}},
      {"real", {"-3.4e38"}, {"3.5e38"}}};
  for (const auto& c : cases) {
    const TdsPeer peer(kCatalogue + FactColumn("x", c.type, 8, 19, 4) +
                       FactColumn("pic", "image", 16, 0, 0) + kOptions + "when rpc\ncount 1\n");
    const auto connection = peer.Open();
    const std::string columns[] = {"x", "pic"};
    const auto load = connection->OpenBulkLoad("fact", columns);
    std::vector<ado::LoadValue> rows;
    std::string words;
    for (const char* value : c.refused) {
      words += std::to_string(rows.size() / 2) + " table .*column x: .*;";
      rows.insert(rows.end(), {value, {}});
    }
    for (const char* value : c.taken) rows.insert(rows.end(), {value, {}});
    EXPECT_THAT(Refused(*load, rows, 2), testing::MatchesRegex(words)) << c.type;
    EXPECT_EQ(c.taken.size(), static_cast<std::size_t>(load->Finish())) << c.type;
  }
}

TEST(SqlServerLoad, ARowThatIsSentAloneAndRefusedIsTold) {
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

TEST(SqlServerLoad, WhatIsWrongWithARowAloneIsARefusal) {
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

TEST(SqlServerLoad, WhenTheServerEndsTheTransactionTheRowsOwnErrorIsTheFirst) {
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

TEST(SqlServerLoad, ADeadlockOrALostConnectionEndsTheLoadWithItsOwnErrorAndMayPass) {
  const struct {
    bool isCopied;
    const char* answer;
    const char* error;
  } cases[] = {{true, "error 1205 13 chosen as the victim\n", "chosen as the victim"},
               {true, "error 596 21 the session is killed\nclose\n", "connection.* is lost"},
               {true, "close\n", "connection.* is lost"},
               {false, "error 1205 13 chosen as the victim\n", "chosen as the victim"},
               {false, "error 596 21 the session is killed\nclose\n", "connection.* is lost"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.answer);
    const std::string table = c.isCopied ? kCopied : kFact.substr(0, kFact.find("when rpc"));
    const TdsPeer peer(table + "when 'bad'\n" + c.answer + "when rpc\ncount 1\n");
    const auto connection = peer.Open();
    const std::vector<std::string> columns =
        c.isCopied
            ? std::vector<std::string>{"price", "name", "day", "at", "at2", "n", "f", "b", "t"}
            : std::vector<std::string>{"name"};
    connection->BeginTrans();
    auto load = connection->OpenBulkLoad("fact", columns);
    std::vector<ado::LoadValue> values(columns.size() * 3);
    values[c.isCopied ? 1 : 0] = "good";
    values[columns.size() + (c.isCopied ? 1 : 0)] = "bad";
    const std::size_t sent = peer.Log(0).size();
    try {
      Refused(*load, values, columns.size());
      ADD_FAILURE() << "no refusal of a row";
    } catch (const PlatformError& error) {
      EXPECT_TRUE(error.isTransient);
      EXPECT_THAT(error.Description(), testing::ContainsRegex(c.error));
    }
    std::size_t inserts = 0;
    for (const std::string& line : peer.Log(sent))
      inserts += line.starts_with("rpc") && line.find("'good'") != std::string::npos;
    EXPECT_EQ(c.isCopied ? 0u : 1u, inserts) << "nothing is sent again";
    ErrorOf([&] { connection->RollbackTrans(); });
    load.reset();
  }
}

TEST(SqlServerLoad, ALoadSetsWhatItReliesOnAndPutsItBack) {
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

TEST(SqlServerLoad, ATemporaryTableIsKnownByWhatItsQueryAnswers) {
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

TEST(SqlServerLoad, ColumnsSayInWhatTheirTextsAreMeasured) {
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

TEST(SqlServerLoad, TablesAreMadeAndReplacedByItsOwnStatements) {
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

}  // namespace
}  // namespace torvik

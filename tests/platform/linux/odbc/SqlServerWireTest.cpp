// What a SQL Server is sent and how its answers are read, by way of the driver that reaches it.

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

#include "fakes/ReadRows.h"
#include "servers/TdsPeer.h"

namespace torvik {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

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

TEST(SqlServerWire, AConnectionIsEncryptedAsTheServerAndTheSettingsWantIt) {
  const std::string script = "when SELECT\ncolumns n int\nrow 7\n";
  const TdsPeer encrypted(script, true), plain(script);
  const struct {
    const TdsPeer& peer;
    const char* setting;
    bool isEncrypted;
    const char* error;
  } cases[] = {{encrypted, "require", true, ""},
               {encrypted, "request", true, ""},
               {encrypted, "off", true, ""},
               {plain, "request", false, ""},
               {plain, "require", false, "Unable to connect"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.setting);
    const std::size_t before = c.peer.Log(0).size();
    const auto connection = c.peer.NewConnection(kPassword, {{"encryption", c.setting}});
    const std::string error = ErrorOf([&] { connection->Open(); });
    EXPECT_THAT(error, HasSubstr(c.error));
    EXPECT_EQ(*c.error == '\0', error.empty());
    const std::vector<std::string> log = c.peer.Log(before);
    EXPECT_EQ(c.isEncrypted, !log.empty() && log.front() == "encrypted");
    if (error.empty()) {
      EXPECT_EQ("7", RowsOf(*connection, "SELECT n FROM t"));
    } else {
      EXPECT_THAT(log, testing::Each(Not(StartsWith("logon"))));
    }
  }
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

TEST(SqlServerWire, AScriptsOpenTransactionIsSeen) {
  for (const bool isOpen : {false, true}) {
    const TdsPeer peer("when SELECT @@TRANCOUNT\ncolumns n int\nrow " + std::to_string(2 * isOpen) +
                       "\n");
    EXPECT_EQ(isOpen, peer.Open()->HasOpenTransaction());
  }
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
               {"real", "0.1", 0.1},
               {"real", "16777216", 16777216.0},
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

TEST(SqlServerWire, ErrorsAreToldOnceAndNotInHundreds) {
  std::string repeated = "when repeated\n", many = "when many\n";
  for (int i = 0; i < 30; ++i) {
    repeated += "error 547 16 conflict\nerror 3621 16 ended\n";
    many += "error 2627 14 key " + std::to_string(i) + "\n";
  }
  const TdsPeer peer(repeated + many);
  const auto connection = peer.Open();
  EXPECT_THAT(ErrorOf([&] { connection->Execute("repeated"); }),
              testing::MatchesRegex("[^;]*conflict[^;]*; [^;]*ended[^;]*"));
  EXPECT_THAT(ErrorOf([&] { connection->Execute("many"); }),
              AllOf(HasSubstr("key 0"), HasSubstr("key 7"), testing::Not(HasSubstr("key 8")),
                    testing::EndsWith("; and 22 more")));
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

TEST(SqlServerWire, ATextWithParametersIsOneBatch) {
  const TdsPeer peer("when DECLARE @torvik_1\ndone 1\ncolumns o int\nrow 14\n");
  const auto connection = peer.Open();
  const ado::Value values[] = {std::int64_t{-7}, "it's 😀", 0.5, ado::Null{},
                               ado::Blob{std::string("\0\xab", 2)}};
  const auto result = connection->ExecuteWith(
      "DECLARE @o int; EXEC p ?, @o OUTPUT; -- ?\n"
      "IF ? > '?' BEGIN INSERT [t?] VALUES (?, ?, ?); END SELECT @o",
      values);
  EXPECT_EQ(std::vector<ado::Value>({std::int64_t{14}}), result.rows.at(0));
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

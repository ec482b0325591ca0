// What connections to PostgreSQL and by ODBC do that the contracts of all servers do not say.

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "servers/PostgreSqlServer.h"

namespace torvik {
namespace {

using testing::HasSubstr;

/// By the server's own library ("pg"), and by its ODBC driver.
class ToPostgreSql : public testing::TestWithParam<const char*> {
 protected:
  std::unique_ptr<ado::Connection> Open(const std::string& database = "") {
    auto connection = server_.NewConnection(database, GetParam());
    connection->Open();
    return connection;
  }

  PostgreSqlServer& server_ = PostgreSqlServer::Instance();
};

INSTANTIATE_TEST_SUITE_P(, ToPostgreSql, testing::Values("pg", "by ODBC"), [](const auto& tested) {
  return std::string(tested.param == std::string("pg") ? "Libpq" : "PsqlOdbc");
});

TEST_P(ToPostgreSql, EveryTypeIsReadAsOnAnyOtherServer) {
  std::string longText;
  for (int i = 0; i < 100000; ++i) longText += "äb";
  const std::pair<const char*, ado::Value> cases[] = {
      {"NULL::int", ado::Null{}},
      {"7::smallint", std::int64_t{7}},
      {"9223372036854775807::bigint", std::int64_t{9223372036854775807}},
      {"true", std::int64_t{1}},
      {"1.5::real", 1.5},
      {"1e300::float8", 1e300},
      {"12.50::numeric(10,2)", 12.5},
      {"3::numeric", std::int64_t{3}},
      {"-0.5::numeric", -0.5},
      {"123456789012345678.91::numeric", "123456789012345678.91"},
      {"DATE '2001-01-08'", "2001-01-08"},
      {"TIMESTAMP '2001-01-08 09:10:11'", "2001-01-08 09:10:11"},
      {"TIMESTAMP '2001-01-08 09:10:11.250'", "2001-01-08 09:10:11.25"},
      {"''::varchar(5)", ""},
      {"'ab '::char(4)", "ab  "},
      {"'Grüße 😀'::text", "Grüße 😀"},
      {"'6f9619ff-8b86-d011-b42d-00c04fc964ff'::uuid", "6F9619FF-8B86-D011-B42D-00C04FC964FF"},
      {"'\\x00ff41'::bytea", ado::Blob{std::string("\0\xff\x41", 3)}},
      {"repeat('äb', 100000)", longText}};
  const auto connection = Open();
  for (const auto& [sql, value] : cases) {
    const auto row = connection->OpenRecordset(std::string("SELECT ") + sql + " AS x", {});
    EXPECT_EQ(value, row->Field("X")) << sql;
  }
}

TEST_P(ToPostgreSql, MasterAndMsdbAreSchemasOfOneDatabase) {
  server_.MakeDatabase("Names");
  const auto connection = Open("Names");
  connection->Execute(
      "CREATE SCHEMA msdb; CREATE TABLE msdb.dbo.t (a INT); INSERT INTO msdb..t VALUES (1);"
      "CREATE TABLE t (a INT); INSERT INTO dbo.t VALUES (2)");
  const std::pair<const char*, const char*> cases[] = {
      {"SELECT name FROM master.dbo.sysdatabases WHERE name IN ('Names', 'template1')", "Names"},
      {"SELECT DISTINCT name FROM master.dbo.sysdatabases WHERE name = 'Names' ORDER BY name",
       "Names"},
      {"SELECT a, 'msdb.dbo.t' FROM MSDB.dbo.t", "1|msdb.dbo.t"},
      {"SELECT a FROM names.dbo.t", "2"},
      {"SELECT ISNULL(NULL, 3)", "3"}};
  for (const auto& [sql, rows] : cases) EXPECT_EQ(rows, RowsOf(*connection, sql)) << sql;
  EXPECT_THAT(ErrorOf([&] { connection->Execute("SELECT 1;\nDELETE FROM Sales.dbo.t"); }),
              HasSubstr("line 2 of the SQL text: the table t of database Sales cannot be reached"));
  EXPECT_EQ("3", RowsOf(*connection, "SELECT 3"));
}

TEST_P(ToPostgreSql, AConnectionWhoseServerHasGoneSaysSoAndIsClosed) {
  const auto connection = Open();
  const std::string backend = RowsOf(*connection, "SELECT pg_backend_pid()");
  Open()->Execute("SELECT pg_terminate_backend(" + backend + ")");
  EXPECT_THAT(ErrorOf([&] { connection->Execute("SELECT 1"); }), HasSubstr("(SQLSTATE "));
  EXPECT_EQ(ado::ObjectState::Closed, connection->State());
  connection->Close();
  connection->Open();
  EXPECT_EQ("1", RowsOf(*connection, "SELECT 1"));
}

/// A port on which connections are taken and nothing is ever said.
class SilentPort {
 public:
  SilentPort() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(socket_, reinterpret_cast<sockaddr*>(&address), size);
    listen(socket_, 5);
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
    number_ = ntohs(address.sin_port);
  }
  ~SilentPort() { close(socket_); }
  SilentPort(const SilentPort&) = delete;
  SilentPort& operator=(const SilentPort&) = delete;
  std::string Number() const { return std::to_string(number_); }

 private:
  const int socket_ = socket(AF_INET, SOCK_STREAM, 0);
  int number_ = 0;
};

TEST(Servers, OpenGivesTheServersWordsThenWhatItWasAskedFor) {
  const PostgreSqlServer& server = PostgreSqlServer::Instance();
  const SilentPort silent;
  Settings settings = server.AsServer("pg");
  const auto add = [&](const char* name, std::map<std::string, std::string> options) {
    settings.servers[name] = {"odbc", "", std::move(options)};
  };
  add("tds", {{"driver", "FreeTDS"}, {"host", "127.0.0.1"}, {"port", "1"}});
  add("silent tds", {{"driver", "FreeTDS"}, {"host", "127.0.0.1"}, {"port", silent.Number()}});
  add("silent pg",
      {{"driver", "PostgreSQL Unicode"}, {"host", "127.0.0.1"}, {"port", silent.Number()}});
  // A key that only the driver understands is for the driver.
  add("silent psqlodbc", {{"driver", "PostgreSQL Unicode"},
                          {"host", "127.0.0.1"},
                          {"port", silent.Number()},
                          {"fetch", "100"}});
  add("driverless", {{"driver", "No such driver"}, {"host", "db"}});
  const auto databases = NewAdoProvider(settings);
  const struct {
    const char* server;
    const char* user;
    const char* database;
    const char* words;
    const char* state;
    const char* asked = "UID=sa;PWD=***";
  } cases[] = {{"tds", "sa", "", "Unable to connect", "08S01"},
               {"silent tds", "sa", "", "Timeout expired", "HYT00"},
               {"silent pg", "sa", "", "timeout expired", "08001", "user=sa;password=***"},
               {"silent psqlodbc", "sa", "", "timeout expired", "08001"},
               {"driverless", "sa", "", "install the ODBC driver \"No such driver\"", "0100"},
               {"pg", "nobody", "", "authentication failed for user \"nobody\"", "08001",
                "user=nobody;password=***"},
               {"by ODBC", "nobody", "", "authentication failed for user \"nobody\"", "08001",
                "UID=nobody;PWD=***"},
               {"pg", "torvik", "Nowhere", "database \"Nowhere\" does not exist", "08001",
                "user=torvik;password=***"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.server) + " " + c.user);
    const auto connection = databases->NewConnection();
    connection->SetProvider("SQLOLEDB");
    connection->SetConnectionTimeout(1);
    connection->SetProperty("Data Source", c.server);
    connection->SetProperty("User ID", c.user);
    connection->SetProperty("Password",
                            c.user == std::string("torvik") ? server.Password() : "geheim");
    connection->SetProperty("Initial Catalog", c.database);
    const auto began = std::chrono::steady_clock::now();
    const std::string error = ErrorOf([&] { connection->Open(); });
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(10));
    EXPECT_THAT(error, HasSubstr(c.words));
    EXPECT_THAT(error, HasSubstr(std::string("(SQLSTATE ") + c.state));
    EXPECT_THAT(error, testing::Not(HasSubstr("geheim")));
    const auto errors = connection->Errors();
    ASSERT_GE(errors.size(), 2U);
    EXPECT_THAT(errors.back().description, HasSubstr(c.asked));
    EXPECT_EQ(ado::ObjectState::Closed, connection->State());
  }
}

TEST(Servers, APasswordOfAnyCharactersAndADataSourceOfTheOdbcSettingsAreUsed) {
  const PostgreSqlServer& server = PostgreSqlServer::Instance();
  const auto admin = server.NewConnection();
  admin->Open();
  admin->Execute("DROP ROLE IF EXISTS tricky; CREATE ROLE tricky LOGIN PASSWORD 'a;b{c}=d%41 '");
  const TemporaryDirectory disk;
  disk.Write("odbc.ini", "[sales]\nDriver=PostgreSQL Unicode\nServername=127.0.0.1\nPort=" +
                             std::to_string(server.Port()) + "\nDatabase=postgres\n");
  setenv("ODBCINI", disk.PathOf("odbc.ini").c_str(), 1);
  const auto databases = NewAdoProvider(server.AsServer("pg"));
  for (const char* name : {"pg", "sales"}) {
    const auto connection = databases->NewConnection();
    connection->SetProvider("SQLOLEDB");
    connection->SetProperty("Data Source", name);
    connection->SetProperty("User ID", "tricky");
    connection->SetProperty("Password", "a;b{c}=d%41 ");
    EXPECT_EQ("", ErrorOf([&] { connection->Open(); })) << name;
  }
  setenv("ODBCINI", server.DataSourceFile().c_str(), 1);
}

}  // namespace
}  // namespace torvik

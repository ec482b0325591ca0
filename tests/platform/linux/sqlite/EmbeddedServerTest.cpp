#include <gmock/gmock.h>

#include <thread>

#include "platform/linux/sqlite/EmbeddedFixture.h"

namespace torvik {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

struct EmbeddedServer : testing::Test {
  EmbeddedFixture server;
};

TEST_F(EmbeddedServer, IsPrivateDurableAndKeepsWhatIsThere) {
  EXPECT_EQ(fs::perms::owner_all, fs::status(server.Directory()).permissions());
  for (const auto& file : fs::directory_iterator(server.Directory()))
    EXPECT_EQ(fs::perms::owner_read | fs::perms::owner_write, file.status().permissions())
        << file.path();
  const auto dw = server.Open();
  EXPECT_EQ("wal", RowsOf(*dw, "PRAGMA journal_mode"));
  EXPECT_EQ("2", RowsOf(*dw, "PRAGMA synchronous"));
  dw->Execute("INSERT INTO dwm_data_link (model, source_name) VALUES ('M', 'x')");
  CreateEmbeddedServer(server.Directory());
  CreateWarehouse(server.Directory(), "DW");
  EXPECT_EQ("x", RowsOf(*dw, "SELECT source_name FROM dwm_data_link"));
  EXPECT_EQ("dw\nmaster\nmsdb", RowsOf(*dw, "SELECT name FROM master..sysdatabases"));
}

TEST_F(EmbeddedServer, SeveralMayMakeItAtOnce) {
  std::vector<std::thread> makers;
  std::vector<std::string> errors(4);
  for (std::string& error : errors)
    makers.emplace_back(
        [&] { error = ErrorOf([&] { CreateWarehouse(server.Directory(), "sales"); }); });
  for (std::thread& maker : makers) maker.join();
  EXPECT_THAT(errors, testing::Each(""));
  EXPECT_EQ("0", RowsOf(*server.Open("sales"), "SELECT count(*) FROM dwm_data_link"));
  for (const auto& file : fs::directory_iterator(server.Directory()))
    EXPECT_EQ(".db", file.path().extension()) << file.path();
}

TEST_F(EmbeddedServer, RefusesNamesThatAreNoFileOfTheDirectory) {
  for (const std::string name :
       {"", "../x", "a/b", "a\\b", ".x", "main", "TEMP", "a\"b", "a\nb", " x", "x ", "[x]"})
    EXPECT_THAT(ErrorOf([&] { CreateWarehouse(server.Directory(), name); }),
                HasSubstr("cannot be the name of a database"))
        << name;
  CreateWarehouse(server.Directory(), "Sales 2024-\u00e9");
  EXPECT_EQ("Sales 2024-\u00e9",
            RowsOf(*server.Open("sales 2024-\u00e9"),
                   "SELECT name FROM master..sysdatabases WHERE name LIKE 's%'"));
}

TEST_F(EmbeddedServer, AFileThatIsNoDatabaseIsNamedAtOpen) {
  const std::string path = server.Directory() + "/odd.db";
  std::ofstream(path) << std::string(4096, 'x');
  EXPECT_THAT(ErrorOf([&] { server.Open("odd"); }), HasSubstr(path));
  EXPECT_THAT(ErrorOf([&] { CreateEmbeddedServer(path + "/below"); }), HasSubstr(path));
}

}  // namespace
}  // namespace torvik

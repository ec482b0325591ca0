// Data links, lists and the package catalogue on servers of every kind.

#include <gmock/gmock.h>

#include "datalinks/BuildConnection.h"
#include "datalinks/DataLinks.h"
#include "datalinks/DatabaseLists.h"
#include "datalinks/ETLPackages.h"
#include "engine/PackageStore.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeMessages.h"
#include "fakes/FakeProfile.h"
#include "platform/linux/database/ServerSetup.h"
#include "platform/linux/text/IconvCodePages.h"
#include "servers/ServersUnderTest.h"
#include "ui/Controls.h"

namespace torvik {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;

/// The server "(local)" with a warehouse "dw", and how to log on to it.
class OnServers : public testing::TestWithParam<const char*> {
 protected:
  OnServers() {
    Settings settings = EmbeddedSettings(embedded_.Directory());
    if (IsPostgreSql()) {
      PostgreSqlServer& server = PostgreSqlServer::Instance();
      settings = server.AsServer("(local)");
      settings.providers["msdaora"] = {"PostgreSQL Unicode", {}};
      logon_ = {"(local)", false, "torvik", server.Password()};
      server.MakeDatabase("dw");
    }
    databases_ = NewAdoProvider(settings);
    if (IsPostgreSql())
      SetUpServer(*databases_, DriverFamily::PostgreSql,
                  {logon_.server, false, logon_.user, logon_.password}, "dw");
    std::string errorText;
    EXPECT_TRUE(BuildConnection(*databases_, EtlSqlServer, logon_, warehouse_, errorText, "dw"))
        << errorText;
  }

  bool IsPostgreSql() const { return GetParam() == std::string("PostgreSql"); }

  EmbeddedFixture embedded_;
  std::unique_ptr<ado::Provider> databases_;
  ServerLogon logon_{"(local)", true, "", ""};
  std::unique_ptr<ado::Connection> warehouse_;
};

INSTANTIATE_TEST_SUITE_P(, OnServers, testing::Values("Sqlite", "PostgreSql"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST_P(OnServers, LinksAreLoadedOverriddenBySectionsAndSaved) {
  warehouse_->Execute(
      "INSERT INTO dwm_data_link (model, source_name, Type, ds_server, ds_trusted_login, "
      "ds_directory, transfer_data, poll_interval) VALUES "
      "('Sales', 'files', '3', 'old', '1', 'C:\\data', '1', '5'),"
      "('Sales', 'd''été', '70000', NULL, NULL, '', NULL, NULL),"
      "('Other', 'x', '1', NULL, NULL, NULL, NULL, NULL)");
  FakeProfile profile;
  FakeClock clock;
  FakeMessages messages;
  const auto codePages = NewIconvCodePages("windows-1252");
  DataLinks links(profile, codePages->Ansi(), clock, messages);
  std::vector<std::string> names;
  ASSERT_TRUE(links.LoadDataLinks(*warehouse_, "Sales_LoadDW", names));
  ASSERT_THAT(names, testing::UnorderedElementsAre("files", "d'été"));
  EXPECT_EQ(0, links.FindDataLink("d'été")->etlType) << "a number out of 16 bits";
  EXPECT_TRUE(links.FindDataLink("files")->blnDSTrustedLogin);
  for (const auto& [key, value] : std::map<std::string, std::string>{{"Name", "files"},
                                                                     {"ModelName", "Sales"},
                                                                     {"Type", "3"},
                                                                     {"Directory", "C:\\data"},
                                                                     {"TransferData", "1"},
                                                                     {"FTPUSer", "Zoë"},
                                                                     {"RemoteDir", "in"},
                                                                     {"PollInterval", "6"}})
    profile.WritePrivateProfileStringA("Data Source::files", key, value, "job.etl");
  links.ReadDataLinkSections("job.etl");
  links.FindDataLink("files")->Save(*warehouse_);
  EXPECT_EQ("0|C:\\data\\|1|Zoë|in/|6|",
            RowsOf(*warehouse_,
                   "SELECT CASE WHEN ds_trusted_login = '1' THEN 1 ELSE 0 END, ds_directory, "
                   "transfer_data, ftp_user, remote_directory, poll_interval, ds_server "
                   "FROM dwm_data_link WHERE source_name = 'files'"));
  EXPECT_EQ("-|-",
            RowsOf(*warehouse_,
                   "SELECT ds_server, poll_interval FROM dwm_data_link WHERE model = 'Other'"));

  cDataSource one;
  one.strModelName = "'Sales'";
  one.strName = "'files'";
  one.Load(*warehouse_, "", "");
  EXPECT_EQ("0 files 6",
            one.strModelName + " " + one.strName + " " + std::to_string(one.intPollInterval));
  cDataSource gone;
  gone.strModelName = "Sales";
  gone.strName = "gone";
  EXPECT_THAT(ErrorOf([&] { gone.Save(*warehouse_); }), HasSubstr("no current row"));
  EXPECT_NE("", ErrorOf([&] { gone.Load(*warehouse_, "", ""); })) << "unquoted names are no text";
}

TEST_P(OnServers, TheServersDatabasesAndSchemasAreListed) {
  ComboBox list;
  list.Text.Set("DW");
  ListSQLDatabases(*warehouse_, list);
  EXPECT_THAT(list.List.Get(), testing::Contains("dw"));
  EXPECT_EQ("dw", list.Text.Get()) << "chosen again, letter case aside";
  if (!IsPostgreSql()) return;
  // Any driver may stand for Oracle's by the settings.
  std::unique_ptr<ado::Connection> oracle;
  std::string errorText;
  ServerLogon logon = logon_;
  logon.server = "127.0.0.1," + std::to_string(PostgreSqlServer::Instance().Port());
  logon.isTrusted = true;  // has no meaning for Oracle: user and password are sent
  ASSERT_TRUE(BuildConnection(*databases_, EtlOracleSchemas, logon, oracle, errorText, " "))
      << errorText;
  oracle->Execute("CREATE SCHEMA IF NOT EXISTS \"Sales\"");
  ListOracleSchemas(*oracle, list);
  EXPECT_THAT(list.List.Get(), IsSupersetOf({"Sales", "public"}));
}

TEST_P(OnServers, ThePackageCatalogueIsReadAndPackagesKeepTheirVersions) {
  FakeClock clock;
  engine::PackageStore store(*databases_,
                             {logon_.server, logon_.isTrusted, logon_.user, logon_.password});
  for (const auto& package : store.List()) store.Remove(package.name);
  const std::string text = std::string("name = \"é\"\n\0", 12) + std::string(100000, 'x');
  const std::string first = store.Save("Sales_Init", "", "first", clock);
  for (const char* name : {"Sales_Init", "SALES_LoadDW", "Backup"})
    store.Save(name, "d'é", text, clock);
  EXPECT_EQ(text, store.Load("Sales_Init").text);
  EXPECT_EQ("first", store.Load("Sales_Init", "{" + first + "}").text);
  const auto summaries = store.List();
  ASSERT_EQ(3U, summaries.size());
  for (const auto& one : summaries) EXPECT_EQ(one.name == "Sales_Init" ? 2 : 1, one.versions);

  ETLPackages packages(*databases_);
  packages.strSQLServer = logon_.server;
  packages.blnSQLTrustedLogin = logon_.isTrusted;
  packages.strSQLUser = logon_.user;
  packages.strSQLPassword = logon_.password;
  ASSERT_TRUE(packages.RetrievePackages());
  ComboBox models;
  packages.FillComboBoxWithETLModels(models);
  ASSERT_EQ(1U, models.List.Get().size()) << "Sales and SALES are one";
  ComboBox names;
  packages.FillComboBoxWithPackageFromETLModel(names, "Sales");
  const bool isSales = models.List.Get()[0] == "Sales";
  EXPECT_THAT(names.List.Get(), ElementsAre("Sales_Init")) << isSales;
  EXPECT_EQ(2, store.Remove("Sales_Init"));
}

TEST_P(OnServers, AConnectionThatDoesNotOpenLeavesItsErrorsAndNothingElse) {
  std::unique_ptr<ado::Connection> connection = databases_->NewConnection();
  std::string errorText = "before";
  EXPECT_FALSE(BuildConnection(*databases_, EtlSqlServer, logon_, connection, errorText, "nope"));
  EXPECT_EQ(nullptr, connection);
  EXPECT_THAT(errorText, testing::StartsWith("before\r\n"));
  EXPECT_THAT(errorText, HasSubstr("nope"));
  EXPECT_THAT(errorText, Not(HasSubstr("\r\n\r\n")));
}

}  // namespace
}  // namespace torvik

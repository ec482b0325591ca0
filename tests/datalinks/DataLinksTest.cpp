#include "datalinks/DataLinks.h"

#include <gmock/gmock.h>

#include "config/modCypher.h"
#include "datalinks/FieldReaders.h"
#include "fakes/DataLinkRow.h"
#include "fakes/FakeAdo.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeMessages.h"
#include "fakes/FakeProfile.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string kSelectModel = "SELECT * FROM dwm_data_link WHERE dwm_data_link.model = 'Sales'";
const std::string kSelectFiles =
    "SELECT * FROM dwm_data_link WHERE model = 'Sales' AND source_name = 'files'";

struct DataLinksTest : ::testing::Test {
  FakeAdo ado;
  FakeProfile profile;
  FakeClock clock;
  FakeMessages messages;
  std::unique_ptr<CodePages> codePages = NewIconvCodePages("windows-1252");
  DataLinks links{profile, codePages->Ansi(), clock, messages};
  std::unique_ptr<ado::Connection> connection = ado.NewConnection();
  std::vector<std::string> names = {"former"};

  DataLinksTest() {
    connection->Open();
    ado.state.tables["dwm_data_link"] = {{.name = "model"}};
    ado.state.rows[kSelectModel] = {
        kDataLinkColumns,
        {DataLinkRow("files", {{"Type", std::int64_t{3}},
                               {"ds_directory", std::string("C:\\old\\")},
                               {"ds_trusted_login", std::string("True")},
                               {"poll_interval", std::string("5")},
                               {"poll_duration", std::int64_t{70000}}}),
         DataLinkRow("orders",
                     {{"Type", std::int64_t{1}}, {"ds_password", std::string("s3cret")}})}};
  }

  bool Load() { return links.LoadDataLinks(*connection, "Sales_LoadDW", names); }

  void WriteSection(const std::map<std::string, std::string>& values) {
    for (const auto& [key, value] : values) {
      profile.WritePrivateProfileStringA("Data Source::files", key, value, "job.etl");
    }
  }
};

TEST_F(DataLinksTest, RowsAreReadWithTheirConversions) {
  ASSERT_TRUE(Load());
  EXPECT_THAT(names, ElementsAre("files", "orders"));
  const cDataSource* link = links.FindDataLink("files");
  ASSERT_NE(link, nullptr);
  EXPECT_EQ(link->strModelName, "Sales");
  EXPECT_EQ(link->etlType, 3);
  EXPECT_TRUE(link->blnDSTrustedLogin);
  EXPECT_EQ(link->strDSServer, "");
  EXPECT_EQ(link->intPollInterval, 5);
  EXPECT_EQ(link->intPollDuration, 0);  // out of 16 bits
  EXPECT_EQ(links.FindDataLink("FILES"), nullptr);
}

TEST_F(DataLinksTest, WithoutTheTableAMessageIsShownAndTheListStays) {
  ado.state.tables.clear();
  EXPECT_FALSE(Load());
  EXPECT_THAT(names, ElementsAre("former"));
  EXPECT_THAT(messages.boxes,
              ElementsAre(FakeMessages::ShownBox{
                  "dwm_data_link table not found in specified DataWarehouse database.\r\n"
                  "Select a different database",
                  "Checking DataWarehouse database", BoxIcon::Critical}));
  EXPECT_EQ(links.FindDataLink("files"), nullptr);
}

TEST_F(DataLinksTest, ASectionReplacesEveryValueAlsoByItsDefault) {
  ASSERT_TRUE(Load());
  WriteSection({{"Name", "renamed"},
                {"Type", "8"},
                {"TrustedLogin", "no"},
                {"FTPUSer", "u"},
                {"Password", ScramblePassword("pw", codePages->Ansi(), clock)}});
  links.ReadDataLinkSections("job.etl");
  const cDataSource* link = links.FindDataLink("renamed");
  ASSERT_NE(link, nullptr);
  EXPECT_EQ(link->etlType, 8);
  EXPECT_TRUE(link->blnDSTrustedLogin);
  EXPECT_EQ(link->strFTPUser, "u");
  EXPECT_EQ(link->strDSPassword, "pw");
  EXPECT_EQ(link->strModelName, "");  // absent keys
  EXPECT_EQ(link->strDSDirectory, "");
  EXPECT_EQ(link->intPollInterval, 0);
  EXPECT_EQ(links.FindDataLink("orders")->strDSPassword, "s3cret");  // has no section
}

TEST_F(DataLinksTest, ASectionWithoutANameLeavesItsLinkAlone) {
  ASSERT_TRUE(Load());
  WriteSection({{"Type", "not a number"}, {"Directory", "elsewhere"}});
  links.ReadDataLinkSections("job.etl");
  EXPECT_EQ(links.FindDataLink("files")->strDSDirectory, "C:\\old\\");
}

TEST_F(DataLinksTest, ANumberInASectionThatIsNoneIsAnErrorWithItsPlace) {
  const struct {
    const char* key;
    const char* value;
  } cases[] = {{"Type", ""}, {"Type", "flat"}, {"PollInterval", "32768"}, {"TransferData", "1x"}};
  for (const auto& c : cases) {
    ASSERT_TRUE(Load());
    profile.entries.clear();
    WriteSection({{"Name", "files"}, {"Type", "3"}});
    WriteSection({{c.key, c.value}});
    try {
      links.ReadDataLinkSections("job.etl");
      ADD_FAILURE() << c.key << "=" << c.value;
    } catch (const PlatformError& error) {
      EXPECT_THAT(error.Description(),
                  HasSubstr(std::string("job.etl, section [Data Source::files]: ") + c.key));
    }
  }
}

TEST_F(DataLinksTest, SectionsAreWrittenInTheirOrderAndReadBack) {
  links.WriteDataLinkSections("job.etl");  // no collection yet
  EXPECT_THAT(profile.entries, IsEmpty());
  ASSERT_TRUE(Load());
  links.WriteDataLinkSections("job.etl");
  std::string keys;
  for (const auto& entry : profile.entries) {
    if (entry.section == "Data Source::files") keys += entry.key + " ";
    EXPECT_THAT(entry.value, ::testing::Not(HasSubstr("s3cret")));
  }
  EXPECT_EQ(keys,
            "Name ModelName Type Server Database TrustedLogin User Password File Directory "
            "ConnectString TransferData FTPServer FTPUSer FTPPassword RemoteDir PollDuration "
            "PollInterval ");
  EXPECT_EQ(profile.Find("job.etl", "Data Source::files", "TrustedLogin")->value, "TRUE");
  EXPECT_EQ(profile.Find("job.etl", "Data Source::orders", "TrustedLogin")->value, "FALSE");
  links.ReadDataLinkSections("job.etl");
  EXPECT_EQ(links.FindDataLink("orders")->strDSPassword, "s3cret");
  EXPECT_EQ(links.FindDataLink("files")->intPollInterval, 5);
}

TEST_F(DataLinksTest, SavingUpdatesTheRowAndAddsSeparatorsToFlatFileLinksAlone) {
  const struct {
    std::int32_t type;
    std::int16_t transfer;
    const char* directory;
    const char* remote;
    const char* storedDirectory;
    const char* storedRemote;
  } cases[] = {
      {3, TransferFtp, "C:\\data", "in", "C:\\data\\", "in/"},
      {3, TransferShare, "/data/", "\\\\s\\in", "/data/", "\\\\s\\in\\"},
      {3, TransferNone, "C:\\data\\", "in", "C:\\data\\", "in"},
      {8, TransferFtp, "C:\\data", "in", "C:\\data", "in"},
  };
  for (const auto& c : cases) {
    ado.state.rows[kSelectFiles] = {kDataLinkColumns,
                                    {DataLinkRow("files", {{"Type", std::int64_t{77}}})}};
    cDataSource link;
    link.strModelName = "Sales";
    link.strName = "files";
    link.etlType = c.type;
    link.intTransferData = c.transfer;
    link.strDSDirectory = c.directory;
    link.strRemoteDir = c.remote;
    link.Save(*connection);
    const auto& row = ado.state.rows[kSelectFiles].rows[0];
    EXPECT_EQ(row[9], ado::Value(std::string(c.storedDirectory))) << c.directory;
    EXPECT_EQ(row[15], ado::Value(std::string(c.storedRemote))) << c.remote;
    EXPECT_EQ(row[2], ado::Value(std::int64_t{77}));  // the kind is never written
    EXPECT_EQ(link.strDSDirectory, c.storedDirectory);
  }
}

TEST_F(DataLinksTest, SavingALinkWithoutARowFailsWithItsName) {
  ASSERT_TRUE(Load());
  ado.state.rows[kSelectFiles] = {kDataLinkColumns, {}};
  try {
    links.SaveAllDataLinks(*connection);
    FAIL();
  } catch (const PlatformError& error) {
    EXPECT_THAT(error.Description(), HasSubstr("data link 'files' of model 'Sales'"));
  }
}

TEST_F(DataLinksTest, NamesThatBreakStatementsAreRefusedBeforeALinkIsSaved) {
  for (const char* key : {"Name", "ModelName"}) {
    ASSERT_TRUE(Load());
    EXPECT_NO_THROW(links.RequireUsableNames());
    WriteSection({{"Name", "files"}, {"ModelName", "Sales"}, {"Type", "3"}});
    WriteSection({{key, "x' OR source_name = 'orders"}});
    links.ReadDataLinkSections("job.etl");
    try {
      links.SaveAllDataLinks(*connection);
      ADD_FAILURE() << key;
    } catch (const PlatformError& error) {
      EXPECT_THAT(error.Description(), HasSubstr("holds the character ' in its name or model"));
    }
  }
}

TEST_F(DataLinksTest, OneRecordIsLoadedByItsOwnNamesAsTheyStand) {
  ado.state.rows
      ["SELECT * FROM dwm_data_link WHERE dwm_data_link.model = 'Sales' AND "
       "dwm_data_link.source_name = 'files'"] = {
      kDataLinkColumns, {DataLinkRow("files", {{"ds_user", std::string("me")}})}};
  cDataSource link;
  link.strModelName = "'Sales'";
  link.strName = "'files'";
  link.Load(*connection, "ignored", "ignored");
  EXPECT_EQ(link.strModelName, "0");  // read as a number
  EXPECT_EQ(link.strName, "files");
  EXPECT_EQ(link.strDSUser, "me");
}

TEST(FieldReaders, WholeNumbersAndTruths) {
  const struct {
    ado::Value value;
    std::int16_t whole;
    std::optional<bool> truth;
  } cases[] = {
      {ado::Null{}, 0, false},
      {std::int64_t{-1}, -1, true},
      {std::int64_t{40000}, 0, true},
      {2.5, 2, true},
      {3.5, 4, true},
      {0.0, 0, false},
      {std::string(" 12 "), 12, true},
      {std::string("12 apples"), 0, {}},
      {std::string("TRUE"), 0, true},
      {std::string("false"), 0, false},
      {std::string(""), 0, {}},
      {std::string("yes"), 0, {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(WholeNumberOf(c.value), c.whole) << TextOf(c.value);
    if (c.truth) {
      EXPECT_EQ(TruthOf(c.value), *c.truth) << TextOf(c.value);
    } else {
      EXPECT_THROW(TruthOf(c.value), PlatformError) << TextOf(c.value);
    }
  }
}

}  // namespace
}  // namespace torvik

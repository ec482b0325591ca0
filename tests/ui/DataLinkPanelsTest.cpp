// The editor panels of data links.

#include <gmock/gmock.h>

#include "fakes/FakeAdo.h"
#include "fakes/FakeFiles.h"
#include "fakes/FakeLogForm.h"
#include "fakes/FakeMessages.h"
#include "fakes/FakePickers.h"
#include "fakes/FakeShell.h"
#include "fakes/FakeWinInet.h"
#include "log/RunLog.h"
#include "transfer/FtpFuncModule.h"
#include "ui/AsideWork.h"
#include "ui/ctDLSQLServer.h"
#include "ui/ctDLlFlatFile.h"
#include "ui/ctlDLAccesFiles.h"
#include "ui/ctlDLExcelFiles.h"
#include "ui/ctlDLOrcaleServer.h"

namespace torvik {
namespace {

using testing::ElementsAre;

struct PanelTest : testing::Test {
  FakeAdo ado;
  FakeFiles files;
  FakeMessages messages;
  FakeShell shares;
  FakeWinInet internet;
  FakeShellBrowser browser;
  FakeFileDialogs dialogs;
  FakeLogForm logForm;
  RunLog log{files, messages};
  FtpFuncModule ftp{log, {internet, shares, files, messages, {}}};
  Observable<bool> hourglass;
  AsideWork aside{messages, hourglass};
  PanelServices services{browser, dialogs, ado, messages, ftp, files, aside};

  /// A record in which everything is set.
  static cDataSource Full() {
    cDataSource link;
    link.strDSServer = "server";
    link.strDSDatabase = "database";
    link.blnDSTrustedLogin = true;
    link.strDSUser = "user";
    link.strDSPassword = "password";
    link.strDSFile = "file";
    link.strDSDirectory = "directory";
    link.strDSConnectString = "string";
    link.intTransferData = TransferShare;
    link.strFTPServer = "ftp";
    link.strFTPUser = "ftpuser";
    link.strFTPPassword = "ftppassword";
    link.strRemoteDir = "remote";
    link.intPollInterval = 5;
    link.intPollDuration = 60;
    return link;
  }

  static std::string TextOf(const cDataSource& link) {
    return link.strDSServer + "," + link.strDSDatabase + "," +
           (link.blnDSTrustedLogin ? "trusted" : "") + "," + link.strDSUser + "," +
           link.strDSPassword + "," + link.strDSFile + "," + link.strDSDirectory + "," +
           link.strDSConnectString;
  }
};

TEST_F(PanelTest, GivingARecordBlanksWhatIsOfOtherFamilies) {
  ctDLlFlatFile flat(services);
  ctDLSQLServer sql(services);
  ctlDLAccesFiles access(services);
  ctlDLExcelFiles excel(services);
  ctlDLOrcaleServer oracle(services);
  const std::pair<DataLinkPanel*, const char*> cases[] = {
      {&flat, ",,,,,file,directory,"},
      {&sql, "server,database,trusted,user,password,,,"},
      {&access, ",,,user,password,file,,"},
      {&excel, ",,,user,password,file,,"},
      {&oracle, "server,database,,user,password,,,"}};
  for (const auto& [panel, left] : cases) {
    cDataSource link = Full();
    panel->SetObjDataSource(link);
    EXPECT_EQ(left, TextOf(link));
    EXPECT_EQ(&link, panel->ObjDataSource());
    // What concerns the transfer is nobody's to blank.
    EXPECT_EQ(TransferShare, link.intTransferData);
    EXPECT_EQ(5, link.intPollInterval);
    panel->ForgetDataSource();
  }
}

TEST_F(PanelTest, EveryFieldIsWrittenAtOnceIntoItsOwnRecordOnly) {
  ctDLlFlatFile flat(services);
  ctDLSQLServer sql(services);
  ctlDLAccesFiles access(services);
  ctlDLExcelFiles excel(services);
  ctlDLOrcaleServer oracle(services);
  using Text = Observable<std::string>;
  const struct {
    DataLinkPanel* panel;
    Text* field;
    std::string cDataSource::*property;
  } cases[] = {
      {&flat, &flat.txtSourceDataDir.Text, &cDataSource::strDSDirectory},
      {&flat, &flat.txtSourceRemDataDir.Text, &cDataSource::strRemoteDir},
      {&flat, &flat.txtSourceFTPServer.Text, &cDataSource::strFTPServer},
      {&flat, &flat.txtSourceFTPUsername.Text, &cDataSource::strFTPUser},
      {&flat, &flat.txtSourceFTPPassword.Text, &cDataSource::strFTPPassword},
      {&sql, &sql.txtSQLServer.Text, &cDataSource::strDSServer},
      {&sql, &sql.txtSQLUser.Text, &cDataSource::strDSUser},
      {&sql, &sql.txtSQLPassword.Text, &cDataSource::strDSPassword},
      {&sql, &sql.cmbSQLDatabases.Text, &cDataSource::strDSDatabase},
      {&oracle, &oracle.txtOracleServer.Text, &cDataSource::strDSServer},
      {&oracle, &oracle.txtOracleUser.Text, &cDataSource::strDSUser},
      {&oracle, &oracle.txtOraclePassword.Text, &cDataSource::strDSPassword},
      {&oracle, &oracle.cmbORADatabases.Text, &cDataSource::strDSDatabase},
      {&access, &access.txtAccessFile.Text, &cDataSource::strDSFile},
      {&access, &access.txtAccessUser.Text, &cDataSource::strDSUser},
      {&access, &access.txtAccessPassword.Text, &cDataSource::strDSPassword},
      {&excel, &excel.txtExcelFile.Text, &cDataSource::strDSFile},
      {&excel, &excel.txtExcelUser.Text, &cDataSource::strDSUser},
      {&excel, &excel.txtExcelPassword.Text, &cDataSource::strDSPassword},
  };
  int number = 0;
  for (const auto& c : cases) {
    cDataSource first = Full(), second;
    c.panel->SetObjDataSource(first);
    EXPECT_EQ(first.*c.property, c.field->Get()) << number;
    c.field->Set("changed");
    EXPECT_EQ("changed", first.*c.property) << number;
    c.panel->SetObjDataSource(second);
    EXPECT_EQ("changed", first.*c.property) << number;
    EXPECT_EQ("", c.field->Get()) << number;
    EXPECT_EQ("", second.*c.property) << number;
    ++number;
  }
}

TEST_F(PanelTest, PollFieldsTakeDigits) {
  ctDLlFlatFile flat(services);
  cDataSource link = Full();
  flat.SetObjDataSource(link);
  const struct {
    const char* text;
    const char* shown;
    int stored;
  } cases[] = {{"15", "15", 15},
               {"1a5", "15", 15},
               {"", "", 0},
               {"abc", "", 0},
               {"-7", "7", 7},
               {"0", "0", 0},
               {"32767", "32767", 32767},
               {"32768", "32767", 32767},
               {"99999999999", "32767", 32767},
               {"007", "007", 7}};
  for (const auto& c : cases) {
    flat.txtSourceRemPollInterval.Text.Set(c.text);
    EXPECT_EQ(c.shown, flat.txtSourceRemPollInterval.Text.Get()) << c.text;
    EXPECT_EQ(c.stored, link.intPollInterval) << c.text;
  }
  flat.txtSourceRemPollDuration.Text.Set("120");
  EXPECT_EQ(120, link.intPollDuration);
  // A negative number is shown as it stands, and kept.
  cDataSource endless;
  endless.intPollDuration = -1;
  flat.SetObjDataSource(endless);
  EXPECT_EQ("-1", flat.txtSourceRemPollDuration.Text.Get());
  EXPECT_EQ(-1, endless.intPollDuration);
  for (const char32_t key : {U'0', U'9', char32_t{8}}) EXPECT_TRUE(DigitsBox::AcceptsKey(key));
  for (const char32_t key : {U'a', U'-', U' ', U'.', U'\u0663'})
    EXPECT_FALSE(DigitsBox::AcceptsKey(key));
}

TEST_F(PanelTest, TheWayOfTheTransferOpensItsFields) {
  ctDLlFlatFile flat(services);
  const struct {
    bool copies, byShare;
    int transfer;
    bool browses, byFtp;
  } cases[] = {{false, false, 0, false, false},
               {false, true, 0, false, false},
               {true, false, 1, false, true},
               {true, true, 2, true, false}};
  cDataSource link;
  flat.SetObjDataSource(link);
  for (const auto& c : cases) {
    flat.cbSourceCopyRemData.Value.Set(c.copies);
    flat.optSourceFromShare.Value.Set(c.byShare);
    EXPECT_EQ(c.transfer, link.intTransferData);
    EXPECT_NE(flat.optSourceFromShare.Value.Get(), flat.optSourceFromFTP.Value.Get());
    for (const Control* control : std::initializer_list<const Control*>{
             &flat.txtSourceRemDataDir, &flat.lblSourceRemDataDir, &flat.optSourceFromFTP,
             &flat.optSourceFromShare, &flat.txtSourceRemPollInterval, &flat.lblPollDurMinutes})
      EXPECT_EQ(c.copies, control->Enabled.Get());
    for (const Control* control : std::initializer_list<const Control*>{
             &flat.txtSourceFTPServer, &flat.lblSourceFTPPassword, &flat.cmdTestFTP})
      EXPECT_EQ(c.byFtp, control->Enabled.Get());
    EXPECT_EQ(c.browses, flat.cmdSourceRemDataDir.Enabled.Get());
    EXPECT_EQ(c.copies, flat.imgRemoteDir.Visible.Get());
    EXPECT_EQ(!c.copies, flat.imgRemoteDirGrey.Visible.Get());
  }
  // A record is shown as it stands.
  constexpr std::int16_t kUnknown = 9;
  for (const std::int16_t transfer : {TransferNone, TransferFtp, TransferShare, kUnknown}) {
    cDataSource other;
    other.intTransferData = transfer;
    flat.SetObjDataSource(other);
    EXPECT_EQ(transfer, other.intTransferData);
    EXPECT_EQ(transfer == TransferFtp || transfer == TransferShare,
              flat.cbSourceCopyRemData.Value.Get());
    EXPECT_EQ(transfer == TransferShare, flat.optSourceFromShare.Value.Get());
  }
}

TEST_F(PanelTest, DirectoriesAreChosenAndGetTheirSeparator) {
  ctDLlFlatFile flat(services);
  cDataSource link;
  link.strDSDirectory = "C:\\old\\";
  flat.SetObjDataSource(link);
  flat.cmdSourceDataDir_Click();
  EXPECT_EQ("C:\\old\\", link.strDSDirectory);
  browser.choice = "C:\\new";
  flat.txtSourceDataDir_DblClick();
  EXPECT_EQ("C:\\new\\", link.strDSDirectory);
  EXPECT_EQ("Select local Directory...", browser.asked[1].title);
  EXPECT_EQ("C:\\old", browser.asked[1].selection);
  for (const auto& [typed, left] :
       {std::pair{"C:\\a", "C:\\a\\"}, {"/a/", "/a/"}, {"C:\\a\\", "C:\\a\\"}, {"", ""}}) {
    flat.txtSourceDataDir.Text.Set(typed);
    flat.txtSourceDataDir_LostFocus();
    EXPECT_EQ(left, link.strDSDirectory) << typed;
  }
  browser.choice = "\\\\s\\x";
  flat.cmdSourceRemDataDir_Click();
  EXPECT_EQ("\\\\s\\x", link.strRemoteDir);
  EXPECT_EQ("Select Remote Directory...", browser.asked.back().title);
}

TEST_F(PanelTest, TheRightsOnAnFtpServerAreTested) {
  log.SetForm(logForm);
  internet.files["/in/status"] = "ready\r\n";
  ctDLlFlatFile flat(services);
  cDataSource link;
  link.strFTPServer = "ftp.example.com";
  link.strRemoteDir = "in";
  flat.SetObjDataSource(link);
  std::vector<bool> pointers;
  hourglass.Observe([&](bool on) { pointers.push_back(on); });
  flat.cmdTestFTP_Click();
  EXPECT_THAT(pointers, ElementsAre(true, false));
  EXPECT_THAT(messages.boxes, ElementsAre(FakeMessages::ShownBox{
                                  "Check operation succeeded! The user has read and write rights.",
                                  "FTP Check", BoxIcon::Information}));
  internet.files.clear();
  flat.cmdTestFTP_Click();
  ASSERT_EQ(2u, messages.boxes.size());
  EXPECT_EQ(BoxIcon::Exclamation, messages.boxes[1].icon);
  EXPECT_FALSE(hourglass.Get());
}

TEST_F(PanelTest, TheLocalDirectoryOfFlatFilesIsTested) {
  files.Put("C:\\in\\a.csv", std::string(1500, 'x'));
  files.Put("C:\\in\\b.csv", "id");
  files.Put("C:\\in\\old\\c.csv", "not of this directory");
  files.Put("C:\\one\\a.csv", "x");
  files.Put("C:\\locked\\a.csv", "x");
  files.Put("C:\\locked\\b.csv", "x");
  files.locked.insert("C:/locked/b.csv");
  files.Put("C:\\gone\\a.csv", "x");
  files.Fail("C:\\gone\\a.csv", std::errc::io_error);
  files.MakeDirectory("C:\\empty");
  const auto reason = [](std::errc error) { return make_error_code(error).message(); };
  const struct {
    std::string directory;
    bool copies;
    std::string text;
    BoxIcon icon;
  } cases[] = {
      {"C:\\in\\", false, "2 files in C:\\in\\ can be read: 1,502 bytes.", BoxIcon::Information},
      {"C:\\one\\", true, "1 file in C:\\one\\ can be read: 1 byte.", BoxIcon::Information},
      {"C:\\empty\\", true,
       "There are no files in C:\\empty\\ yet: they are fetched before each run.",
       BoxIcon::Information},
      {"C:\\empty\\", false,
       "There are no files in C:\\empty\\. Put the files there, or choose another directory.",
       BoxIcon::Exclamation},
      {"C:\\none\\", false,
       "Cannot read C:\\none\\: " + reason(std::errc::no_such_file_or_directory) +
           ". Make it readable for the user of the job, or choose another directory.",
       BoxIcon::Critical},
      {"C:\\locked\\", false,
       "Cannot read C:\\locked\\b.csv: " + reason(std::errc::permission_denied) +
           ". Make it readable for the user of the job, or choose another directory.",
       BoxIcon::Critical},
      {"C:\\gone\\", true,
       "Cannot read C:\\gone\\a.csv: " + reason(std::errc::io_error) +
           ". Make it readable for the user of the job, or choose another directory.",
       BoxIcon::Critical},
      {"", false, "Choose the local directory first.", BoxIcon::Exclamation},
  };
  ctDLlFlatFile flat(services);
  flat.cmdTest_Click();
  EXPECT_TRUE(messages.boxes.empty()) << "there is no record";
  for (const auto& c : cases) {
    cDataSource link;
    link.strDSDirectory = c.directory;
    link.intTransferData = c.copies ? TransferShare : TransferNone;
    flat.SetObjDataSource(link);
    messages.boxes.clear();
    flat.cmdTest_Click();
    EXPECT_THAT(messages.boxes, ElementsAre(FakeMessages::ShownBox{c.text, "Test", c.icon}))
        << c.directory;
    EXPECT_FALSE(hourglass.Get());
  }
}

TEST_F(PanelTest, ServersListTheirDatabasesOrSayWhyNot) {
  ctDLSQLServer sql(services);
  ctlDLOrcaleServer oracle(services);
  cDataSource link;
  link.strDSServer = "SRV";
  link.strDSDatabase = "B";
  sql.SetObjDataSource(link);
  ado.state.rows["SELECT DISTINCT name FROM master.dbo.sysdatabases ORDER BY name"] = {
      {"name"}, {{std::string("a")}, {std::string("b")}}};
  sql.cmbSQLDatabases_DropDown();
  EXPECT_THAT(sql.cmbSQLDatabases.List.Get(), ElementsAre("a", "b"));
  EXPECT_EQ("b", link.strDSDatabase);
  const std::vector<ado::ProviderError> down = {{1, "down"}};
  ado.state.failOpen = down;
  sql.cmbSQLDatabases_DropDown();
  oracle.SetObjDataSource(link);
  ado.state.failOpen = down;
  oracle.cmbORADatabases_DropDown();
  const std::string text = "Error while connecting to : SRV\r\n\r\ndown";
  EXPECT_THAT(
      messages.boxes,
      ElementsAre(FakeMessages::ShownBox{text, "Connect to SQL Server", BoxIcon::Critical},
                  FakeMessages::ShownBox{text, "Connect to Oracle Server", BoxIcon::Critical}));
  // A list that breaks off leaves the record's database.
  ado.state.rows["SELECT DISTINCT name FROM master.dbo.sysdatabases ORDER BY name"].failAt = 1;
  sql.SetObjDataSource(link);
  sql.cmbSQLDatabases_DropDown();
  EXPECT_EQ("b", link.strDSDatabase);
  EXPECT_EQ("b", sql.cmbSQLDatabases.Text.Get());
  sql.SetObjDataSource(link);
  sql.optSQLSecureLogin.Value.Set(true);
  EXPECT_TRUE(link.blnDSTrustedLogin);
  EXPECT_FALSE(sql.txtSQLUser.Enabled.Get() || sql.lblSQLPassword.Enabled.Get());
  sql.optSQLUserLogin.Value.Set(true);
  EXPECT_FALSE(link.blnDSTrustedLogin);
}

TEST_F(PanelTest, PickersHaveTheirTitlesAndFilters) {
  ctDLSQLServer sql(services);
  ctlDLOrcaleServer oracle(services);
  ctlDLAccesFiles access(services);
  ctlDLExcelFiles excel(services);
  cDataSource link;
  access.SetObjDataSource(link);
  dialogs.choice = "C:\\a.mdb";
  access.cmdAccessFile_Click();
  excel.cmdExcelFile_Click();
  EXPECT_EQ("C:\\a.mdb", link.strDSFile);
  EXPECT_EQ("Browse for Access File", dialogs.opened[0].title);
  EXPECT_EQ("Microsoft Access Files (*.mdb)|*.mdb|All Files (*.*)|*.*", dialogs.opened[0].filter);
  EXPECT_EQ("Browse for Excel File", dialogs.opened[1].title);
  EXPECT_EQ("Microsoft Excel Files (*.xls)|*.xls|All Files (*.*)|*.*", dialogs.opened[1].filter);
  browser.choice = "SRV";
  sql.cmdSQLServer_Click();
  oracle.cmdOracleServer_Click();
  EXPECT_EQ("Select your DataSource SQLServer...", browser.asked[0].title);
  EXPECT_EQ("Select your DataSource OracleServer...", browser.asked[1].title);
  EXPECT_EQ("SRV", oracle.txtOracleServer.Text.Get());
}

}  // namespace
}  // namespace torvik

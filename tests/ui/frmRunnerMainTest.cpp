// The main form as an operator works with it, without a toolkit.

#include "ui/frmRunnerMain.h"

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <optional>
#include <utility>

#include "fakes/DataLinkRow.h"
#include "fakes/Gate.h"
#include "fakes/ProgramTest.h"

namespace torvik {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct MainFormTest : ProgramTest {
  MainFormTest() {
    const std::pair<const char*, std::vector<ado::Value>> links[] = {
        {"orders", DataLinkRow("orders", {{"Type", std::int64_t{3}},
                                          {"ds_directory", std::string("C:\\in\\")}})},
        {"erp", DataLinkRow("erp", {{"Type", std::int64_t{1}}, {"ds_server", std::string("ERP")}})},
        {"odd", DataLinkRow("odd", {{"Type", std::int64_t{2}}})}};
    FakeRows all{kDataLinkColumns, {}};
    for (const auto& [name, row] : links) {
      all.rows.push_back(row);
      ado.state.rows["SELECT * FROM dwm_data_link WHERE model = 'Sales' AND source_name = '" +
                     std::string(name) + "'"] = {kDataLinkColumns, {row}};
    }
    ado.state.rows["SELECT * FROM dwm_data_link WHERE dwm_data_link.model = 'Sales'"] = all;
  }

  frmRunnerMain& Open() {
    Start("");
    Form().OpenJobFile("job.etl");
    return Form();
  }

  std::string LastBox() const {
    if (messages.boxes.empty()) return "no box";
    const auto& box = messages.boxes.back();
    return box.title + "|" + box.text + (box.icon == BoxIcon::Critical ? "|critical" : "");
  }

  /// Which of these gets the keyboard.
  void WatchFocus(const char* name, Control& control) {
    control.SetFocus.Observe([this, name] { focus = name; });
  }
  std::string focus;

  /// The next connection opens when this has been done, as an event that comes meanwhile.
  void WhileTheNextConnectionOpens(std::function<void()> event) {
    gate_.emplace();
    opens_ = false;
    ado.state.onOpen = [this, pass = gate_->Pass()] {
      opens_ = true;
      pass();
    };
    messages.onPump = [this, event = std::move(event), hasCome = false]() mutable {
      if (!opens_ || std::exchange(hasCome, true)) return;
      EXPECT_TRUE(Form().Hourglass.Get());
      event();
      gate_->Open();
    };
  }

 private:
  std::optional<Gate> gate_;
  std::atomic<bool> opens_ = false;
};

TEST_F(MainFormTest, ANewJobHasDefaultsAndMarksWhatIsMissing) {
  Start("");
  frmRunnerMain& form = Form();
  EXPECT_EQ("(local)", form.txtDTSServer.Text.Get());
  EXPECT_EQ("sa", form.txtDestSQLUsername.Text.Get());
  EXPECT_TRUE(form.cmbETLPackage.Missing.Get());
  EXPECT_FALSE(form.txtDTSServer.Missing.Get());
  EXPECT_FALSE(form.cmdExecute.Enabled.Get());
  EXPECT_FALSE(form.Modified.Get());
  const std::pair<Observable<std::string>*, const char*> fields[] = {
      {&form.cmbETLPackage.Text, "Sales_LoadDW"},
      {&form.txtDTSErrorFile.Text, "e.txt"},
      {&form.cmbDestDB.Text, "DW"}};
  for (const auto& [field, text] : fields) {
    EXPECT_FALSE(form.cmdExecute.Enabled.Get());
    field->Set(text);
  }
  EXPECT_TRUE(form.cmdExecute.Enabled.Get());
  EXPECT_TRUE(form.DTSInfoComplete() && form.DWInfoComplete());
  EXPECT_TRUE(form.Modified.Get());
  EXPECT_FALSE(form.cmbETLPackage.Missing.Get());
}

TEST_F(MainFormTest, ExecuteNamesTheFirstFieldThatItMisses) {
  const struct {
    const char* package;
    const char* server;
    const char* database;
    const char* errorFile;
    const char* focus;
    int page;
  } cases[] = {{"", "", "", "", "package", 0},
               {"", "S", "DW", "e", "package", 0},
               {"P_Init", "", "", "e", "server", 1},
               {"P_Init", "S", "", "e", "database", 1},
               {"P_Init", "S", "DW", "", "errorFile", 0}};
  Start("");
  frmRunnerMain& form = Form();
  WatchFocus("package", form.cmbETLPackage);
  WatchFocus("server", form.txtDestServer);
  WatchFocus("database", form.cmbDestDB);
  WatchFocus("errorFile", form.txtDTSErrorFile);
  for (const auto& c : cases) {
    form.cmbETLPackage.Text.Set(c.package);
    form.txtDestServer.Text.Set(c.server);
    form.cmbDestDB.Text.Set(c.database);
    form.txtDTSErrorFile.Text.Set(c.errorFile);
    form.tabDataInfo.Tab.Set(1 - c.page);
    form.cmdExecute_Click();
    EXPECT_EQ(c.focus, focus);
    EXPECT_EQ(c.page, form.tabDataInfo.Tab.Get()) << c.focus;
    EXPECT_EQ(
        focus == "errorFile"
            ? "DTS Package Info Check input|Please fill in Error File before Executing DTS "
              "Package|critical"
            : "Connect to Datawarehouse server|Please fill in DTS Package, DTS Server and Data "
              "Warehouse database|critical",
        LastBox());
  }
  EXPECT_THAT(host.state.calls, IsEmpty());
}

TEST_F(MainFormTest, ExecuteRunsTheJobAndShowsHowItEnds) {
  frmRunnerMain& form = Open();
  form.cmdExecute_Click();
  EXPECT_EQ(RunVerdict::Ok, form.Monitor.Verdict.Get()) << LastBox();
  ASSERT_FALSE(form.Monitor.Lines().empty());
  EXPECT_EQ("Executed succesfully ...", form.Monitor.Lines().back());
  EXPECT_FALSE(form.Busy.Get() || form.Monitor.Runs.Get() || form.Hourglass.Get());
  EXPECT_TRUE(form.cmdExecute.Enabled.Get() && form.cmdShowErrorFile.Enabled.Get());
  EXPECT_EQ("job.etl", registry.keys["software\\quor\\torvik\\torv"]["lastusedconfigfile"]);
  form.cmdShowErrorFile_Click();
  EXPECT_THAT(processes.commandLines, testing::Contains(HasSubstr("NOTEPAD.EXE \"err.txt\"")));
}

TEST_F(MainFormTest, CloseDuringARunOnlyCancelsTheWait) {
  frmRunnerMain& form = Open();
  host.state.onExecute = [&](auto&) {
    EXPECT_TRUE(form.Busy.Get());
    form.cmdClose_Click();
    form.cmdExecute_Click();
    EXPECT_TRUE(form.IsOpen());
  };
  form.cmdExecute_Click();
  EXPECT_THAT(files.Text("err.txt"), HasSubstr("Waiting for end of execution\r\n"));
  EXPECT_TRUE(program.remoteData.IsCancelRequested());
  form.cmdClose_Click();
  EXPECT_FALSE(form.IsOpen());
}

TEST_F(MainFormTest, APanelEditsTheSelectedLinkAndSavingWritesIt) {
  frmRunnerMain& form = Open();
  form.cmdLoadDataLinks_Click();
  EXPECT_THAT(form.lstDataLinks.List.Get(), ElementsAre("orders", "erp", "odd"));
  const std::pair<int, const Observable<bool>*> panels[] = {{0, &form.ctDLlFlatFileOBJ.Visible},
                                                            {1, &form.ctDLSQLServerOBJ.Visible}};
  for (const auto& [position, visible] : panels) {
    form.lstDataLinks.ListIndex.Set(position);
    form.lstDataLinks_Click();
    EXPECT_TRUE(visible->Get() && form.DataSourceInfoPresent()) << position;
  }
  EXPECT_FALSE(form.ctDLlFlatFileOBJ.Visible.Get());
  form.ctDLSQLServerOBJ.txtSQLServer.Text.Set("ERP2");
  EXPECT_TRUE(form.Modified.Get());
  form.mnuFileSave_Click();
  EXPECT_FALSE(form.Modified.Get()) << LastBox();
  EXPECT_EQ("ERP2", profile.Find("job.etl", "Data Source::erp", "Server")->value);
  form.lstDataLinks.ListIndex.Set(2);
  form.lstDataLinks_Click();
  EXPECT_FALSE(form.DataSourceInfoPresent() || form.ctDLSQLServerOBJ.Visible.Get());
}

TEST_F(MainFormTest, EditsOfLinksStayUntilTheOperatorGivesThemUp) {
  frmRunnerMain& form = Open();
  const auto edit = [&](const char* server) {
    form.cmdLoadDataLinks_Click();
    form.lstDataLinks.ListIndex.Set(1);
    form.lstDataLinks_Click();
    form.ctDLSQLServerOBJ.txtSQLServer.Text.Set(server);
    form.lstDataLinks.ListIndex.Set(2);  // a kind without a panel
    form.lstDataLinks_Click();
  };
  edit("ERP2");
  form.mnuFileSave_Click();
  EXPECT_EQ("ERP2", profile.Find("job.etl", "Data Source::erp", "Server")->value);
  edit("ERP3");
  const std::size_t links = form.lstDataLinks.List.Get().size();
  // Letters typed and taken back, and another package of the same model, change nothing.
  for (const char* package : {"Sales_LoadDWx", "Sales_LoadDW", "Sales_Init"}) {
    form.cmbETLPackage.Text.Set(package);
    EXPECT_EQ(links, form.lstDataLinks.List.Get().size()) << package;
  }
  form.cmbETLPackage_LostFocus();
  EXPECT_EQ(links, form.lstDataLinks.List.Get().size());
  EXPECT_THAT(messages.questions, IsEmpty());
  const struct {
    const char* choice;
    std::size_t links;
    const char* database;
  } cases[] = {{"Cancel", links, "DW"}, {"Discard", 0, "DW2"}};
  for (const auto& c : cases) {
    messages.choice = c.choice;
    form.cmbDestDB.Text.Set("DW2");
    form.cmbDestDB_LostFocus();
    EXPECT_THAT(messages.questions.back().text,
                HasSubstr("were edited, and the job now has others"));
    EXPECT_EQ(c.links, form.lstDataLinks.List.Get().size());
    EXPECT_EQ(c.database, form.cmbDestDB.Text.Get());
  }
  EXPECT_EQ(nullptr, program.dataLinks.FindDataLink("erp"));
}

TEST_F(MainFormTest, EventsAreHandledDuringATestAndCloseWaitsForItsEnd) {
  frmRunnerMain& form = Open();
  form.cmdLoadDataLinks_Click();
  form.lstDataLinks.ListIndex.Set(1);
  form.lstDataLinks_Click();
  WhileTheNextConnectionOpens([&] {
    form.mnuFileNew_Click();
    form.OpenJobFile("job.etl");
    form.cmdExecute_Click();
    form.ctDLSQLServerOBJ.cmdTest_Click();
    EXPECT_TRUE(form.ctDLSQLServerOBJ.Visible.Get());
    EXPECT_THAT(host.state.calls, IsEmpty());
    form.cmdClose_Click();
    EXPECT_TRUE(form.IsOpen());
  });
  form.ctDLSQLServerOBJ.cmdTest_Click();
  EXPECT_EQ("Test|It can be opened: ERP", LastBox());
  EXPECT_EQ(1u, messages.boxes.size());
  EXPECT_FALSE(form.Hourglass.Get());
  EXPECT_FALSE(form.IsOpen());
}

TEST_F(MainFormTest, EventsAreHandledWhileTheWarehouseIsConnectedAndCloseMeansThatNothingFollows) {
  const struct {
    const char* what;
    std::function<void(frmRunnerMain&)> click;
  } cases[] = {{"load", [](frmRunnerMain& form) { form.cmdLoadDataLinks_Click(); }},
               {"save", [](frmRunnerMain& form) { form.mnuFileSave_Click(); }},
               {"execute", [](frmRunnerMain& form) { form.cmdExecute_Click(); }}};
  for (const auto& c : cases) {
    for (const bool closes : {false, true}) {
      SCOPED_TRACE(c.what);
      frmRunnerMain& form = Open();
      form.cmdLoadDataLinks_Click();
      for (const char* database : {"DW2", "DW"}) {  // the links are those of another one
        form.cmbDestDB.Text.Set(database);
        form.cmbDestDB_LostFocus();
      }
      host.state.calls.clear();
      bool hasCome = false;
      WhileTheNextConnectionOpens([&] {
        hasCome = true;
        form.mnuFileNew_Click();
        form.cmdExecute_Click();
        if (closes) form.cmdClose_Click();
        EXPECT_TRUE(form.IsOpen());
      });
      c.click(form);
      EXPECT_TRUE(hasCome);
      EXPECT_EQ(closes, form.lstDataLinks.List.Get().empty());
      EXPECT_EQ(!closes && c.what == std::string("execute"), !host.state.calls.empty());
      EXPECT_NE(closes, form.IsOpen());
      EXPECT_FALSE(form.Hourglass.Get());
      EXPECT_EQ("no box", LastBox());
    }
  }
}

TEST_F(MainFormTest, EventsAreHandledWhileAServerListsAndWhatIsTypedMeanwhileStays) {
  frmRunnerMain& form = Open();
  form.cmdLoadDataLinks_Click();
  const struct {
    TextBox* box;  ///< Null: the list's own field.
    std::string typed;
    bool isListed;
  } cases[] = {{&form.txtDestServer, "OTHER", false},
               {&form.txtDestServer, "DWPROD", true},
               {nullptr, "mast", false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.typed);
    ado.state.rows["SELECT DISTINCT name FROM master.dbo.sysdatabases ORDER BY name"] = {
        {"name"}, {{std::string("dw")}, {std::string("master")}}};
    form.txtDestServer.Text.Set("DWPROD");
    form.cmbDestDB.Refill({}, -1);
    form.cmbDestDB.Text.Set("dw");
    WhileTheNextConnectionOpens([&] { (c.box ? c.box->Text : form.cmbDestDB.Text).Set(c.typed); });
    form.cmbDestDB_DropDown();
    EXPECT_EQ(c.isListed ? 2u : 0u, form.cmbDestDB.List.Get().size());
    EXPECT_EQ(c.box ? "dw" : c.typed, form.cmbDestDB.Text.Get());
    EXPECT_FALSE(form.Hourglass.Get());
  }
  EXPECT_TRUE(messages.boxes.empty());
}

TEST_F(MainFormTest, AFileThatIsNoJobLeavesWhatIsOpen) {
  frmRunnerMain& form = Open();
  form.cmdExecute_Click();
  files.Put("noise.etl", "\x01\x02[[[");
  form.OpenJobFile("noise.etl");
  EXPECT_THAT(LastBox(), AllOf(HasSubstr("noise.etl"), HasSubstr("It is no job file")));
  EXPECT_EQ("job.etl", form.TorvConfigFile);
  EXPECT_EQ("Sales_LoadDW", form.cmbETLPackage.Text.Get());
  EXPECT_EQ(RunVerdict::Ok, form.Monitor.Verdict.Get());
  // Another job has not run yet.
  form.mnuFileNew_Click();
  EXPECT_EQ(RunVerdict::None, form.Monitor.Verdict.Get());
  EXPECT_THAT(form.Monitor.Lines(), IsEmpty());
}

TEST_F(MainFormTest, WhatIsNotSavedIsAskedFor) {
  const struct {
    const char* answer;
    bool closes, saves;
  } cases[] = {{"Cancel", false, false}, {"Discard", true, false}, {"Save", true, true}};
  for (const auto& c : cases) {
    frmRunnerMain& form = Open();
    const std::string server = c.saves ? "NEW" : "OTHER";
    form.txtDTSServer.Text.Set(server);
    messages.choice = c.answer;
    form.cmdClose_Click();
    EXPECT_EQ("Save the changes to \"job.etl\"?", messages.questions.back().text);
    EXPECT_EQ(!c.closes, form.IsOpen());
    EXPECT_EQ(c.saves ? "NEW" : "DTSPROD",
              profile.Find("job.etl", "DTS Server Info", "DTSServer")->value);
  }
  messages.questions.clear();
  Open().cmdClose_Click();
  EXPECT_THAT(messages.questions, IsEmpty());
}

TEST_F(MainFormTest, ALinkWhoseNameBreaksStatementsIsNeitherSavedNorUsed) {
  for (const auto& [key, value] : {std::pair("Name", "x' OR '1' = '1"), std::pair("Type", "1")})
    profile.WritePrivateProfileStringA("Data Source::erp", key, value, "job.etl");
  frmRunnerMain& form = Open();
  form.txtDTSServer.Text.Set("NEW");
  for (const bool executes : {false, true}) {
    messages.boxes.clear();
    executes ? form.cmdExecute_Click() : form.mnuFileSave_Click();
    EXPECT_THAT(LastBox(), HasSubstr("\"x' OR '1' = '1\" of model \"\" holds the character '"));
  }
  EXPECT_EQ("DTSPROD", profile.Find("job.etl", "DTS Server Info", "DTSServer")->value);
  EXPECT_EQ("", files.Text("e.txt"));
}

TEST_F(MainFormTest, ALogDirectoryThatHoldsMoreThanLogsIsAskedAboutOnce) {
  frmRunnerMain& form = Open();
  files.Put("C:\\data\\orders.csv", "1");
  form.txtLogFilesDir.Text.Set("C:\\data\\");
  messages.choice = "Cancel";
  form.mnuFileSave_Click();
  EXPECT_THAT(messages.questions.back().text,
              HasSubstr("log directory C:\\data\\, among them:\r\na file that no run has written, "
                        "orders.csv\r\nUse it all the same?"));
  form.cmdExecute_Click();
  EXPECT_EQ(messages.questions.size(), 2u);
  EXPECT_TRUE(form.Modified.Get());
  EXPECT_TRUE(files.Exists("C:\\data\\orders.csv"));
  messages.choice = "Use it";
  form.mnuFileSave_Click();
  EXPECT_FALSE(form.Modified.Get());
  form.mnuFileSave_Click();
  EXPECT_EQ(messages.questions.size(), 3u);
  for (const char* unusable : {"C:\\", "/", "C:\\hers\\"}) {
    files.owners["C:/hers"] = "anna";
    form.txtLogFilesDir.Text.Set(unusable);
    messages.boxes.clear();
    form.mnuFileSave_Click();
    EXPECT_THAT(LastBox(), AllOf(HasSubstr("log directory"), HasSubstr("|critical"))) << unusable;
  }
  EXPECT_EQ(messages.questions.size(), 3u);
}

TEST_F(MainFormTest, AJobFileThatSomeoneElseHasChangedIsNotReplacedUnasked) {
  frmRunnerMain& form = Open();
  files.Put("job.etl", "changed by someone else");
  messages.choice = "Cancel";
  form.txtDTSServer.Text.Set("NEW");
  form.mnuFileSave_Click();
  EXPECT_THAT(messages.questions.back().text, HasSubstr("job.etl was changed by someone else"));
  EXPECT_EQ("DTSPROD", profile.Find("job.etl", "DTS Server Info", "DTSServer")->value);
  EXPECT_TRUE(form.Modified.Get());
  messages.choice = "Reload";
  form.mnuFileSave_Click();
  EXPECT_EQ("DTSPROD", form.txtDTSServer.Text.Get());
  EXPECT_FALSE(form.Modified.Get());
  files.Put("job.etl", "changed once more");
  form.txtDTSServer.Text.Set("NEW");
  messages.choice = "Replace";
  form.mnuFileSave_Click();
  EXPECT_EQ("NEW", profile.Find("job.etl", "DTS Server Info", "DTSServer")->value);
}

TEST_F(MainFormTest, OpenAndSaveUseTheirDialogs) {
  Start("");
  frmRunnerMain& form = Form();
  form.cmdOpen_Click();
  EXPECT_EQ("", form.TorvConfigFile);
  dialogs.choice = "job.etl";
  form.cmdOpen_Click();
  EXPECT_EQ("Torv : Open Configuration", dialogs.opened.back().title);
  EXPECT_EQ("ETL Files (*.etl)|*.etl", dialogs.opened.back().filter);
  EXPECT_EQ("Torv : [job.etl]", form.Caption.Get());
  EXPECT_EQ("Sales", form.cmbETLModel.Text.Get());
  dialogs.choice = "other.etl";
  form.cmdSave_Click();
  EXPECT_EQ("Torv : Save Configuration", dialogs.saved.back().title);
  EXPECT_EQ("etl", dialogs.saved.back().defaultExtension);
  EXPECT_EQ("Torv : [other.etl]", form.Caption.Get()) << LastBox();
  EXPECT_EQ("DW", profile.Find("other.etl", "Datawarehouse Server Info", "DWDB")->value);
  dialogs.choice = "missing.etl";
  form.cmdOpen_Click();
  EXPECT_EQ("Torv Error|Error: Can't load Config file missing.etl|critical", LastBox());
  EXPECT_EQ("missing.etl", form.TorvConfigFile);
  EXPECT_EQ("Torv : [missing.etl]", form.Caption.Get());
  form.mnuFileNew_Click();
  EXPECT_EQ("", form.TorvConfigFile + form.cmbETLPackage.Text.Get());
  EXPECT_EQ("(local)", form.txtDTSServer.Text.Get());
}

TEST_F(MainFormTest, AWarehouseThatIsGoneStopsSavingAndExecuting) {
  frmRunnerMain& form = Open();
  for (const bool executes : {false, true}) {
    ado.state.failOpen = std::vector<ado::ProviderError>{{1, "no route"}};
    form.txtDTSServer.Text.Set(executes ? "B" : "A");
    executes ? form.cmdExecute_Click() : form.mnuFileSave_Click();
    EXPECT_EQ(
        "Connect to Datawarehouse server|Error while connecting to : DWPROD\r\nno route|critical",
        LastBox());
  }
  EXPECT_EQ("DTSPROD", profile.Find("job.etl", "DTS Server Info", "DTSServer")->value);
  ado.state.tables.clear();
  form.cmdLoadDataLinks_Click();
  EXPECT_THAT(LastBox(), HasSubstr("dwm_data_link table not found in specified DataWarehouse"));
}

TEST_F(MainFormTest, PathsAreCompletedWhenTheirFieldIsLeft) {
  Start("");
  frmRunnerMain& form = Form();
  const std::pair<const char*, const char*> files[] = {{"e.txt", "T:/tmp/e.txt"},
                                                       {" e.txt ", "T:/tmp/e.txt"},
                                                       {"\\\\s\\x\\e.txt", "\\\\s\\x\\e.txt"},
                                                       {"d:e.txt", "d:e.txt"},
                                                       {"/var/e.txt", "/var/e.txt"},
                                                       {"", ""}};
  for (const auto& [typed, left] : files) {
    form.txtDTSErrorFile.Text.Set(typed);
    form.txtDTSErrorFile_LostFocus();
    EXPECT_EQ(left, form.txtDTSErrorFile.Text.Get()) << typed;
  }
  EXPECT_EQ("T:/tmp/Torv\\", form.lblUsedLogfileDir.Caption.Get());
  form.cmbETLPackage.Text.Set("A_Init");
  form.cbDefaultLogFilesDir.Value.Set(true);
  form.cmbETLPackage.Text.Set("B_Init");
  EXPECT_EQ("T:/tmp/Torv\\B_Init\\", form.txtLogFilesDir.Text.Get());
}

TEST_F(MainFormTest, PickersFillTheirFields) {
  frmRunnerMain& form = Open();
  browser.choice = "SRV";
  form.cmdDTSServer_Click();
  form.cmdDestServer_Click();
  EXPECT_EQ("Select your DTS Server...", browser.asked[0].title);
  EXPECT_EQ("Select your DW Server...", browser.asked[1].title);
  EXPECT_EQ("SRVSRV", form.txtDTSServer.Text.Get() + form.txtDestServer.Text.Get());
  browser.choice = "D:\\logs";
  form.cmdLogFilesDir_Click();
  EXPECT_EQ("D:\\logs\\", form.txtLogFilesDir.Text.Get());
  EXPECT_EQ("logs", browser.asked[2].selection);
  dialogs.choice = "D:\\e.txt";
  form.cmdDTSErrorFile_Click();
  EXPECT_EQ("D:\\e.txt", form.txtDTSErrorFile.Text.Get());
  browser.choice.clear();
  form.cmdDTSServer_Click();
  EXPECT_EQ("SRV", form.txtDTSServer.Text.Get());
}

TEST_F(MainFormTest, ListsKeepWhatTheFieldShowed) {
  frmRunnerMain& form = Open();
  ado.state.rows["SELECT DISTINCT name FROM msdb.dbo.sysdtspackages"] = {
      {"name"}, {{std::string("Sales_Init")}, {std::string("Sales_LoadDW")}, {std::string("X")}}};
  form.cmbETLPackage_DropDown();
  EXPECT_THAT(form.cmbETLPackage.List.Get(), ElementsAre("Sales_Init", "Sales_LoadDW"));
  EXPECT_EQ("Sales_LoadDW", form.cmbETLPackage.Text.Get());
  form.cmbETLModel_DropDown();
  EXPECT_THAT(form.cmbETLModel.List.Get(), ElementsAre("Sales"));
  ado.state.rows["SELECT DISTINCT name FROM master.dbo.sysdatabases ORDER BY name"] = {
      {"name"}, {{std::string("dw")}, {std::string("master")}}};
  form.cmbDestDB_DropDown();
  EXPECT_EQ("dw", form.cmbDestDB.Text.Get());
  ado.state.failOpen = std::vector<ado::ProviderError>{{1, "gone"}};
  form.cmbDestDB_DropDown();
  EXPECT_EQ("Connect to Databases Server|Error while connecting to : DWPROD\r\n\r\ngone|critical",
            LastBox());
  EXPECT_EQ("dw", form.cmbDestDB.Text.Get());
  ado.state.rows.clear();
  form.cmbETLPackage_DropDown();
  EXPECT_THAT(LastBox(), HasSubstr("Error while connecting to : DTSPROD"));
  EXPECT_EQ("Sales_LoadDW", form.cmbETLPackage.Text.Get());
}

TEST_F(MainFormTest, ThePackageOfTheRunThatIsLookedAtLastIsShown) {
  for (const char* version : {"v1", "v2", ""}) {
    RunRecord run;
    run.package = "Sales_LoadDW", run.packageServer = "OLD", run.versionGuid = version;
    history.Write(run);
  }
  host.state.outline = {{.name = "a"}, {.name = "b", .after = {{0}}}};
  frmRunnerMain& form = Open();
  const auto look = [&](std::initializer_list<std::int64_t> runs) {
    for (const std::int64_t run : runs) form.ShowRun(run);
    while (form.LoadsOutline.Get()) form.TakeOutline();
    return form.Monitor.Package.Get().size();
  };
  host.state.failLoad = "down";
  EXPECT_EQ(0U, look({1}));
  EXPECT_THAT(form.Monitor.Note.Get(), HasSubstr("cannot be loaded: down"));
  EXPECT_THAT(host.state.calls.back(), HasSubstr(" OLD|||0|||v1|Sales_LoadDW|"))
      << "its own server";
  host.state.failLoad.reset();
  EXPECT_EQ(2U, look({1, 2}));
  EXPECT_EQ("", form.Monitor.Note.Get());
  host.state.calls.clear();
  EXPECT_EQ(2U, look({2}));
  EXPECT_THAT(host.state.calls, IsEmpty()) << "it is known";
  EXPECT_EQ(0U, look({1, 3})) << "the last one has no package";
  EXPECT_NE("", form.Monitor.Note.Get());
  form.ShowRun(1);
  form.mnuFileNew_Click();
  EXPECT_EQ(0U, look({})) << "another job is open";
  EXPECT_EQ("", form.Monitor.Note.Get());
}

TEST(RunMonitor, ShowsStepsWithRowsAndRate) {
  FakeClock clock;
  RunMonitor monitor(clock);
  monitor.Begin();
  monitor.ShowStep({"pump", StepState::Running, 0});
  clock.Sleep(std::chrono::seconds(2));
  monitor.ShowStep({"pump", StepState::Running, 24690});
  EXPECT_EQ("24,690 rows, 12,345 rows/s", FiguresOf(monitor.Steps()[0]));
  monitor.ShowStep({"sql", StepState::Failed, 0});
  monitor.ShowStep({"sql", StepState::Done, 0});
  EXPECT_EQ(StepState::Failed, monitor.Steps()[1].state);
  EXPECT_EQ("", FiguresOf(monitor.Steps()[1]));
}

}  // namespace
}  // namespace torvik

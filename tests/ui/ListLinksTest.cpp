// The data links of a job that is opened, listed by themselves: what may come in between.

#include <gmock/gmock.h>

#include "fakes/DataLinkRow.h"
#include "fakes/Gate.h"
#include "fakes/ProgramTest.h"
#include "ui/LinkLoader.h"

namespace torvik {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kLinksOfSales =
    "SELECT * FROM dwm_data_link WHERE dwm_data_link.model = 'Sales'";

struct ListLinksTest : ProgramTest {
  ListLinksTest() {
    FakeRows& rows = ado.state.rows[kLinksOfSales] = {kDataLinkColumns, {}};
    for (const char* name : {"erp", "stock"}) {
      rows.rows.push_back(DataLinkRow(name, {{"Type", std::int64_t{1}}}));
      ado.state.rows["SELECT * FROM dwm_data_link WHERE model = 'Sales' AND source_name = '" +
                     std::string(name) + "'"] = {kDataLinkColumns, {rows.rows.back()}};
    }
  }

  /// The form as a window shows it, with the job opened.
  frmRunnerMain& Open() {
    Start("");
    Form().JobRead.Observe([this] { Form().ListLinks(); });
    Form().OpenJobFile("job.etl");
    return Form();
  }
  void WaitForLinks() {
    while (Form().ListsLinks.Get()) Form().TakeLinks();
  }
  void Select(int position) {
    Form().lstDataLinks.ListIndex.Set(position);
    Form().lstDataLinks_Click();
  }
};

TEST_F(ListLinksTest, WhatIsDoneMeanwhileWins) {
  const struct {
    const char* what;
    std::function<void(frmRunnerMain&)> meanwhile;
    std::size_t links;
    bool endsListing = false;  // at once
  } cases[] = {
      {"nothing", [](auto&) {}, 2},
      {"a letter typed and taken back",
       [](auto& form) {
         form.cmbETLPackage.Text.Set("Sales_LoadDWx");
         form.cmbETLPackage.Text.Set("Sales_LoadDW");
       },
       2},
      {"another field", [](auto& form) { form.txtDTSServer.Text.Set("X"); }, 2},
      {"package", [](auto& form) { form.cmbETLPackage.Text.Set("Sales_Init"); }, 0},
      {"server", [](auto& form) { form.txtDestServer.Text.Set("X"); }, 0},
      {"database", [](auto& form) { form.cmbDestDB.Text.Set("X"); }, 0},
      {"logon", [](auto& form) { form.optDestSecureLogin.Value.Set(true); }, 0},
      {"password", [](auto& form) { form.txtDestSQLPassword.Text.Set("X"); }, 0},
      {"New", [](auto& form) { form.mnuFileNew_Click(); }, 0, true},
      {"Close", [](auto& form) { form.cmdClose_Click(); }, 0, true},
      {"Load", [](auto& form) { form.cmdLoadDataLinks_Click(); }, 2, true},
      {"Save", [](auto& form) { form.mnuFileSave_Click(); }, 2, true},
      {"Execute", [](auto& form) { form.cmdExecute_Click(); }, 2, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Gate gate;
    ado.state.onOpen = gate.Pass();
    frmRunnerMain& form = Open();
    gate.WaitForArrival();
    EXPECT_TRUE(form.ListsLinks.Get());
    EXPECT_NE("", form.LinksNote.Get());
    c.meanwhile(form);
    EXPECT_EQ(c.endsListing, !form.ListsLinks.Get());
    gate.Open();
    WaitForLinks();
    EXPECT_THAT(form.LinkRows.Get(), SizeIs(c.links));
    EXPECT_EQ("", form.LinksNote.Get());
    EXPECT_THAT(messages.boxes, IsEmpty());
    program.form.reset();
  }
}

TEST_F(ListLinksTest, ALinkThatIsSelectedOrEditedMeanwhileStays) {
  Gate gate;
  ado.state.onOpen = gate.Pass();
  frmRunnerMain& form = Open();
  gate.WaitForArrival();
  form.cmdLoadDataLinks_Click();
  Select(0);
  form.ctDLSQLServerOBJ.txtSQLServer.Text.Set("ERP2");
  form.ListLinks();
  gate.Open();
  WaitForLinks();
  EXPECT_TRUE(form.ctDLSQLServerOBJ.Visible.Get());
  EXPECT_TRUE(form.LinkRows.Get().at(0).isEdited);
  EXPECT_EQ("ERP2", program.dataLinks.FindDataLink("erp")->strDSServer);
}

TEST_F(ListLinksTest, AnAnswerThatComesDuringARunIsDropped) {
  frmRunnerMain& form = Open();
  WaitForLinks();
  host.state.onExecute = [&](auto&) {
    program.dataLinks.FindDataLink("erp")->strDSServer = "the run's";
    form.ListLinks();
    WaitForLinks();
  };
  form.cmdExecute_Click();
  EXPECT_EQ(RunVerdict::Ok, form.Monitor.Verdict.Get());
  EXPECT_EQ("the run's", program.dataLinks.FindDataLink("erp")->strDSServer);
}

TEST_F(ListLinksTest, WhatCannotBeReadIsAHintAndNoMore) {
  const struct {
    const char* what;
    std::function<void()> before;
    const char* hint;
  } cases[] = {
      {"no server",
       [this] {
         ado.state.failOpen = std::vector<ado::ProviderError>{{1, "no route"}};
       },
       "cannot be read now"},
      {"no rows", [this] { ado.state.rows.erase(kLinksOfSales); }, "cannot be read now"},
      {"no links",
       [this] {
         ado.state.rows[kLinksOfSales] = {kDataLinkColumns, {}};
       },
       "no data links for this package's model"},
      {"no number in a section",
       [this] {
         ado.state.rows[kLinksOfSales].rows = {DataLinkRow("erp", {{"Type", std::int64_t{1}}})};
         SetEntry("Data Source::erp", "Name", "erp");
         SetEntry("Data Source::erp", "Type", "x");
       },
       "cannot be read now"},
      {"no table", [this] { ado.state.tables.clear(); }, "cannot be read now"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    c.before();
    frmRunnerMain& form = Open();
    WaitForLinks();
    EXPECT_THAT(form.LinksNote.Get(), HasSubstr(c.hint));
    EXPECT_THAT(form.LinkRows.Get(), IsEmpty());
    EXPECT_EQ(nullptr, program.dataLinks.FindDataLink("erp"));
    EXPECT_THAT(messages.boxes, IsEmpty());
    EXPECT_EQ("", form.sbStatus.Text.Get());
    EXPECT_FALSE(form.Modified.Get());
    program.form.reset();
  }
}

/// The program's connection may be none, or still the one of the job before.
TEST_F(ListLinksTest, ExecuteStoresAnEditedLinkInTheWarehouseOfItsJob) {
  frmRunnerMain& form = Open();
  WaitForLinks();
  form.cmdLoadDataLinks_Click();
  SetEntry("Datawarehouse Server Info", "DWServer", "DWOTHER");
  form.OpenJobFile("job.etl");
  WaitForLinks();
  Select(0);
  form.ctDLSQLServerOBJ.txtSQLServer.Text.Set("ERP2");
  ado.state.calls.clear();
  form.cmdExecute_Click();
  EXPECT_EQ(RunVerdict::Ok, form.Monitor.Verdict.Get());
  EXPECT_THAT(messages.boxes, IsEmpty());
  EXPECT_THAT(ado.state.calls, Contains("SetProperty Data Source=DWOTHER"));
}

TEST_F(ListLinksTest, OnlyAnOpenedJobThatNamesItsPackageAndWarehouseIsListed) {
  Start("-configfile job.etl -statusfile s.txt");
  Form().ListLinks();
  EXPECT_FALSE(Form().ListsLinks.Get());
  SetEntry("Datawarehouse Server Info", "DWDB", "");
  EXPECT_FALSE(Open().ListsLinks.Get());
}

TEST_F(ListLinksTest, TheLastOneThatIsWantedIsTheOneThatComes) {
  LinkLoader loader(ado);
  Gate gate;
  ado.state.onOpen = gate.Pass();
  loader.Begin({"a.etl", "Sales_LoadDW", {"DW"}, "DW"});
  gate.WaitForArrival();
  loader.Begin({"b.etl", "Sales_LoadDW", {"DW"}, "DW"});
  loader.Begin({"c.etl", "Sales_LoadDW", {"DW"}, "DW"});
  gate.Open();
  std::optional<LinkLoader::Answer> answer;
  while (!answer) answer = loader.Take();
  EXPECT_EQ("c.etl", answer->wanted.jobFile);
  EXPECT_EQ(2, answer->links->Count());
  EXPECT_THAT(ado.state.calls, Contains("SetConnectionTimeout 2"));
  EXPECT_FALSE(loader.Take());
}

TEST_F(ListLinksTest, ClosingDoesNotWaitForAServerThatAnswersNoMore) {
  Gate gate;
  ado.state.onQuery = gate.Pass();
  ado.state.onCancel = [&] { gate.Open(); };
  {
    LinkLoader loader(ado);
    loader.Begin({"a.etl", "Sales_LoadDW", {"DW"}, "DW"});
    gate.WaitForArrival();
  }
  SUCCEED() << "the query was ended";
}

}  // namespace
}  // namespace torvik

#include "ui/qt/LinkPanels.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QScrollArea>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyle>
#include <QTabWidget>
#include <QVBoxLayout>

#include "ui/frmRunnerMain.h"
#include "ui/qt/LinkPreviewPane.h"
#include "ui/qt/LinkTable.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/FieldGrid.h"
#include "ui/qt/controls/ScrolledPage.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

void AddTest(FieldGrid& grid, DataLinkPanel& panel) {
  grid.Button(
      Tr("Test"), panel.cmdTest, [&panel] { panel.cmdTest_Click(); },
      Tr("Opens what the data link leads to, as a run does"));
}

/// Files that a user and a password may guard.
template <typename Click>
QWidget* NewFilePanel(DataLinkPanel& panel, TextBox& file, CommandButton& browse, TextBox& user,
                      TextBox& password, const Click& click) {
  auto* const page = new QWidget;
  FieldGrid grid(*page);
  grid.Path(Tr("F&ile:"), file, Tr("The path of the file"));
  grid.Browse(browse, click, Tr("Choose a file"));
  grid.Text(Tr("User &name:"), user, Tr("Empty when the file needs none"));
  grid.Password(Tr("Password:"), password, Tr("Is kept scrambled"));
  AddTest(grid, panel);
  grid.Stretch();
  return page;
}

QWidget* NewSqlServerPanel(ctDLSQLServer& panel) {
  auto* const page = new QWidget;
  FieldGrid grid(*page);
  grid.Text(Tr("Server:"), panel.txtSQLServer, Tr("The server that the data comes from"));
  grid.Browse(
      panel.cmdSQLServer, [&panel] { panel.cmdSQLServer_Click(); }, Tr("Choose a server"));
  grid.Option(Tr("Use Windows NT authentication"), panel.optSQLSecureLogin,
              Tr("Logs on with the account that runs the job"));
  grid.Option(Tr("Use SQL Server authentication"), panel.optSQLUserLogin,
              Tr("Logs on with a user of the server"));
  grid.Text(Tr("User &name:"), panel.txtSQLUser, Tr("The user of the server"));
  Bind(static_cast<QWidget&>(grid.LastLabel()), panel.lblSQLUser);
  grid.Password(Tr("Password:"), panel.txtSQLPassword, Tr("Is kept scrambled"));
  Bind(static_cast<QWidget&>(grid.LastLabel()), panel.lblSQLPassword);
  grid.List(
      Tr("Da&tabase:"), panel.cmbSQLDatabases, [&panel] { panel.cmbSQLDatabases_DropDown(); },
      Tr("The database that the data comes from"));
  AddTest(grid, panel);
  grid.Stretch();
  return page;
}

QWidget* NewOraclePanel(ctlDLOrcaleServer& panel) {
  auto* const page = new QWidget;
  FieldGrid grid(*page);
  grid.Text(Tr("Server:"), panel.txtOracleServer, Tr("The server that the data comes from"));
  grid.Browse(
      panel.cmdOracleServer, [&panel] { panel.cmdOracleServer_Click(); }, Tr("Choose a server"));
  grid.Text(Tr("User &name:"), panel.txtOracleUser, Tr("The user of the server"));
  grid.Password(Tr("Password:"), panel.txtOraclePassword, Tr("Is kept scrambled"));
  grid.List(
      Tr("Schema:"), panel.cmbORADatabases, [&panel] { panel.cmbORADatabases_DropDown(); },
      Tr("The schema that the data comes from"));
  AddTest(grid, panel);
  grid.Stretch();
  return page;
}

/// Coloured while remote data is copied, grey otherwise.
QWidget* NewRemotePicture(ctDLlFlatFile& panel) {
  auto* const box = new QWidget;
  auto* const layout = new QHBoxLayout(box);
  layout->setContentsMargins(0, 0, 0, 0);
  const QIcon icon = box->style()->standardIcon(QStyle::SP_DriveNetIcon);
  const int size = box->style()->pixelMetric(QStyle::PM_SmallIconSize);
  for (const auto& [image, mode] : {std::pair{&panel.imgRemoteDir, QIcon::Normal},
                                    {&panel.imgRemoteDirGrey, QIcon::Disabled}}) {
    auto* const label = new QLabel;
    label->setPixmap(icon.pixmap(QSize(size, size), mode));
    Bind(static_cast<QWidget&>(*label), static_cast<Control&>(*image));
    layout->addWidget(label);
  }
  auto* const copies = new QCheckBox(Tr("&Copy remote data before each run"));
  Bind(*copies, panel.cbSourceCopyRemData);
  copies->setToolTip(Tr("Waits for the data provider's status file, then fetches its files"));
  layout->addWidget(copies);
  layout->addStretch();
  return box;
}

QWidget* NewFlatFilePanel(ctDLlFlatFile& panel) {
  auto* const page = new QWidget;
  FieldGrid grid(*page);
  QLineEdit* const directory = grid.Path(Tr("Loc&al directory:"), panel.txtSourceDataDir,
                                         Tr("Where the package reads its files"));
  OnLeave(*directory, [&panel] { panel.txtSourceDataDir_LostFocus(); });
  OnDoubleClick(*directory, [&panel] { panel.txtSourceDataDir_DblClick(); });
  grid.Browse(
      panel.cmdSourceDataDir, [&panel] { panel.cmdSourceDataDir_Click(); },
      Tr("Choose the local directory"));
  grid.ButtonBelow(
      Tr("Test files"), panel.cmdTest, [&panel] { panel.cmdTest_Click(); },
      Tr("Looks whether the files of the local directory can be read, and how long they are"));
  grid.Wide(*NewRemotePicture(panel));
  grid.Option(Tr("from an FTP server"), panel.optSourceFromFTP, Tr("Fetches the files by FTP"));
  grid.Option(Tr("from a share"), panel.optSourceFromShare,
              Tr("Copies the files of a Windows share, or of a directory"));
  grid.Path(Tr("Remote d&irectory:"), panel.txtSourceRemDataDir,
            Tr("Where the data provider leaves its files and the status file"));
  Bind(static_cast<QWidget&>(grid.LastLabel()), panel.lblSourceRemDataDir);
  grid.Browse(
      panel.cmdSourceRemDataDir, [&panel] { panel.cmdSourceRemDataDir_Click(); },
      Tr("Choose the remote directory"));
  grid.Text(Tr("FTP server:"), panel.txtSourceFTPServer, Tr("The name of the FTP server"));
  Bind(static_cast<QWidget&>(grid.LastLabel()), panel.lblSourceFTPServer);
  grid.Text(Tr("User &name:"), panel.txtSourceFTPUsername, Tr("The user of the FTP server"));
  Bind(static_cast<QWidget&>(grid.LastLabel()), panel.lblSourceFTPUsername);
  grid.Password(Tr("Password:"), panel.txtSourceFTPPassword, Tr("Is kept scrambled"));
  Bind(static_cast<QWidget&>(grid.LastLabel()), panel.lblSourceFTPPassword);
  grid.ButtonBelow(
      Tr("&Test FTP"), panel.cmdTestFTP, [&panel] { panel.cmdTestFTP_Click(); },
      Tr("Tries whether the user may read and write in the remote directory"));
  grid.Digits(Tr("Poll interval:"), panel.txtSourceRemPollInterval, panel.lblPollIntMinutes,
              Tr("How long to wait between two looks at the status file, in minutes"));
  Bind(static_cast<QWidget&>(grid.LastLabel()), panel.lblSourceRemPollInterval);
  grid.Digits(Tr("Poll duration:"), panel.txtSourceRemPollDuration, panel.lblPollDurMinutes,
              Tr("How long to wait for the data altogether, in minutes"));
  Bind(static_cast<QWidget&>(grid.LastLabel()), panel.lblSourceRemPollDuration);
  grid.Stretch();
  return page;
}

/// The page in front alone gives the stack its size: a short one is not scrolled.
void SizeByFront(QStackedWidget& stack) {
  const auto size = [&stack] {
    for (int page = 0; page < stack.count(); ++page) {
      const bool isFront = page == stack.currentIndex();
      const auto policy = isFront ? QSizePolicy::Preferred : QSizePolicy::Ignored;
      stack.widget(page)->setSizePolicy(policy, policy);
    }
  };
  QObject::connect(&stack, &QStackedWidget::currentChanged, &stack, size);
  size();
}

/// A page for each panel, and one that is in front while none is visible.
QStackedWidget* NewStack(frmRunnerMain& form) {
  auto* const stack = new QStackedWidget;
  auto* const none = new QLabel;
  Watch(form.LinkHint, *none,
        [](QLabel& label, const std::string& hint) { label.setText(Tr(hint.c_str())); });
  none->setAlignment(Qt::AlignCenter);
  none->setForegroundRole(QPalette::PlaceholderText);
  none->setWordWrap(true);
  stack->addWidget(none);
  const auto add = [stack](DataLinkPanel& panel, QWidget* page) {
    stack->addWidget(page);
    Watch(panel.Visible, *stack, [page](QStackedWidget& all, bool visible) {
      if (visible) all.setCurrentWidget(page);
      if (!visible && all.currentWidget() == page) all.setCurrentIndex(0);
    });
  };
  add(form.ctDLlFlatFileOBJ, NewFlatFilePanel(form.ctDLlFlatFileOBJ));
  add(form.ctDLSQLServerOBJ, NewSqlServerPanel(form.ctDLSQLServerOBJ));
  add(form.ctlDLOrcaleServerOBJ, NewOraclePanel(form.ctlDLOrcaleServerOBJ));
  auto& access = form.ctlDLAccesFilesOBJ;
  add(access, NewFilePanel(access, access.txtAccessFile, access.cmdAccessFile, access.txtAccessUser,
                           access.txtAccessPassword, [&access] { access.cmdAccessFile_Click(); }));
  auto& excel = form.ctlDLExcelFilesOBJ;
  add(excel, NewFilePanel(excel, excel.txtExcelFile, excel.cmdExcelFile, excel.txtExcelUser,
                          excel.txtExcelPassword, [&excel] { excel.cmdExcelFile_Click(); }));
  SizeByFront(*stack);
  return stack;
}

/// The panel and, on a page behind it, what the link leads to, read when that comes to the front.
QWidget* WithPreview(frmRunnerMain& form, QWidget& panel, const std::string& admin) {
  auto* const pages = new QTabWidget;
  pages->setDocumentMode(true);
  pages->setAccessibleName(Tr("Pages of the data link"));
  auto* const preview =
      new LinkPreviewPane(ToQt(admin), [&form] { return form.SelectedLinkFile(); });
  pages->addTab(&panel, Tr("Data link"));
  const int page = pages->addTab(preview, Tr("Preview"));
  QObject::connect(pages, &QTabWidget::currentChanged, preview, [preview, page](int current) {
    if (current == page) preview->Read();
  });
  // Another link, or none.
  Watch(form.LinkHeading, *pages, [&form, preview, page](QTabWidget& all, const std::string&) {
    preview->Forget();
    all.setTabVisible(page, !form.SelectedLinkFile().empty());
    if (all.currentIndex() == page) preview->Read();
  });
  return pages;
}

/// The stack below the selected link's name and kind.
QWidget* NewEditor(frmRunnerMain& form, const std::string& admin) {
  auto* const editor = new QWidget;
  auto* const layout = new QVBoxLayout(editor);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* const heading = new QLabel;
  heading->setTextFormat(Qt::PlainText);
  QFont bold = heading->font();
  bold.setBold(true);
  heading->setFont(bold);
  Watch(form.LinkHeading, *heading, [](QLabel& label, const std::string& text) {
    label.setText(ToQt(text));
    label.setVisible(!text.empty());
  });
  QScrollArea* const scroll = Scrolled(NewStack(form));
  scroll->setMinimumHeight(scroll->fontMetrics().height() * 9);
  layout->addWidget(heading);
  layout->addWidget(admin.empty() ? scroll : WithPreview(form, *scroll, admin), 1);
  return editor;
}

}  // namespace

QWidget* NewLinkPanels(frmRunnerMain& form, const std::string& admin) {
  auto* const group = new QGroupBox(Tr("Data links"));
  auto* const layout = new QVBoxLayout(group);
  auto* const splitter = new QSplitter;
  splitter->setObjectName("links");
  splitter->setChildrenCollapsible(false);
  splitter->setOrientation(Qt::Vertical);
  QWidget* const editor = NewEditor(form, admin);
  splitter->addWidget(NewLinkTable(form));
  splitter->addWidget(editor);
  splitter->setSizes({1000, 2000});
  Watch(form.LinkRows, *editor,
        [](QWidget& one, const std::vector<LinkRow>& rows) { one.setVisible(!rows.empty()); });
  layout->addWidget(splitter);
  return group;
}

}  // namespace torvik

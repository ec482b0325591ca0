#include "ui/qt/QtDesktop.h"

#include <QApplication>
#include <QEventLoop>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>
#include <QTimer>

#include "platform/FileDialogs.h"
#include "platform/Messages.h"
#include "platform/Neighbourhood.h"
#include "platform/ShellBrowser.h"
#include "ui/frmRunnerMain.h"
#include "ui/qt/AnimateDialog.h"
#include "ui/qt/ComputerDialog.h"
#include "ui/qt/FolderDialog.h"
#include "ui/qt/MainWindow.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/Theme.h"

namespace torvik {
namespace {

QString ToQt(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

class QtMessages final : public Messages {
 public:
  explicit QtMessages(Messages& console) : console_(console) {}

  void Box(std::string_view text, std::string_view title, BoxIcon icon) override {
    QMessageBox box(IconOf(icon), ToQt(title), Plain(text), QMessageBox::Ok,
                    QApplication::activeWindow());
    box.setTextFormat(Qt::PlainText);
    box.exec();
  }

  int Ask(std::string_view text, std::string_view title, std::span<const char* const> choices,
          int usual) override {
    QMessageBox box(QMessageBox::Question, ToQt(title), Plain(text), QMessageBox::Cancel,
                    QApplication::activeWindow());
    box.setTextFormat(Qt::PlainText);
    std::vector<QAbstractButton*> buttons;
    for (const char* choice : choices)
      buttons.push_back(box.addButton(QObject::tr(choice), QMessageBox::AcceptRole));
    QAbstractButton* const cancel = box.button(QMessageBox::Cancel);
    QAbstractButton* const first =
        usual == kNoChoice ? cancel : buttons[static_cast<std::size_t>(usual)];
    box.setDefaultButton(static_cast<QPushButton*>(first));
    box.setEscapeButton(cancel);
    box.exec();
    const auto chosen = std::find(buttons.begin(), buttons.end(), box.clickedButton());
    return chosen == buttons.end() ? kNoChoice : static_cast<int>(chosen - buttons.begin());
  }

  void Report(std::string_view line) override { console_.Report(line); }

  void PumpEvents() override {
    if (QThread::currentThread() != QApplication::instance()->thread()) return;
    console_.PumpEvents();
    QApplication::processEvents();
  }

 private:
  static QMessageBox::Icon IconOf(BoxIcon icon) {
    switch (icon) {
      case BoxIcon::Critical: return QMessageBox::Critical;
      case BoxIcon::Exclamation: return QMessageBox::Warning;
      case BoxIcon::Information: return QMessageBox::Information;
      case BoxIcon::None: break;
    }
    return QMessageBox::NoIcon;
  }

  static QString Plain(std::string_view text) { return ToQt(text).replace("\r\n", "\n"); }

  Messages& console_;
};

class QtBrowser final : public ShellBrowser {
 public:
  explicit QtBrowser(Neighbourhood& neighbourhood) : neighbourhood_(neighbourhood) {}

  std::optional<int> SHGetSpecialFolderLocation(int folder) override { return folder; }

  std::optional<std::string> SHBrowseForFolderA(const BrowseInfo& info) override {
    return (info.flags & BrowseInfo::kComputersOnly) != 0
               ? ChooseComputer(neighbourhood_, info.title)
               : ChooseFolder(neighbourhood_, info.title, info.selection);
  }

 private:
  Neighbourhood& neighbourhood_;
};

class QtFileDialogs final : public FileDialogs {
 public:
  explicit QtFileDialogs(Neighbourhood& neighbourhood) : neighbourhood_(neighbourhood) {}

  std::string OpenFile(const FileDialogInfo& info) override {
    return Run(info, QFileDialog::AcceptOpen);
  }
  std::string SaveFile(const FileDialogInfo& info) override {
    return Run(info, QFileDialog::AcceptSave);
  }

 private:
  std::string Run(const FileDialogInfo& info, QFileDialog::AcceptMode mode) const {
    QFileDialog dialog(QApplication::activeWindow(), ToQt(info.title));
    dialog.setAcceptMode(mode);
    dialog.setFileMode(mode == QFileDialog::AcceptOpen ? QFileDialog::ExistingFile
                                                       : QFileDialog::AnyFile);
    dialog.setOption(QFileDialog::DontConfirmOverwrite, !info.asksToReplace);
    dialog.setNameFilters(Filters(info.filter));
    dialog.setDefaultSuffix(ToQt(info.defaultExtension));
    if (!info.file.empty()) {
      const QFileInfo file(ToQt(neighbourhood_.LinuxPath(info.file)));
      dialog.setDirectory(file.absolutePath());
      dialog.selectFile(file.fileName());
    }
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0).toStdString() : "";
  }

  /// "Text (*.txt)|*.txt" names its pattern in the name already.
  static QStringList Filters(const std::string& filter) {
    QStringList filters;
    const QStringList parts = ToQt(filter).split('|');
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2)
      filters << (parts[i + 1] == "*.*" ? QObject::tr("All Files (*)") : parts[i]);
    return filters;
  }

  Neighbourhood& neighbourhood_;
};

class QtDesktop final : public Desktop {
 public:
  explicit QtDesktop(const DesktopServices& services)
      : messages_(services.console),
        browser_(services.neighbourhood),
        dialogs_(services.neighbourhood),
        admin_(services.admin),
        neighbourhood_(services.neighbourhood) {
    QApplication::setQuitOnLastWindowClosed(false);
    SetTheme(ThemeName());
    // Signals come while nothing else does.
    signals_.setInterval(100);
    QObject::connect(&signals_, &QTimer::timeout,
                     [&console = services.console] { console.PumpEvents(); });
    signals_.start();
  }

  Messages& Boxes() override { return messages_; }
  ShellBrowser& Browser() override { return browser_; }
  FileDialogs& Dialogs() override { return dialogs_; }

  void ShowForm(frmRunnerMain& form) override {
    window_ = std::make_unique<MainWindow>(form, admin_, neighbourhood_);
    isOpen_ = true;
    window_->show();
    form.Closed.Observe([this] {
      isOpen_ = false;
      loop_.quit();
      // What waits for an answer would keep the program.
      while (QWidget* const box = QApplication::activeModalWidget())
        if (!box->close()) break;
    });
  }

  void ShowForm(frmAnimate& form) override { NewAnimateDialog(form); }

  void RunUntilClosed() override {
    if (isOpen_) loop_.exec();
  }

  void CloseWindows() override { window_.reset(); }

 private:
  QtMessages messages_;
  QtBrowser browser_;
  QtFileDialogs dialogs_;
  QTimer signals_;
  QEventLoop loop_;
  bool isOpen_ = false;
  const std::string admin_;
  Neighbourhood& neighbourhood_;
  std::unique_ptr<MainWindow> window_;
};

}  // namespace

std::unique_ptr<Desktop> NewQtDesktop(const DesktopServices& services) {
  static int count = 1;
  static char program[] = "torvik";
  static char* arguments[] = {program, nullptr};
  if (QApplication::instance() == nullptr) {
    QApplication::setOrganizationName("Torvik");
    QApplication::setApplicationName("torvik-form");
    QApplication::setDesktopFileName("torvik");
    // As long as the program runs: the toolkit cannot be begun anew.
    new QApplication(count, arguments);
  }
  return std::make_unique<QtDesktop>(services);
}

}  // namespace torvik

extern "C" torvik::Desktop* TorvikNewDesktop(const torvik::DesktopServices& services) {
  return torvik::NewQtDesktop(services).release();
}

#include "ui/qt/ComputerDialog.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "platform/Neighbourhood.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/ScreenRoom.h"

namespace torvik {
namespace {

constexpr int kLongestSearch = 20'000;  // milliseconds

class ComputerDialog final : public QDialog {
 public:
  ComputerDialog(Neighbourhood& neighbourhood, const std::string& title)
      : QDialog(QApplication::activeWindow()) {
    setWindowTitle(ToQt(title));
    auto* const layout = new QVBoxLayout(this);
    auto* const label = new QLabel(tr("Server &name:"));
    label->setBuddy(&name_);
    list_.setAccessibleName(tr("Known servers"));
    buttons_.setStandardButtons(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    layout->addWidget(label);
    layout->addWidget(&name_);
    layout->addWidget(&list_);
    layout->addWidget(&search_);
    layout->addWidget(&buttons_);
    for (const std::string& server : neighbourhood.KnownServers()) Add(ToQt(server));
    connect(&list_, &QListWidget::currentTextChanged, &name_, &QLineEdit::setText);
    connect(&list_, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
    connect(&name_, &QLineEdit::textChanged, this, [this] { EnableOk(); });
    connect(&buttons_, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(&buttons_, &QDialogButtonBox::rejected, this, &QDialog::reject);
    EnableOk();
    name_.setFocus();
    ResizeOnScreen(*this, {fontMetrics().averageCharWidth() * 50, fontMetrics().height() * 22});
    Search(neighbourhood.NetworkCommand());
  }

  ~ComputerDialog() override {
    process_.disconnect(this);
    if (process_.state() != QProcess::NotRunning) {
      process_.kill();
      process_.waitForFinished(1000);
    }
  }

  std::string Name() const { return name_.text().trimmed().toStdString(); }

 private:
  void EnableOk() {
    buttons_.button(QDialogButtonBox::Ok)->setEnabled(!name_.text().trimmed().isEmpty());
  }

  void Add(const QString& name) {
    if (!name.isEmpty() && list_.findItems(name, Qt::MatchFixedString).isEmpty())
      list_.addItem(name);
  }

  /// In a process of its own: the form goes on meanwhile.
  void Search(const std::vector<std::string>& command) {
    if (command.empty()) return search_.setText(tr("The network cannot be searched."));
    QStringList arguments;
    for (std::size_t i = 1; i < command.size(); ++i) arguments << ToQt(command[i]);
    search_.setText(tr("Searching the network ..."));
    connect(&process_, &QProcess::readyReadStandardOutput, this, [this] {
      while (process_.canReadLine()) Add(QString::fromUtf8(process_.readLine()).trimmed());
    });
    connect(&process_, &QProcess::finished, this,
            [this] { search_.setText(tr("The network has been searched.")); });
    connect(&process_, &QProcess::errorOccurred, this,
            [this] { search_.setText(tr("The network cannot be searched.")); });
    QTimer::singleShot(kLongestSearch, &process_, &QProcess::kill);
    process_.setStandardErrorFile(QProcess::nullDevice());
    process_.start(ToQt(command[0]), arguments);
  }

  QLineEdit name_;
  QListWidget list_;
  QLabel search_;
  QDialogButtonBox buttons_;
  QProcess process_;
};

}  // namespace

std::optional<std::string> ChooseComputer(Neighbourhood& neighbourhood, const std::string& title) {
  ComputerDialog dialog(neighbourhood, title);
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  return dialog.Name();
}

}  // namespace torvik

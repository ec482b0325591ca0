#include "ui/qt/FolderDialog.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "platform/Neighbourhood.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/ScreenRoom.h"

namespace torvik {
namespace {

constexpr int kPath = Qt::UserRole, kIsRead = Qt::UserRole + 1;

/// The path of what lies in a folder, spelled as the folder is.
QString Below(const QString& folder, const QString& name) {
  const QString separator = folder.startsWith('/') ? "/" : "\\";
  return folder.endsWith('/') || folder.endsWith('\\') ? folder + name : folder + separator + name;
}

bool LiesIn(const QString& path, const QString& folder) {
  return Below(path, "").startsWith(Below(folder, ""), Qt::CaseInsensitive);
}

class FolderDialog final : public QDialog {
 public:
  FolderDialog(Neighbourhood& neighbourhood, const std::string& title, const std::string& selection)
      : QDialog(QApplication::activeWindow()), neighbourhood_(neighbourhood) {
    setWindowTitle(ToQt(title));
    auto* const layout = new QVBoxLayout(this);
    auto* const label = new QLabel(tr("&Folder:"));
    label->setBuddy(&path_);
    tree_.setHeaderHidden(true);
    tree_.setAccessibleName(tr("Folders"));
    buttons_.setStandardButtons(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    layout->addWidget(&tree_);
    layout->addWidget(label);
    layout->addWidget(&path_);
    layout->addWidget(&problem_);
    layout->addWidget(&buttons_);
    problem_.setWordWrap(true);
    problem_.hide();
    AddRoots(ToQt(selection));
    connect(&tree_, &QTreeWidget::itemExpanded, this,
            [this](QTreeWidgetItem* item) { Read(item); });
    connect(&tree_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
      if (item != nullptr) path_.setText(item->data(0, kPath).toString());
    });
    connect(&path_, &QLineEdit::textChanged, this, [this] { EnableOk(); });
    connect(&buttons_, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(&buttons_, &QDialogButtonBox::rejected, this, &QDialog::reject);
    Select(ToQt(selection));
    path_.setText(ToQt(selection));
    EnableOk();
    ResizeOnScreen(*this, {fontMetrics().averageCharWidth() * 60, fontMetrics().height() * 26});
  }

  std::string Path() const { return path_.text().trimmed().toStdString(); }

 private:
  void EnableOk() {
    buttons_.button(QDialogButtonBox::Ok)->setEnabled(!path_.text().trimmed().isEmpty());
  }

  QTreeWidgetItem* NewItem(const QString& text, const QString& path) {
    auto* const item = new QTreeWidgetItem({text});
    item->setData(0, kPath, path);
    item->setIcon(0, style()->standardIcon(QStyle::SP_DirIcon));
    item->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    return item;
  }

  /// The share of the selection is one too, also when the settings do not name it.
  void AddRoots(const QString& selection) {
    QStringList roots;
    for (const std::string& root : neighbourhood_.FolderRoots()) roots << ToQt(root);
    const QStringList parts = selection.split('\\');
    const bool isShare = selection.startsWith("\\\\") && parts.size() >= 4;
    if (isShare) roots.prepend("\\\\" + parts[2] + "\\" + parts[3]);
    const bool isDrive = selection.size() > 1 && selection[1] == ':';
    if (isDrive) roots.prepend(selection.left(2).toUpper() + "\\");
    roots.removeDuplicates();
    for (const QString& root : roots) tree_.addTopLevelItem(NewItem(root, root));
  }

  /// Reads the folders in a folder when it is first opened.
  void Read(QTreeWidgetItem* item) {
    if (item->data(0, kIsRead).toBool()) return;
    item->setData(0, kIsRead, true);
    const QString path = item->data(0, kPath).toString();
    std::vector<std::string> names;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const std::error_code error = neighbourhood_.SubFolders(path.toStdString(), names);
    QApplication::restoreOverrideCursor();
    problem_.setVisible(static_cast<bool>(error));
    if (error) problem_.setText(path + ": " + ToQt(error.message()));
    for (const std::string& name : names)
      item->addChild(NewItem(ToQt(name), Below(path, ToQt(name))));
    if (names.empty()) item->setChildIndicatorPolicy(QTreeWidgetItem::DontShowIndicator);
  }

  void Select(const QString& selection) {
    QTreeWidgetItem* item = nullptr;
    for (int i = 0; i < tree_.topLevelItemCount() && item == nullptr; ++i)
      if (LiesIn(selection, tree_.topLevelItem(i)->data(0, kPath).toString()))
        item = tree_.topLevelItem(i);
    while (item != nullptr) {
      tree_.setCurrentItem(item);
      item->setExpanded(true);
      Read(item);
      QTreeWidgetItem* next = nullptr;
      for (int i = 0; i < item->childCount() && next == nullptr; ++i)
        if (LiesIn(selection, item->child(i)->data(0, kPath).toString())) next = item->child(i);
      item = next;
    }
  }

  Neighbourhood& neighbourhood_;
  QTreeWidget tree_;
  QLineEdit path_;
  QLabel problem_;
  QDialogButtonBox buttons_;
};

}  // namespace

std::optional<std::string> ChooseFolder(Neighbourhood& neighbourhood, const std::string& title,
                                        const std::string& selection) {
  FolderDialog dialog(neighbourhood, title, selection);
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  return dialog.Path();
}

}  // namespace torvik

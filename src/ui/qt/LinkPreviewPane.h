#pragma once

#include <QProcess>
#include <QWidget>
#include <functional>
#include <string>

class QComboBox;
class QJsonObject;
class QLabel;
class QTableWidget;

namespace torvik {

/// The first rows of what a data link leads to, read by a process of its own; the window goes on
/// meanwhile.
class LinkPreviewPane final : public QWidget {
 public:
  /// `admin`: the path of torvik-admin. `link` answers the selected link as its file; empty when
  /// there is none.
  LinkPreviewPane(const QString& admin, std::function<std::string()> link);
  ~LinkPreviewPane() override;

  /// Reads the rows of an item, of the first one without it.
  void Read(const QString& item = {});

  /// Another link is selected: what is shown belongs to none.
  void Forget();

 private:
  void Finish();
  void ShowAnswer(const QJsonObject& preview);
  void ShowItems();
  void Tell(const QString& words);
  void EndProcess();

  const QString admin_;
  const std::function<std::string()> link_;
  QProcess process_;
  QComboBox* items_;
  QLabel *label_, *note_;
  QTableWidget* table_;
};

}  // namespace torvik

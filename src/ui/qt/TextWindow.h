#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>
#include <string>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;

namespace torvik {

/// A window that shows a text file and goes on with it while others write; its bytes become text by
/// `decode`. Of a large file the end is shown.
class TextWindow final : public QWidget {
 public:
  /// `path`: a Linux path, `title`: as the operator knows the file.
  TextWindow(QString path, const QString& title,
             std::function<std::string(const std::string&)> decode);

 private:
  void ReadOn();
  void Find(bool backwards);

  const QString path_;
  const std::function<std::string(const std::string&)> decode_;
  QPlainTextEdit* text_;
  QLineEdit* search_;
  QCheckBox* follow_;
  QLabel* state_;
  QTimer timer_;
  qint64 read_ = 0;  // bytes of the file
};

}  // namespace torvik

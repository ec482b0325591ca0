#pragma once

#include <QString>
#include <QTest>
#include <QWidget>
#include <cstdio>
#include <stdexcept>

namespace torvik {

/// Takes pictures of windows into a directory.
class Camera {
 public:
  explicit Camera(QString directory) : directory_(std::move(directory)) {}

  /// Writes NAME.png, once what is to be drawn is drawn.
  void Take(QWidget& window, const std::string& name) const {
    QTest::qWait(150);
    const QString file = directory_ + "/" + QString::fromStdString(name) + ".png";
    if (!window.grab().save(file)) throw std::runtime_error("cannot write " + file.toStdString());
    std::printf("%s\n", file.toStdString().c_str());
  }

 private:
  QString directory_;
};

}  // namespace torvik

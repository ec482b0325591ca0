#include "ui/qt/controls/Theme.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QPainter>
#include <QPalette>
#include <QProxyStyle>
#include <QSettings>
#include <QStyleOption>

namespace torvik {
namespace {

constexpr const char* kKey = "theme";

/// Shows which list, text or picture has the keyboard, where the style itself has no sign for that;
/// the buttons of a box look alike, the form's own and the usual ones.
class FormStyle final : public QProxyStyle {
 public:
  using QProxyStyle::QProxyStyle;

  void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                   const QWidget* widget) const override {
    QProxyStyle::drawControl(element, option, painter, widget);
    const bool isView = qobject_cast<const QAbstractScrollArea*>(widget) != nullptr;
    if (element != CE_ShapedFrame || !isView || !(option->state & State_HasFocus)) return;
    painter->setPen(option->palette.color(QPalette::Link));
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
  }

  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* answer) const override {
    return hint == SH_DialogButtonBox_ButtonsHaveIcons
               ? 0
               : QProxyStyle::styleHint(hint, option, widget, answer);
  }
};

QPalette DarkPalette() {
  const QColor window(43, 43, 46), base(64, 64, 68), text(230, 230, 230), grey(130, 130, 130),
      link(90, 170, 255);
  QPalette palette(window, window);
  const std::pair<QPalette::ColorRole, QColor> colours[] = {
      {QPalette::WindowText, text},
      {QPalette::Base, base},
      {QPalette::AlternateBase, QColor(58, 58, 62)},
      {QPalette::Text, text},
      {QPalette::ButtonText, text},
      {QPalette::BrightText, Qt::white},
      {QPalette::ToolTipBase, base},
      {QPalette::ToolTipText, text},
      {QPalette::Link, link},
      {QPalette::Highlight, QColor(42, 110, 180)},
      {QPalette::HighlightedText, Qt::white},
      {QPalette::PlaceholderText, QColor(176, 176, 180)}};
  for (const auto& [role, colour] : colours) palette.setColor(role, colour);
  for (const QPalette::ColorRole role :
       {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    palette.setColor(QPalette::Disabled, role, grey);
  palette.setColor(QPalette::Disabled, QPalette::Base, window);
  return palette;
}

}  // namespace

QString ThemeName() {
  return QSettings().value(kKey, "system").toString();
}

void SetTheme(const QString& name) {
  static const QString systemStyle = QApplication::style()->name();
  static const QPalette systemPalette = QApplication::palette();
  if (name == "system") {
    QApplication::setStyle(new FormStyle(systemStyle));
    QApplication::setPalette(systemPalette);
    return;
  }
  auto* const fusion = new FormStyle("Fusion");
  QApplication::setStyle(fusion);
  QApplication::setPalette(name == "dark" ? DarkPalette() : fusion->standardPalette());
}

void ChooseTheme(const QString& name) {
  QSettings().setValue(kKey, name);
  SetTheme(name);
}

}  // namespace torvik

#pragma once

class QScrollArea;
class QWidget;

namespace torvik {

/// A page that can be scrolled when the window, or the font, leaves it no room. The keyboard goes
/// to what stands on it, never to the area itself, and what has the keyboard comes into sight.
QScrollArea* Scrolled(QWidget* page);

}  // namespace torvik

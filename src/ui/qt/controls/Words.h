#pragma once

#include <QObject>
#include <QString>

namespace torvik {

/// A text of the windows in the user's language.
inline QString Tr(const char* text) {
  return QObject::tr(text);
}

}  // namespace torvik

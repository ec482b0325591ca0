#pragma once

#include <QString>

namespace torvik {

/// The colours that were chosen last: "system", "light" or "dark".
QString ThemeName();
void SetTheme(const QString& name);
/// Sets them, and keeps them for the next start.
void ChooseTheme(const QString& name);

}  // namespace torvik

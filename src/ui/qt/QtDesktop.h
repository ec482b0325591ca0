#pragma once

#include <memory>

#include "ui/Desktop.h"

namespace torvik {

/// The desktop in Qt's widgets. Makes the application object unless there is one.
std::unique_ptr<Desktop> NewQtDesktop(const DesktopServices& services);

}  // namespace torvik

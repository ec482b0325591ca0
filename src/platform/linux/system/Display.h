#pragma once

namespace torvik {

/// Whether windows can be shown: an X server or a Wayland compositor that takes a connection, or a
/// platform that QT_QPA_PLATFORM names.
bool HasDisplay();

}  // namespace torvik

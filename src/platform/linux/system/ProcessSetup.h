#pragma once

namespace torvik {

/// For a program's first line. A reader of its output that goes away does not end it: a write fails
/// instead. A standard stream that is closed leads nowhere from now on; its number would otherwise
/// go to the next file that is opened, and messages into that file.
void GuardStandardStreams();

/// From now on `handler` is called for the signals that act as the form's Close button: SIGINT,
/// SIGTERM and SIGHUP. A SIGHUP that is ignored stays so.
void HandleCloseSignals(void (*handler)(int));

}  // namespace torvik

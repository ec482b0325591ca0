#pragma once

namespace torvik {

/// For a program's first line. A reader of its output that goes away does not end it: a write fails
/// instead. A standard stream that is closed leads nowhere from now on; its number would otherwise
/// go to the next file that is opened, and messages into that file.
void GuardStandardStreams();

/// For a program that holds passwords: no core file is written of it, and other programs of its
/// user cannot look into its memory (prctl(2), PR_SET_DUMPABLE). What it starts is not touched.
void KeepMemoryPrivate();

/// From now on `handler` is called for the signals that act as the form's Close button: SIGINT,
/// SIGTERM and SIGHUP. A SIGHUP that is ignored stays so.
void HandleCloseSignals(void (*handler)(int));

}  // namespace torvik

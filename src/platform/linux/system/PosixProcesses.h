#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>

#include "platform/Process.h"
#include "platform/linux/system/PathMap.h"

namespace torvik {

/// Programs of this machine. A program named by a path, and a working directory, may be spelled
/// either way; a relative one goes from the caller's directory. Every program starts with the
/// default signal actions. One started by Run has a process group of its own, so that the
/// terminal's Ctrl-C does not reach it, and is killed when the caller's thread ends; Run returns
/// when it has ended, even if it has left others behind that hold its output open. Lines longer
/// than 8 KiB come in pieces. `replaced` says what is started in place of a
/// program, by its name in small letters; its arguments are paths then. `grace` is how long a
/// program that is told to end may take for that.
std::unique_ptr<Processes> NewPosixProcesses(
    const PathMap& paths = {}, const std::map<std::string, std::string>& replaced = {},
    std::chrono::milliseconds grace = std::chrono::seconds(5));

}  // namespace torvik

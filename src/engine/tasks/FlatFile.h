#pragma once

#include "engine/model/Connections.h"
#include "engine/pump/TextFormat.h"

namespace torvik::engine {

/// How the text file of a connection is written, by its properties. Throws when a value that a
/// variable gave is not what its property takes.
TextFormat FlatFileFormat(const ConnectionSettings& settings);

}  // namespace torvik::engine

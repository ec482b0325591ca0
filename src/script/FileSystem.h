#pragma once

#include "script/Value.h"

namespace torvik::script {

/// A Scripting.FileSystemObject, counted on `heap`, over the files of the context that it is used
/// in.
Value NewFileSystem(Heap& heap);

}  // namespace torvik::script

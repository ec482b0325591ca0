#pragma once

#include <memory>
#include <system_error>

#include "platform/Files.h"

namespace torvik {

/// Reads what `file` holds in gzip's members, one after the other. With Auto, a file that does not
/// begin as gzip does is read as it is.
std::unique_ptr<FileReader> NewGzipReader(std::unique_ptr<FileReader> file,
                                          Compression compression);

/// Writes one member of gzip.
std::unique_ptr<FileWriter> NewGzipWriter(std::unique_ptr<FileWriter> file, std::error_code& error);

}  // namespace torvik

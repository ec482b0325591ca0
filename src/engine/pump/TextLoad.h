#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/pump/TextFormat.h"
#include "platform/Bulk.h"

namespace torvik {
class CodePages;
class Files;
}  // namespace torvik

namespace torvik::engine {

/// Opens a text file for rows of these columns. They stand beside the file until Finish puts them
/// in its place: without that the file stays as it was. NULL is an empty value; the empty text is
/// one between qualifiers where the format has them, which fixed-width text has not. A row that
/// cannot be written so that it reads the same (a character that the encoding lacks, a value too
/// wide for its column, a delimiter that nothing can quote) is refused. `files` and `codePages`
/// must outlive the load. Throws RowError when the file cannot be written or the format makes no
/// sense.
std::unique_ptr<ado::BulkLoad> OpenTextLoad(Files& files, const CodePages& codePages,
                                            const std::string& path, const TextFormat& format,
                                            const std::vector<std::string>& columns);

}  // namespace torvik::engine

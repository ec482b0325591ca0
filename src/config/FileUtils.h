#pragma once

#include <string>

namespace torvik {

class Files;

/// True when the length of the plain file at `path` can be read.
bool FileExists(Files& files, const std::string& path);

/// The text after the last separator ('\' or '/'), without the blanks around it.
std::string FileNameOf(const std::string& path);

/// The text up to the last separator, with it; empty when there is none.
std::string DirectoryOf(const std::string& path);

/// Appends '\' unless the text ends in a separator; changes the caller's text and answers it.
std::string& AddTrailingSeparator(std::string& path);

/// The same with '/', for directories of an FTP server.
std::string& AddTrailingSlash(std::string& path);

}  // namespace torvik

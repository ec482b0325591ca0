#pragma once

#include <cstddef>
#include <string>

namespace torvik {
class Files;
}

namespace torvik::engine {

/// Puts the bytes of a plain file into `bytes`, whatever it held. Answers why it cannot, empty when
/// it can; a file of more than `limit` bytes cannot, also when it grows meanwhile.
std::string ReadWhole(Files& files, const std::string& path, std::size_t limit, std::string& bytes);

}  // namespace torvik::engine

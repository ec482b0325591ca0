#pragma once

#include <memory>
#include <string>

#include "platform/CodePage.h"

namespace torvik {

/// UTF-8 and the single-byte encodings of iconv(3) in which ASCII characters are themselves. Bytes
/// from 0x80 to 0x9F that stand for nothing are the control characters of the same number, as on
/// Windows; DecodeStrict refuses them. Decoders and encoders are for every encoding of iconv.
/// `ansiName` is the system's code page; throws PlatformError when it is none of these encodings.
std::unique_ptr<CodePages> NewIconvCodePages(const std::string& ansiName);

}  // namespace torvik

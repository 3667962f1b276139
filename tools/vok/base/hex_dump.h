#pragma once

#include <span>
#include <string>

#include "flash/types.h"

namespace vok::tool {

/// Lines of offset, sixteen bytes in hexadecimal and the same as text.
std::string HexDump(std::span<const u8> bytes);

/// Two lower-case hexadecimal digits a byte.
std::string HexString(std::span<const u8> bytes);

/// Eight lower-case hexadecimal digits.
std::string ChecksumText(u32 crc32);

}  // namespace vok::tool

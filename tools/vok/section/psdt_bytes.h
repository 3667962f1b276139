#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/files.h"
#include "worker/psdt.h"

namespace vok::tool {

/// The big-endian bytes of a PSDT with these records, as LoadPSDT() takes them; 0xFF fills it up to @p least_size.
Bytes PsdtBytes(std::span<const psdt::Record> records, std::size_t least_size);

/// Whether the bytes begin with what start-up could work with: the magic, a count of records that fit, and among them a
/// section of its own inside the flash image.
bool LooksLikePsdt(std::span<const u8> bytes);

/// Bytes that LoadPSDT() takes, from such as it refuses: with the magic, and with as many records as look like sections
/// where their count is wrong.
Bytes AsPsdt(std::span<const u8> bytes);

/// The records of the loaded PSDT, and those that lie behind the last one it counts, as far as they look like sections.
std::vector<psdt::Record> RecordsInForceAndBehind();

/// Where in @p bytes a PSDT begins, by its magic and a look at its records, as far as @p most places.
std::vector<u64> FindPsdts(std::span<const u8> bytes, std::size_t most);

/// A section tag: the first character goes to the highest byte.
u32 TagOf(const std::string& text);

/// The tag of a section with that name, whichever one of its tag it is; nothing when no section has such a name.
std::optional<u32> TagOfName(const std::string& name);

}  // namespace vok::tool

#include "base/hex_dump.h"

#include <fmt/core.h>

#include <algorithm>

namespace vok::tool {

namespace {

constexpr std::size_t kBytesPerLine = 16;

std::string HexLine(std::size_t offset, std::span<const u8> bytes) {
  std::string hex;
  std::string text;
  for (std::size_t i = 0; i < kBytesPerLine; ++i) {
    if (i == kBytesPerLine / 2) hex += ' ';
    hex += i < bytes.size() ? fmt::format(" {:02x}", bytes[i]) : "   ";
    if (i < bytes.size()) text += bytes[i] >= ' ' && bytes[i] <= '~' ? static_cast<char>(bytes[i]) : '.';
  }
  return fmt::format("{:08x} {}  |{}|\n", offset, hex, text);
}

}  // namespace

std::string HexDump(std::span<const u8> bytes) {
  std::string dump;
  for (std::size_t offset = 0; offset < bytes.size(); offset += kBytesPerLine)
    dump += HexLine(offset, bytes.subspan(offset, std::min(kBytesPerLine, bytes.size() - offset)));
  return dump;
}

std::string HexString(std::span<const u8> bytes) {
  std::string text;
  text.reserve(2 * bytes.size());
  for (const u8 byte : bytes) text += fmt::format("{:02x}", byte);
  return text;
}

std::string ChecksumText(u32 crc32) { return fmt::format("{:08x}", crc32); }

}  // namespace vok::tool

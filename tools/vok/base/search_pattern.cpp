#include "base/search_pattern.h"

#include <algorithm>
#include <optional>

namespace vok::tool {

namespace {

int DigitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

u8 Lower(u8 c) { return c >= 'A' && c <= 'Z' ? static_cast<u8>(c | 0x20) : c; }

/// How many bytes follow the first one of a character; nothing for a byte that begins none.
std::optional<std::size_t> FollowersOf(u8 first) {
  if (first < 0x80) return 0;
  if (first >= 0xC2 && first < 0xE0) return 1;
  if (first >= 0xE0 && first < 0xF0) return 2;
  if (first >= 0xF0 && first < 0xF5) return 3;
  return std::nullopt;
}

/// The characters of a text; nothing when it is no sound UTF-8.
std::optional<std::u32string> Decode(std::span<const u8> text) {
  constexpr u8 kFirstBits[] = {0x7F, 0x1F, 0x0F, 0x07};
  std::u32string characters;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::optional<std::size_t> followers = FollowersOf(text[i]);
    if (!followers || i + *followers >= text.size()) return std::nullopt;
    char32_t character = text[i] & kFirstBits[*followers];
    for (std::size_t left = *followers; left > 0; --left) {
      if ((text[++i] & 0xC0) != 0x80) return std::nullopt;
      character = character << 6 | (text[i] & 0x3F);
    }
    characters.push_back(character);
  }
  return characters;
}

std::vector<u16> Utf16Of(const std::u32string& characters) {
  constexpr char32_t kFirstOfTwo = 0x10000;
  std::vector<u16> units;
  for (const char32_t character : characters) {
    if (character >= kFirstOfTwo) units.push_back(static_cast<u16>(0xD7C0 + (character >> 10)));
    units.push_back(static_cast<u16>(character >= kFirstOfTwo ? 0xDC00 + (character & 0x3FF) : character));
  }
  return units;
}

Bytes BytesOf(const std::vector<u16>& units, bool high_first) {
  Bytes bytes;
  for (const u16 unit : units) {
    const u8 high = static_cast<u8>(unit >> 8);
    const u8 low = static_cast<u8>(unit);
    bytes.insert(bytes.end(), {high_first ? high : low, high_first ? low : high});
  }
  return bytes;
}

}  // namespace

Bytes BytesOfHex(const std::string& text) {
  Bytes bytes;
  for (std::size_t i = text.starts_with("0x") || text.starts_with("0X") ? 2 : 0; i < text.size(); i += 2) {
    while (i < text.size() && text[i] == ' ') ++i;
    if (i + 1 >= text.size() || DigitOf(text[i]) < 0 || DigitOf(text[i + 1]) < 0) return {};
    bytes.push_back(static_cast<u8>(DigitOf(text[i]) << 4 | DigitOf(text[i + 1])));
  }
  return bytes;
}

std::vector<SearchPattern> TextPatterns(const std::string& text, bool any_case) {
  const std::span<const u8> bytes = AsBytes(text);
  std::vector<SearchPattern> patterns = {
      {.as = "utf-8", .bytes = Bytes(bytes.begin(), bytes.end()), .any_case = any_case}};
  if (const auto characters = Decode(bytes)) {
    const std::vector<u16> units = Utf16Of(*characters);
    patterns.push_back({.as = "utf-16le", .bytes = BytesOf(units, false), .any_case = any_case});
    patterns.push_back({.as = "utf-16be", .bytes = BytesOf(units, true), .any_case = any_case});
  }
  return patterns;
}

std::vector<u32> FindAll(std::span<const u8> bytes, const SearchPattern& pattern) {
  const auto same = [&pattern](u8 a, u8 b) { return a == b || (pattern.any_case && Lower(a) == Lower(b)); };
  std::vector<u32> places;
  for (auto from = bytes.begin();;) {
    from = std::search(from, bytes.end(), pattern.bytes.begin(), pattern.bytes.end(), same);
    if (from == bytes.end()) return places;
    places.push_back(static_cast<u32>(from - bytes.begin()));
    from += std::ssize(pattern.bytes);
  }
}

}  // namespace vok::tool

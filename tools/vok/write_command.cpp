#include <fmt/core.h>

#include "change_json.h"
#include "changed_image.h"
#include "commands.h"
#include "failure.h"
#include "items.h"
#include "room.h"
#include "store/volume/layout.h"
#include "terminal.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

constexpr u8 kJournalled = 1;

std::string IdText(u16 id) { return id == kNewId ? "a new ID" : fmt::format("ID {}", id); }

/// Why the store refused an item.
std::string WhyNot(u16 code, const Section& section, u32 length) {
  if (IsNoRoom(code)) return RoomFigures(section.partition(), length);
  if (code == code::kLargeChunk)
    return fmt::format("{} bytes, the largest item has {}", length, LargestItem(section.entry.block_size));
  if (code == code::kReadOnly) return "the section is read-only";
  return "the store refuses";
}

void RequireChanged(u16 code, const std::string& what, const Section& section, u32 length) {
  if (code != code::kOk)
    throw Failure(fmt::format("{} in section {}: {}", what, section.name, WhyNot(code, section, length)), code);
}

void PrintNewId(const Options& options, u16 asked, u16 id) {
  if (!options.json && asked == kNewId) Print(fmt::format("{}\n", id));
}

}  // namespace

int RunWrite(const Options& options) {
  const Bytes bytes = options.input == "-" ? ReadStandardInput() : ReadFile(options.input);
  const u32 length = static_cast<u32>(bytes.size());
  ChangedImage image(options.image);
  const std::string what = fmt::format("cannot write item type {} {}", options.type, IdText(options.id));
  const Section section = SectionOfType(image.sections(), options.type, what);
  u16 id = options.id;
  const u16 code = AttemptWithRoom(image, section.name, section.partition(), [&] {
    return WriteItem(section.partition(), kJournalled, options.type, &id, bytes.data(), length);
  });
  RequireChanged(code, what, section, length);
  image.Save(options.output);
  PrintNewId(options, options.id, id);
  if (options.json)
    Print(WrittenJson(section, {.type = options.type, .id = id, .length = length, .crc32 = Crc32(bytes)}));
  return kDone;
}

int RunRename(const Options& options) {
  ChangedImage image(options.image);
  const std::string what = fmt::format("cannot rename item type {} ID {} to type {} {}", options.type, options.id,
                                       options.new_type, IdText(options.new_id));
  const Section section = SectionOfType(image.sections(), options.type, what);
  const Section& target = SectionOfType(image.sections(), options.new_type, what);
  if (target.partition() != section.partition())
    throw Failure(fmt::format("{}: type {} belongs to section {} and type {} to section {}; write the item there and "
                              "delete it here",
                              what, options.type, section.name, options.new_type, target.name),
                  code::kInvalidPartition);
  const Bytes bytes = ReadItemBytes(section, options.type, options.id);
  const u32 length = static_cast<u32>(bytes.size());
  u16 id = options.new_id;
  const u16 code = AttemptWithRoom(image, section.name, section.partition(), [&] {
    return RenameItem(section.partition(), kJournalled, options.new_type, &id, options.type, options.id);
  });
  RequireChanged(code, what, section, length);
  image.Save(options.output);
  PrintNewId(options, options.new_id, id);
  if (options.json)
    Print(WrittenJson(section, {.type = options.new_type, .id = id, .length = length, .crc32 = Crc32(bytes)}));
  return kDone;
}

}  // namespace vok::tool

#include <fmt/core.h>

#include "answer/change_json.h"
#include "base/failure.h"
#include "base/terminal.h"
#include "building/changed_image.h"
#include "building/room.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "section/items.h"
#include "store/volume/layout.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

constexpr u8 kJournalled = 1;

std::string IdText(u16 id) { return id == kNewId ? "a new ID" : fmt::format("ID {}", id); }

/// A change of one item, for the messages when the store refuses it.
struct ItemChange {
  std::string what;
  Section section;  ///< a copy: making room mounts the sections anew
  u32 length;       ///< of the item
  u64 marker;       ///< bytes of the journal record that announces the change
};

/// What a journal record with @p data bytes after its fixed fields takes.
u64 MarkerSize(u32 data) { return RecordAndSlotSize(journal::kOffsetWordOffset + CurrentLayout().word_size + data); }

bool Exists(const Section& section, u16 type, u16 id) {
  u32 length = 0;
  return id != kNewId && GetItemLength(section.partition(), type, id, &length) == code::kOk;
}

std::string WhyNot(u16 code, const ItemChange& change) {
  if (IsNoRoom(code)) return RoomFigures(change.section.partition(), RecordAndSlotSize(change.length) + change.marker);
  if (code == code::kLargeChunk)
    return fmt::format("{} bytes, the largest item has {}", change.length,
                       LargestItem(change.section.entry.block_size));
  if (code == code::kReadOnly) return "the section is read-only";
  if (code == code::kTargetExists) return "there is an item of that name";
  return "the store refuses";
}

/// Makes the change, with room for it, and writes the image.
void Carry(const ItemChange& change, ChangedImage& image, const Claim& claim, const std::function<u16()>& attempt) {
  const u16 code = AttemptWithRoom(image, change.section.name, change.section.partition(), attempt);
  if (code != code::kOk)
    throw Failure(fmt::format("{} in section {}: {}", change.what, change.section.name, WhyNot(code, change)), code);
  image.Save(claim);
}

void PrintAnswer(const Options& options, u16 asked, const Section& section, const ItemEntry& item,
                 const Losses& losses) {
  if (options.json) return Print(WrittenJson(section, item, losses));
  if (asked == kNewId) Print(fmt::format("{}\n", item.id));
}

}  // namespace

void TakeWrite(Arguments& arguments, Options& options) {
  arguments.Type("TYPE", options.type);
  arguments.IdOrNew("ID", options.id);
  arguments.Text("FILE", options.input, "its bytes (- = standard input)").Required();
  arguments.ChangedOutput();
  arguments.Json();
}

void TakeRename(Arguments& arguments, Options& options) {
  arguments.Type("TYPE", options.type);
  arguments.Id("ID", options.id);
  arguments.Type("NEWTYPE", options.new_type);
  arguments.IdOrNew("NEWID", options.new_id);
  arguments.ChangedOutput();
  arguments.Json();
}

int RunWrite(const Options& options) {
  const Bytes bytes = options.input == "-" ? ReadStandardInput() : ReadFile(options.input);
  const u32 length = static_cast<u32>(bytes.size());
  const Claim claim(options.image, DestinationOf(options));
  ChangedImage image(options.image, AcceptLoss{options.accept_loss});
  const std::string what = fmt::format("cannot write item type {} {}", options.type, IdText(options.id));
  const Section section = SectionOfType(image.sections(), options.type, what);
  const u64 marker = Exists(section, options.type, options.id) ? MarkerSize(0) : 0;
  u16 id = options.id;
  Carry({.what = what, .section = section, .length = length, .marker = marker}, image, claim,
        [&] { return WriteItem(section.partition(), kJournalled, options.type, &id, bytes.data(), length); });
  PrintAnswer(options, options.id, section, {.type = options.type, .id = id, .length = length, .crc32 = Crc32(bytes)},
              image.losses());
  return kDone;
}

int RunRename(const Options& options) {
  const Claim claim(options.image, DestinationOf(options));
  ChangedImage image(options.image, AcceptLoss{options.accept_loss});
  const std::string what = fmt::format("cannot rename item type {} ID {} to type {} {}", options.type, options.id,
                                       options.new_type, IdText(options.new_id));
  const Section section = SectionOfType(image.sections(), options.type, what);
  const Section& target = SectionOfType(image.sections(), options.new_type, what);
  if (target.partition() != section.partition())
    throw Failure(fmt::format("{}: type {} belongs to section {} and type {} to section {}; write the item there and "
                              "delete it here",
                              what, options.type, section.name, options.new_type, target.name),
                  code::kInvalidPartition);
  if (!Exists(section, options.type, options.id))
    throw Failure(fmt::format("{}: section {} has no such item", what, section.name), code::kItemNotFound);
  const Bytes bytes = ReadItemBytes(section, options.type, options.id);
  const u32 length = static_cast<u32>(bytes.size());
  u16 id = options.new_id;
  Carry({.what = what, .section = section, .length = length, .marker = MarkerSize(journal::kRenameDataSize)}, image,
        claim,
        [&] { return RenameItem(section.partition(), kJournalled, options.new_type, &id, options.type, options.id); });
  PrintAnswer(options, options.new_id, section,
              {.type = options.new_type, .id = id, .length = length, .crc32 = Crc32(bytes)}, image.losses());
  return kDone;
}

}  // namespace vok::tool

#include <fmt/core.h>

#include "answer/change_json.h"
#include "base/failure.h"
#include "base/terminal.h"
#include "building/item_change.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "section/items.h"
#include "store/volume/layout.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

std::string IdText(u16 id) { return id == kNewId ? "a new ID" : fmt::format("ID {}", id); }

bool Exists(const Section& section, u16 type, u16 id) {
  u32 length = 0;
  return id != kNewId && GetItemLength(section.partition(), type, id, &length) == code::kOk;
}

/// Makes the change and writes the image.
void Carry(const ItemChange& change, ChangedImage& image, const Claim& claim, const std::function<u16()>& attempt) {
  MakeChange(change, image, attempt);
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
  arguments.Check([&options] {
    if (options.input == kStandardStream && options.image.IsStandardInput())
      throw WrongCommandLine("standard input cannot hold both the image and the item");
  });
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

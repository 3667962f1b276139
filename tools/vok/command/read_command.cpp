#include <fmt/core.h>

#include <algorithm>

#include "answer/json.h"
#include "base/failure.h"
#include "base/files.h"
#include "base/hex_dump.h"
#include "base/terminal.h"
#include "building/read_image.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "command/conclude.h"
#include "section/items.h"
#include "section/losses_text.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

/// The section that serves an item, which may lie where no route leads. @return null = none
const Section* HolderOf(const SectionList& sections, u16 type, u16 id, Bytes& bytes) {
  const u8 routed = FindPartitionForType(type);
  for (const bool by_route : {true, false})
    for (const Section& section : sections.accepted)
      if (section.IsMounted() && (section.partition() == routed) == by_route &&
          TryReadItem(section, type, id, bytes) == code::kOk)
        return &section;
  return nullptr;
}

void DeliverItem(const Options& options, const Section& section, u16 id, const Bytes& bytes, const Losses& losses) {
  if (!options.output.empty() && options.output != "-") WriteOutput(options.output, bytes, ExistingFor(options));
  if (options.output == "-") return PrintBytes(bytes);
  if (options.json) {
    const ItemEntry item{
        .type = options.type, .id = id, .length = static_cast<u32>(bytes.size()), .crc32 = Crc32(bytes)};
    return Print(ItemJson(section, item, bytes, losses));
  }
  if (options.output.empty()) Print(HexDump(bytes));
}

/// The code that the store gives for an item of a section.
u16 CodeOf(const SectionList& sections, const std::string& section, const ItemKey& name) {
  Bytes ignored;
  for (const Section& candidate : sections.accepted)
    if (candidate.name == section) return TryReadItem(candidate, name.type, name.id, ignored);
  return code::kInvalidPartition;
}

[[noreturn]] void ThrowMissing(const SectionList& sections, const ItemKey& name, const Losses& losses) {
  const std::string item = fmt::format("item type {} ID {}", name.type, name.id);
  if (!losses.empty())
    throw Failure(fmt::format("cannot read {}: {}", item, TextOf(losses)),
                  CodeOf(sections, losses.front().section, name));
  const Section& section = SectionOfType(sections, name.type, "no " + item);
  ReadItemBytes(section, name.type, name.id);
  throw Failure("no " + item, code::kItemNotFound);
}

std::vector<ItemWithBytes> ItemsInRange(const SectionList& sections, u16 type, const NumberRange& ids) {
  std::vector<ItemWithBytes> items;
  for (const Section& section : sections.accepted)
    if (section.IsMounted() && Serves(section, type))
      VisitItems(section, [&](const ItemEntry& item, const Bytes& bytes) {
        if (item.type == type && (ids.IsEmpty() || ids.Holds(item.id))) items.push_back({&section, item, bytes});
      });
  std::stable_sort(items.begin(), items.end(),
                   [](const ItemWithBytes& a, const ItemWithBytes& b) { return a.item.id < b.item.id; });
  return items;
}

void PrintAll(const std::vector<ItemWithBytes>& items) {
  for (const auto& [section, item, bytes] : items)
    Print(fmt::format("{}{} type {} ID {}, {} bytes\n{}", &section == &items.front().section ? "" : "\n", section->name,
                      item.type, item.id, item.length, HexDump(bytes)));
}

Losses LossesOfItems(Losses losses, u16 type, const NumberRange& ids) {
  const auto other = [&](const ItemKey& item) { return item.type != type || (!ids.IsEmpty() && !ids.Holds(item.id)); };
  for (Loss& loss : losses) std::erase_if(loss.items, other);
  std::erase_if(losses, [](const Loss& loss) { return loss.items.empty(); });
  return losses;
}

/// Of all items of a type, or of a range of IDs.
int ReadSeveral(const Options& options, const ReadImage& image) {
  const SectionList& sections = image.sections();
  const Losses losses = LossesOfItems(image.losses(), options.type, options.ids);
  const std::vector<ItemWithBytes> items = ItemsInRange(sections, options.type, options.ids);
  if (options.json) {
    Print(ItemsWithBytesJson(image.version(), items, losses));
  } else {
    PrintAll(items);
  }
  if (!items.empty() || !losses.empty()) return Conclude(losses);
  SectionOfType(sections, options.type, fmt::format("no item of type {}", options.type));
  throw Failure(fmt::format("no item of type {}{}", options.type, options.ids.IsEmpty() ? "" : " with such an ID"));
}

}  // namespace

void TakeRead(Arguments& arguments, Options& options) {
  arguments.Type("TYPE", options.type);
  arguments.Range("ID", options.ids, kTypeOrId, "item ID, or FIRST-LAST (default: all of the type)");
  arguments.Json();
  arguments.Rebuilt();
  arguments.Output("write the bytes to FILE (- = standard output)");
  arguments.Check([&options] {
    if (!options.ids.IsOne() && !options.output.empty())
      throw WrongCommandLine("-o takes one item; vok unpack writes each to a file of its own");
  });
}

int RunRead(const Options& options) {
  const ReadImage image(options.image);
  if (!options.ids.IsOne()) return ReadSeveral(options, image);
  const ItemKey name{.type = options.type, .id = options.ids.first};
  const Losses losses = LossesOfItem(image.losses(), name);
  Bytes bytes;
  if (const Section* const section = HolderOf(image.sections(), name.type, name.id, bytes)) {
    DeliverItem(options, *section, name.id, bytes, losses);
  } else if (!losses.empty() && options.json) {
    Print(LostItemJson(name, losses));
  } else {
    ThrowMissing(image.sections(), name, losses);
  }
  return Conclude(losses);
}

}  // namespace vok::tool

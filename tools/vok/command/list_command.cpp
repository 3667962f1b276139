#include <fmt/core.h>

#include <algorithm>

#include "answer/json.h"
#include "base/hex_dump.h"
#include "base/table.h"
#include "base/terminal.h"
#include "building/read_image.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "command/conclude.h"
#include "section/items.h"
#include "section/losses_text.h"
#include "section/valid_copies.h"

namespace vok::tool {

namespace {

/// The sections to list: the one that was named, or all. One that is not mounted has no items to list.
std::vector<SectionItems> ListSections(const ReadImage& image, const std::string& name) {
  const Section* const only = name.empty() ? nullptr : &FindSection(image.sections(), name);
  std::vector<SectionItems> listed;
  for (const Section& section : image.sections().accepted)
    if (section.IsMounted() && (only == nullptr || &section == only))
      listed.push_back({.section = &section, .items = ListSection(section)});
  return listed;
}

/// Of a section that is named and not mounted there is nothing to list.
void RequireSection(const ReadImage& image, const Options& options) {
  const Section& section = FindSection(image.sections(), options.section);
  if (!options.json) RequireMounted(section, "; " + TextOf(LossesOfSection(image.losses(), section.name)));
}

/// Those of the sections and the types that are listed.
Losses LossesToTell(const ReadImage& image, const Options& options) {
  Losses losses = options.section.empty()
                      ? image.losses()
                      : LossesOfSection(image.losses(), FindSection(image.sections(), options.section).name);
  if (options.types.IsEmpty()) return losses;
  const auto other = [&options](const ItemKey& item) { return !options.types.Holds(item.type); };
  for (Loss& loss : losses) std::erase_if(loss.items, other);
  std::erase_if(losses, [](const Loss& loss) { return loss.items.empty(); });
  return losses;
}

using Row = std::pair<const Section*, ItemEntry>;

/// Whether one row goes before another.
using Order = bool (*)(const Row& a, const Row& b);

constexpr std::pair<const char*, Order> kOrders[] = {
    {"section", [](const Row& a, const Row& b) { return a.first->name < b.first->name; }},
    {"type", [](const Row& a, const Row& b) { return a.second.type < b.second.type; }},
    {"id", [](const Row& a, const Row& b) { return a.second.id < b.second.id; }},
    {"length", [](const Row& a, const Row& b) { return a.second.length < b.second.length; }},
    {"address", [](const Row& a, const Row& b) { return a.second.address < b.second.address; }},
    {"crc32", [](const Row& a, const Row& b) { return a.second.crc32 < b.second.crc32; }},
};

/// The rows that were asked for, in the order that was asked for; what an order leaves open stays as it lies in flash.
std::vector<Row> RowsOf(const std::vector<SectionItems>& sections, const Options& options) {
  std::vector<Row> rows;
  for (const SectionItems& listed : sections)
    for (const ItemEntry& item : listed.items)
      if (options.types.IsEmpty() || options.types.Holds(item.type)) rows.emplace_back(listed.section, item);
  for (const std::string& name : options.sort)
    for (const auto& [order_name, order] : kOrders)
      if (name == order_name) std::stable_sort(rows.begin(), rows.end(), order);
  if (options.reverse) std::reverse(rows.begin(), rows.end());
  return rows;
}

/// The first byte of the copy that a read takes: of the sound ones the first that a search meets.
u64 AddressIn(const SectionBlocks& blocks, CopyGroup copies) {
  for (const ValidCopy& copy : copies)
    if (copy.sound && blocks.HeadOf(copy.block).IsSearched()) return blocks.RecordOf(copy).payload();
  return 0;
}

void LookUpAddresses(std::vector<SectionItems>& sections) {
  for (SectionItems& listed : sections) {
    const SectionBlocks blocks(*listed.section);
    const SectionHoldings holdings = HoldingsOf(blocks);
    for (ItemEntry& item : listed.items)
      item.address = AddressIn(blocks, CopiesOf(holdings, {.type = item.type, .id = item.id}));
  }
}

void PrintRows(const std::vector<Row>& rows, bool is_long) {
  using Align = Table::Align;
  std::vector<Table::Column> columns = {
      {"SECTION"}, {"TYPE", Align::kRight}, {"ID", Align::kRight}, {"LENGTH", Align::kRight}};
  if (is_long) columns.insert(columns.end(), {{"ADDRESS", Align::kRight}, {"CRC32"}});
  Table table(std::move(columns));
  for (const auto& [section, item] : rows) {
    std::vector<std::string> cells = {section->name, std::to_string(item.type), std::to_string(item.id),
                                      std::to_string(item.length)};
    if (is_long) cells.insert(cells.end(), {HexAddress(item.address), ChecksumText(item.crc32)});
    table.AddRow(std::move(cells));
  }
  table.Print();
  Print(fmt::format("{} item{}\n", rows.size(), rows.size() == 1 ? "" : "s"));
}

/// Rows as the answers take them, in their own order.
std::vector<SectionItems> ItemsOf(const std::vector<Row>& rows) {
  std::vector<SectionItems> items;
  items.reserve(rows.size());
  for (const auto& [section, item] : rows) items.push_back({.section = section, .items = {item}});
  return items;
}

}  // namespace

void TakeList(Arguments& arguments, Options& options) {
  std::vector<std::string> orders;
  for (const auto& [name, order] : kOrders) orders.emplace_back(name);
  arguments.Section("list this section only");
  arguments.Range("--type", options.types, kTypeOrId, "list items of this type, or of FIRST-LAST, only");
  arguments.Choices("--sort", options.sort, orders,
                    "section, type, id, length, address or crc32; the last of several comes first");
  arguments.Flag("-r,--reverse", options.reverse, "the other way round");
  arguments.Flag("-l,--long", options.long_list, "also show addresses and checksums");
  arguments.Json();
  arguments.Rebuilt();
  arguments.ManyImages(ManyUse::kOptions);
}

int RunList(const Options& options) {
  const ReadImage image(options.image);
  if (!options.section.empty()) RequireSection(image, options);
  std::vector<SectionItems> listed = ListSections(image, options.section);
  LookUpAddresses(listed);
  const std::vector<Row> rows = RowsOf(listed, options);
  const Losses losses = LossesToTell(image, options);
  if (options.json) {
    Print(ItemsJson(image.version(), ItemsOf(rows), losses));
  } else {
    PrintRows(rows, options.long_list);
  }
  return Conclude(losses);
}

}  // namespace vok::tool

#include "operations.h"

#include "arguments.h"

namespace vok::fuzz {

const std::array<Operator::Member, 18> Operator::kReading = {
    &Operator::Item,       &Operator::Length,    &Operator::Types,  &Operator::Items,    &Operator::ItemsOfSet,
    &Operator::TypesOfSet, &Operator::Figures,   &Operator::Open,   &Operator::OpenMany, &Operator::HandleBytes,
    &Operator::Close,      &Operator::CloseMany, &Operator::Client, &Operator::Pointer,  &Operator::Pointers,
    &Operator::Release,    &Operator::Advice,    &Operator::NewId};
const std::array<Operator::Member, 10> Operator::kWriting = {
    &Operator::Write,       &Operator::WritePart,  &Operator::Rename,       &Operator::Delete,  &Operator::DeleteIds,
    &Operator::DeleteTypes, &Operator::Reorganise, &Operator::EraseRetired, &Operator::Answers, &Operator::Failures};

void Operator::Read() { (this->*kReading[input_.Byte() % kReading.size()])(); }

void Operator::Any() {
  const std::uint8_t choice = input_.Byte();
  if (choice % 3 == 0) return (this->*kReading[choice / 3 % kReading.size()])();
  (this->*kWriting[choice / 3 % kWriting.size()])();
}

void Operator::ReadAll() {
  std::vector<std::uint16_t> types(300);
  auto count = static_cast<std::uint32_t>(types.size());
  const std::uint16_t code =
      world_.Run("ListTypes", {0, 120}, [&] { return ListTypes(0, nullptr, nullptr, types.data(), &count); });
  if (code != 0) return;
  for (std::uint32_t i = 0; i < std::min(count, 20u); ++i) {
    std::vector<std::uint16_t> ids(40);
    auto items = static_cast<std::uint32_t>(ids.size());
    std::uint32_t total = 0;
    world_.Run("ListItems", {0, 118, 120},
               [&] { return ListItems(0, types[i], nullptr, nullptr, ids.data(), &items, &total); });
    for (std::uint32_t n = 0; n < items && ids[n] != 0xFFFF; ++n) {
      const std::uint32_t room = n == 3 ? world_.geometry().block_size & 0x3FFFF : 60;
      Exact<std::uint8_t> buffer(room);
      std::uint32_t length = room;
      world_.Run(
          "ReadItem", {0, 108, 115, 118, 119, 120},
          [&] { return ReadItem(0, types[i], ids[n], buffer.get(), &length, 0); }, length, buffer.values());
      Require(length <= room, "more bytes than the buffer holds");
    }
  }
}

void Operator::Item() {
  const std::uint32_t room = TakeLength(input_);
  Exact<std::uint8_t> buffer(room);
  std::uint32_t length = room;
  const Name name = TakeName(input_);
  const std::uint32_t offset = TakeOffset(input_);
  world_.Run(
      "ReadItem", {0, 108, 112, 114, 115, 118, 119, 120},
      [&] { return ReadItem(0, name.type, name.id, buffer.get(), &length, offset); }, length, buffer.values());
  Require(length <= room, "more bytes than the buffer holds");
}

void Operator::Length() {
  std::uint32_t length = 0;
  const Name name = TakeName(input_);
  world_.Run(
      "GetItemLength", {0, 112, 118, 119}, [&] { return GetItemLength(0, name.type, name.id, &length); }, length);
  Require(length <= world_.geometry().block_size, "an item longer than its block");
}

void Operator::Types() {
  std::uint32_t count = input_.Byte() % 12;
  Exact<std::uint16_t> out(count);
  world_.Run(
      "ListTypes", {0, 120}, [&] { return ListTypes(0, nullptr, nullptr, out.get(), &count); }, count, out.values());
}

void Operator::Items() {
  const std::uint16_t type = TakeType(input_);
  const std::uint8_t how = input_.Byte();
  std::uint32_t count = how % 16;
  std::uint32_t total = 0;
  Exact<std::uint16_t> out(count);
  world_.Run(
      "ListItems", {0, 115, 118, 120},
      [&] { return ListItems(0, type, nullptr, nullptr, out.get(), &count, (how & 16) != 0 ? &total : nullptr); },
      count, total, out.values());
}

void Operator::ItemsOfSet() {
  const std::uint16_t type = TakeType(input_);
  const std::uint32_t room = input_.Byte() % 8;
  const bool adds_up = input_.Flag();
  WithSet(type, [&](const ValueSetChunk* set, std::uint16_t& cursor) {
    std::uint32_t count = room;
    std::uint32_t total = 0;
    Exact<std::uint16_t> out(count);
    world_.Run(
        "ListItems", {0, 112, 115, 119, 120},
        [&] { return ListItems(0, type, &cursor, set, out.get(), &count, adds_up ? &total : nullptr); }, count, total,
        cursor, out.values());
  });
}

void Operator::TypesOfSet() {
  std::array<ValueSetChunk, 3> chunks{};
  for (std::size_t i = 0; i < chunks.size(); ++i) {
    if (i + 1 < chunks.size() && input_.Flag()) chunks[i].next = &chunks[i + 1];
    chunks[i].base = static_cast<std::uint16_t>(input_.Byte() % 64 * 1024);
    chunks[i].count = input_.Half();
    chunks[i].bitmap[input_.Byte() % 64] = input_.Half();
  }
  chunks[0].key = input_.Byte() % 8;
  std::uint16_t cursor = TakeType(input_);
  std::uint32_t count = input_.Byte() % 20;
  Exact<std::uint16_t> out(count);
  world_.Run(
      "ListTypes", {0, 118, 120}, [&] { return ListTypes(0, &cursor, chunks.data(), out.get(), &count); }, count,
      cursor, out.values());
  count = input_.Byte() % 20;
  Exact<std::uint16_t> ids(count);
  std::uint32_t total = 0;
  world_.Run(
      "ListItems", {0, 112, 115, 118, 119, 120},
      [&] {
        return ListItems(0, chunks[0].key, &cursor, chunks.data(), ids.get(), &count, count != 0 ? &total : nullptr);
      },
      count, total, cursor, ids.values());
}

void Operator::Figures() {
  PartitionSpace space{};
  world_.Run(
      "GetPartitionSpace", {0}, [&] { return GetPartitionSpace(0, &space); }, space);
  PartitionRecord record{};
  if (world_.Run("GetPartitionRecord", {0}, [&] { return GetPartitionRecord(0, &record); }) != 0) return;
  for (std::uint16_t i = 0; i <= record.block_count; ++i) {
    BlockInfo info{};
    if (world_.Run(
            "GetBlockInfo", {0, 109}, [&] { return GetBlockInfo(0, i, &info); }, info) != 0)
      break;
    const BlockRecord& block = record.block_table[i];
    const std::uint64_t end = block.base + record.block_size;
    Require(block.top >= block.base && block.top <= end, "top outside the block");
    transcript.See(block.top);
    transcript.See(block.next_slot);
    Require(info.used_bytes <= record.block_size && info.largest_item <= record.block_size, "figures beyond the block");
  }
  std::uint8_t overhead = 0;
  const std::uint32_t length = input_.Word();
  world_.Run(
      "ItemOverhead", {0}, [&] { return ItemOverhead(1, length, &overhead); }, overhead);
}

}  // namespace vok::fuzz

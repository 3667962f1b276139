#include "arguments.h"
#include "operations.h"

namespace vok::fuzz {

namespace {

template <typename T, std::size_t N>
std::span<const T> Seen(const std::array<T, N>& records) {
  return records;
}

}  // namespace

void Operator::Open() {
  OpenedItem& record = opened_[input_.Byte() % opened_.size()];
  const Name name = TakeName(input_);
  world_.Run(
      "OpenItem", {0, 112, 118, 119, 136},
      [&] { return OpenItem(0, name.type, name.id, &record.handle, &record.length); }, record);
}

void Operator::OpenMany() {
  const std::uint16_t type = TakeType(input_);
  std::uint32_t count = input_.Byte() % 5;
  world_.Run(
      "OpenItems", {0, 118, 120, 136}, [&] { return OpenItems(0, type, nullptr, nullptr, opened_.data(), &count); },
      count, Seen(opened_));
  WithSet(type, [&](const ValueSetChunk* set, std::uint16_t& cursor) {
    count = 3;
    world_.Run(
        "OpenItems", {0, 112, 119, 120, 136}, [&] { return OpenItems(0, type, &cursor, set, opened_.data(), &count); },
        count, Seen(opened_));
  });
}

void Operator::HandleBytes() {
  const std::uint32_t handle = input_.Flag() ? opened_[input_.Byte() % opened_.size()].handle : input_.Word() & 0x3FFFF;
  const std::uint32_t length = TakeLength(input_);
  const std::uint32_t offset = TakeOffset(input_);
  Exact<std::uint8_t> buffer(length);
  world_.Run(
      "ReadHandle", {0, 110, 114, 115, 116}, [&] { return ReadHandle(handle, length, offset, buffer.get()); },
      buffer.values());
  transcript.See(ReadHandleValue(handle, input_.Byte() % 5, offset));
}

void Operator::Close() {
  const std::uint32_t handle = input_.Flag() ? opened_[input_.Byte() % opened_.size()].handle : input_.Word() & 0x3FFFF;
  world_.Run("CloseHandle", {0, 110, 116}, [&] { return CloseHandle(handle); });
}

void Operator::CloseMany() {
  const std::uint32_t count = input_.Byte() % 5;
  world_.Run("CloseHandles", {0, 110, 116}, [&] { return CloseHandles(opened_.data(), count); });
}

void Operator::Client() {
  const std::uint8_t number = input_.Byte() % 5;
  std::uint16_t lock = 0;
  if (input_.Flag())
    world_.Run(
        "RegisterClient", {0, 101, 103}, [&] { return RegisterClient(0, number, &lock); }, lock);
  else
    world_.Run("UnregisterClient", {0, 113, 133}, [&] { return UnregisterClient(0, number); });
}

void Operator::Pointer() {
  ItemPointer& record = pointers_[input_.Byte() % pointers_.size()];
  const Name name = TakeName(input_);
  const std::uint16_t lock = input_.Byte() % 4;
  world_.Run(
      "GetItemPointer", {0, 112, 113, 118, 119, 137},
      [&] { return GetItemPointer(0, name.type, name.id, &record.address, &record.length, lock); }, record);
}

void Operator::Pointers() {
  const std::uint16_t type = TakeType(input_);
  const std::uint16_t lock = input_.Byte() % 4;
  std::uint32_t count = input_.Byte() % 5;
  world_.Run(
      "GetItemPointers", {0, 113, 118, 120, 137},
      [&] { return GetItemPointers(0, type, nullptr, nullptr, pointers_.data(), &count, lock); }, count,
      Seen(pointers_));
  WithSet(type, [&](const ValueSetChunk* set, std::uint16_t& cursor) {
    count = 3;
    world_.Run(
        "GetItemPointers", {0, 112, 113, 119, 120, 137},
        [&] { return GetItemPointers(0, type, &cursor, set, pointers_.data(), &count, lock); }, count, Seen(pointers_));
  });
}

void Operator::Release() {
  const std::uint16_t lock = input_.Byte() % 4;
  const std::uint64_t address = input_.Flag() ? pointers_[input_.Byte() % pointers_.size()].address : input_.Word();
  world_.Run("ReleasePointer", {0, 113, 117}, [&] { return ReleasePointer(0, address, lock); });
  const std::uint16_t type = TakeType(input_);
  const std::uint32_t count = input_.Byte() % 5;
  world_.Run("ReleasePointers", {0, 113, 117, 118},
             [&] { return ReleasePointers(0, type, pointers_.data(), count, lock); });
}

void Operator::Advice() {
  std::uint16_t block = 0;
  const std::uint8_t threshold = input_.Byte() % 104;
  const std::uint8_t admit = input_.Byte() % 2;
  world_.Run(
      "CheckReorgNeed", {0, 115, 123, 133}, [&] { return CheckReorgNeed(0, threshold, &block, admit); }, block);
}

void Operator::NewId() {
  std::uint16_t id = 0;
  const std::uint16_t type = TakeType(input_);
  world_.Run(
      "MakeId", {0, 100, 118, 134}, [&] { return MakeId(0, type, &id); }, id);
}

}  // namespace vok::fuzz

#include "arguments.h"
#include "operations.h"

namespace vok::fuzz {

void Operator::Write() {
  std::uint16_t id = TakeId(input_);
  const std::uint8_t mode = input_.Byte() % 3;
  const std::uint16_t type = TakeType(input_);
  const std::uint32_t length = TakeLength(input_);
  const Bytes data(length, static_cast<std::uint8_t>(id + length));
  const std::uint8_t* const bytes = input_.Byte() % 16 == 0 ? nullptr : data.data();
  world_.Run(
      "WriteItem", {0, 100, 105, 115, 118, 121, 123, 124, 130, 134},
      [&] { return WriteItem(0, mode, type, &id, bytes, length); }, id);
}

void Operator::WritePart() {
  const std::uint8_t mode = input_.Byte() % 3;
  const std::uint16_t type = TakeType(input_);
  const std::uint16_t id = TakeId(input_);
  const Bytes data(1 + TakeLength(input_), 0x3C);
  const auto length = static_cast<std::uint32_t>(data.size() - input_.Byte() % 2);
  const std::uint32_t offset = TakeOffset(input_);
  world_.Run("WriteItemPart", {0, 105, 112, 114, 115, 118, 119, 121, 123, 124, 130, 134},
             [&] { return WriteItemPart(0, mode, type, id, data.data(), length, offset); });
}

void Operator::Rename() {
  std::uint16_t new_id = TakeId(input_);
  const std::uint8_t mode = input_.Byte() % 2;
  const std::uint16_t new_type = TakeType(input_);
  const Name old = TakeName(input_);
  world_.Run(
      "RenameItem", {0, 100, 105, 112, 118, 119, 123, 124, 130, 134, 135},
      [&] { return RenameItem(0, mode, new_type, &new_id, old.type, old.id); }, new_id);
}

void Operator::Delete() {
  const Name name = TakeName(input_);
  world_.Run("DeleteItem", {0, 105, 112, 118, 119, 134}, [&] { return DeleteItem(0, name.type, name.id); });
}

void Operator::DeleteIds() {
  const Name first = TakeName(input_);
  const std::uint16_t last = TakeId(input_);
  world_.Run("DeleteItemRange", {0, 105, 115, 119, 134},
             [&] { return DeleteItemRange(0, first.type, first.id, last); });
}

void Operator::DeleteTypes() {
  const std::uint16_t first = TakeType(input_);
  const std::uint16_t last = TakeType(input_);
  world_.Run("DeleteTypeRange", {0, 105, 115, 134}, [&] { return DeleteTypeRange(0, first, last); });
}

void Operator::Reorganise() {
  const auto block = static_cast<std::uint16_t>(input_.Byte() % 6);
  const std::uint8_t force = input_.Byte() % 2;
  const std::uint16_t refusal = force != 0 ? world_.hooks.notify_answer : std::uint16_t{0};
  world_.Run("ReorganiseBlock", {0, 105, 108, 109, 126, 133, 134, 141, refusal},
             [&] { return ReorganiseBlock(0, block, force); });
}

void Operator::EraseRetired() {
  std::uint16_t block = input_.Flag() ? std::uint16_t{0xFFFF} : static_cast<std::uint16_t>(input_.Byte() % 6);
  world_.Run(
      "EraseRetiredBlock", {0, 104, 105, 109, 134}, [&] { return EraseRetiredBlock(0, &block); }, block);
}

void Operator::Answers() {
  static constexpr std::array<std::uint16_t, 5> kAnswers = {0, 105, 115, 142, 7};
  world_.hooks.program_over_answer = input_.Pick(kAnswers);
  world_.hooks.notify_answer = input_.Byte() % 4 == 3 ? 150 : 0;
}

void Operator::Failures() {
  const std::uint8_t choice = input_.Byte();
  world_.device.FailIn(static_cast<FailingDevice::Failure>(choice % 4), choice / 4 % 16);
  world_.hooks.allocations_left = input_.Byte() % 4 == 3 ? input_.Byte() % 6 : -1;
}

}  // namespace vok::fuzz

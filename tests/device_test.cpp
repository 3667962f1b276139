#include "support/store_fixture.h"

namespace vok {

/// A chip's lock sequences, which no operation of the store uses.
std::uint16_t LockBlock(std::uint32_t address);
std::uint16_t UnlockBlock(std::uint32_t address);

namespace test {
namespace {

/// A chip that makes bulk programs step by step.
class StepwiseDevice : public RecordingDevice {
 public:
  std::uint16_t ProgramBytes(const std::uint8_t* data, std::uint32_t address, std::uint32_t length) override {
    return ProgramBytesStepwise(data, address, length);
  }
};

class DeviceTest : public StoreTest {};
VOK_FOR_EACH_VERSION(DeviceTest);

TEST_P(DeviceTest, TheStepwiseSequenceTakesWordsWhereItCan) {
  StepwiseDevice stepwise;
  const Bytes odd = {1, 2, 3, 4, 5};
  EXPECT_EQ(stepwise.ProgramBytes(odd.data(), 0x101, 5), 0);
  EXPECT_EQ(stepwise.steps, (std::vector<std::string>{"8 101=1", "16 102=203", "16 104=405"}));
  EXPECT_EQ(Flash(0x101, 5), odd);
  stepwise.steps.clear();
  EXPECT_EQ(stepwise.ProgramBytes(odd.data(), 0x100, 5), 0);
  EXPECT_EQ(stepwise.steps, (std::vector<std::string>{"16 100=102", "16 102=304", "8 104=5"}));
  EXPECT_EQ(Flash(0x100, 5), odd);
  stepwise.steps.clear();
  stepwise.fail_at = 1;
  EXPECT_EQ(stepwise.ProgramBytes(odd.data(), 0x100, 5), 1);
  EXPECT_EQ(stepwise.steps.size(), 2u) << "the steps after a failure are not made";
}

TEST_P(DeviceTest, LockSequencesAnswerByTheWordBehindTheFirst) {
  SetUpErased();
  for (const int status : {0xFFFF, 0x01FF, 0xFEFF, 0x0000}) {
    const bool is_set = (status & 0x1FF) == 0x1FF;
    Poke16(kBase + 4, static_cast<std::uint16_t>(status));
    EXPECT_EQ(LockBlock(kBase + 3), is_set ? 8 : 9);
    EXPECT_EQ(UnlockBlock(kBase + 3), is_set ? 9 : 8);
    EXPECT_EQ(Flash(kBase, 4), (Bytes{0x00, 0xFF, 0xFF, 0xFF}));
  }
}

TEST_P(DeviceTest, AFailedStepGivesItsCodeOnceAndStopsTheOperation) {
  SetUpErased();
  device_.fail_at = 0;
  EXPECT_EQ(MountPartition(0, 0), 104);
  EXPECT_EQ(device_.steps.size(), 1u);
  device_.steps.clear();
  device_.fail_at = 3;
  hooks_.reports.clear();
  EXPECT_EQ(MountPartition(0, 0), 105);
  EXPECT_EQ(device_.steps.size(), 4u);
  EXPECT_EQ(hooks_.reports, (std::vector<std::uint16_t>{105}));
}

TEST_P(DeviceTest, AnExceptionOfTheDeviceGivesAllLocksBack) {
  SetUpFormatted({.arena = 512});
  ASSERT_EQ(Write(5, 1, Payload(3, 9)), 0);
  const int steps = static_cast<int>(device_.steps.size());
  ASSERT_GT(steps, 5);
  for (int step = 0; step < steps; ++step) {
    SetUpFormatted({.arena = 512});
    device_.throw_at = step;
    EXPECT_THROW(Write(5, 1, Payload(3, 9)), RecordingDevice::Cut) << step;
    device_.throw_at = -1;
    EXPECT_EQ(hooks_.locks_held, 0) << step;
  }
}

TEST_P(DeviceTest, TheImageEndsWithItsLastByte) {
  SetUpErased();
  FlashDevice plain;
  StepwiseDevice stepwise;
  EXPECT_EQ(plain.ProgramWord16(0x1FFFFFF, 0x1234) + plain.ProgramByte(0x2000000, 0), 0);
  EXPECT_EQ(stepwise.ProgramBytes(nullptr, 1, 0), 0);
  EXPECT_TRUE(stepwise.steps.empty());
  EXPECT_EQ(Flash(0x1FFFFFE, 2), (Bytes{0xFF, 0x12}));
  EXPECT_EQ(Flash(0, 2), (Bytes{0xFF, 0xFF}));
}

TEST_P(DeviceTest, APlatformMayOfferNothing) {
  PlatformHooks plain;
  for (PlatformHooks* const hooks : {&plain, static_cast<PlatformHooks*>(nullptr)}) {
    TerminateStore();
    InstallPlatformHooks(hooks);
    SetUpFormatted();
    for (std::uint16_t id = 0; id < 3; ++id) ASSERT_EQ(Write(5, id, Payload(id, 20)), 0);
    std::uint16_t lock = 0, id = 0;
    std::uint32_t count = 1;
    ItemPointer pointer{};
    OpenedItem opened{};
    EXPECT_EQ(RegisterClient(0, 9, &lock), 0);
    EXPECT_EQ(GetItemPointers(0, 5, nullptr, nullptr, &pointer, &count, lock), 120);
    EXPECT_EQ(OpenItems(0, 5, nullptr, nullptr, &opened, &count), 120);
    EXPECT_EQ(ListItems(0, 5, nullptr, nullptr, &id, &count, nullptr), 120);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(MakeId(0, 5, &id), 0);
    EXPECT_EQ(id, 3);
    EXPECT_EQ(ReorganiseBlock(0, FirstOpened(), 1), 0);
    EXPECT_EQ(Item(5, 1), Payload(1, 20));
    EXPECT_EQ(ReadCode(5, 3), 119);
  }
  TerminateStore();
  InstallPlatformHooks(&hooks_);
}

TEST_P(DeviceTest, PartitionsBeyondTheImageReadAsErasedAndTakeNoBytes) {
  for (const std::uint64_t base : {std::uint64_t{0x2000000}, std::uint64_t{0x2000000} - format().block_size,
                                   std::uint64_t{0xFFFFFFFC}, std::uint64_t{0x100040000}}) {
    TerminateStore();
    worker_.EraseVirtualMemory(0, 0x2000000);
    PartitionDescriptor descriptor = Descriptor({.blocks = 2});
    descriptor.base = base;
    ASSERT_EQ(SetUpPartitions(1, &descriptor), 0);
    EXPECT_EQ(MountPartition(0, 1), 125);
    EXPECT_EQ(MountPartition(0, 0), 0);
    Write(5, 1, Payload(1, 100));
    ReadCode(5, 1);
    EXPECT_EQ(Flash(kBase, 16), Bytes(16, 0xFF));
  }
}

}  // namespace
}  // namespace test
}  // namespace vok

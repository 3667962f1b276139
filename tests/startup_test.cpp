#include "support/failing_new.h"
#include "support/psdt_image.h"
#include "support/store_fixture.h"

namespace vok::test {
namespace {

class StartupTest : public StoreTest {
 protected:
  static constexpr std::uint32_t kPsdt = 0xE000;

  /// The kinds that each store version takes for read-only and read/write sections.
  std::uint16_t ReadOnlyKind() const { return GetParam() == 1 ? 2 : 3; }
  std::uint16_t ReadWriteKind() const { return GetParam() == 1 ? 3 : 4; }

  Section Make(std::string tag, std::uint16_t partition, std::uint16_t first, std::uint16_t last) const {
    Section section;
    section.tag = std::move(tag);
    section.start = 0x100000 + partition * 0x100000u;
    section.block_size = format().block_size;
    section.kind = ReadWriteKind();
    section.partition = partition;
    section.ranges[0] = {1, first, last};
    return section;
  }

  void Load(const std::vector<Section>& sections) {
    const Bytes psdt = PsdtImage(sections, 0x1000);
    ASSERT_EQ(worker_.LoadPSDT(psdt.data(), static_cast<std::uint32_t>(psdt.size()), kPsdt), 0);
    worker_.SetBlockVOKVersion(0, static_cast<std::uint16_t>(GetParam()));
  }
};
VOK_FOR_EACH_VERSION(StartupTest);

TEST_P(StartupTest, DefaultHeadersMakeAStoreThatReadsBackAsAList) {
  Section skipped = Make("SKIP", 7, 500, 600);
  skipped.kind = 6;
  Load({Make("CPGA", 0, 1, 99), Make("TUNA", 1, 100, 199), skipped});
  std::uint8_t byte = 0;
  std::uint32_t length = 1;
  EXPECT_EQ(worker_.ReadVOK(1, 1, &byte, length), 138);
  ASSERT_EQ(worker_.BuildDefaultVOKHeaders(), 0);
  EXPECT_EQ(Read16(0x100000 + 12), format().free);
  EXPECT_EQ(Read16(0x100000 + format().block_size + 12), format().active);
  EXPECT_EQ(Read16(0x800000 + format().block_size + 12), format().active) << "a passed-over section is formatted, too";
  EXPECT_EQ(worker_.ReadVOK(550, 1, &byte, length), 116) << "but has no partition";
  EXPECT_EQ(worker_.ReadVOK(0, 1, &byte, length), 115);
  EXPECT_EQ(worker_.ReadVOK(65534, 1, &byte, length), 115);

  std::uint16_t id = 0xFFFF;
  const Bytes data = Payload(1, 300);
  worker_.WriteVOK(7, id, data.data(), 300);
  EXPECT_EQ(id, 0);
  id = 1;
  worker_.WriteVOK(5, id, data.data(), 20);
  id = 4;
  worker_.WriteVOK(150, id, data.data(), 0);
  const auto items = worker_.ReadAllVOK("CPGA and more");
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].Type, 7);
  EXPECT_EQ(items[0].Data, data);
  EXPECT_EQ(items[1].Length, 20u);

  const auto lengths_without = [&](int buffer) {
    failing_new = {.left = buffer};
    std::vector<std::uint32_t> lengths;
    for (const VOKITEM& item : worker_.ReadAllVOK("CPGA")) lengths.push_back(item.Length);
    return lengths;
  };
  EXPECT_EQ(lengths_without(0), (std::vector<std::uint32_t>{})) << "no list of types";
  EXPECT_EQ(lengths_without(1), (std::vector<std::uint32_t>{20})) << "the first type is passed over";
  EXPECT_EQ(lengths_without(2), (std::vector<std::uint32_t>{0, 20})) << "IDs are kept, one item comes without bytes";
  failing_new = {};
  EXPECT_EQ(worker_.ReadAllVOK("TUNA").size(), 1u);
  EXPECT_TRUE(worker_.ReadAllVOK("CPG").empty());
  { const VokWorker other(worker_); }
  EXPECT_EQ(worker_.ReadVOK(5, 1, &byte, length), 138) << "destroying any worker ends the store";
  EXPECT_FALSE(worker_.TerminateVOK());
}

TEST_P(StartupTest, AListEndsBeforeAnItemThatCannotBeRead) {
  Load({Make("CPGA", 0, 1, 99)});
  ASSERT_EQ(worker_.BuildDefaultVOKHeaders(), 0);
  for (std::uint16_t id = 0; id < 3; ++id) worker_.WriteVOK(5, id, Payload(id, 8).data(), 8);
  const std::uint32_t end = 0x100000 + 2 * format().block_size;
  PokeWord(end - format().record_size(8) - format().word, ~1u);
  for (const bool with_own_hooks : {false, true}) {
    InstallPlatformHooks(with_own_hooks ? &hooks_ : nullptr);
    const std::vector<VOKITEM> items = worker_.ReadAllVOK("CPGA");
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0].Data, Payload(0, 8));
    EXPECT_TRUE(items[1].Data.empty());
    EXPECT_TRUE(items[2].Data.empty());
  }
}

/// Damage can let thousands of slots name one large record.
TEST_P(StartupTest, AListNeverTakesMoreMemoryThanTheImageHolds) {
  Load({Make("CPGA", 0, 1, 99)});
  ASSERT_EQ(worker_.BuildDefaultVOKHeaders(), 0);
  std::uint16_t id = 0;
  const std::uint32_t base = 0x100000 + format().block_size;
  const Bytes data(format().largest_item() - 700 * format().slot_size());
  worker_.WriteVOK(5, id, data.data(), static_cast<std::uint32_t>(data.size()));
  const Bytes slot = Flash(base + 32, format().slot_size());
  for (; id < 700; ++id) {
    Poke(base + 32 + id * format().slot_size(), slot);
    Poke16(base + 32 + id * format().slot_size() + 2, id);
  }
  std::size_t total = 0;
  const auto items = worker_.ReadAllVOK("CPGA");
  EXPECT_EQ(items.size(), 700u);
  for (const VOKITEM& item : items) total += item.Data.size();
  EXPECT_GT(total, 0x1F00000u);
  EXPECT_LE(total, 0x2000000u);
}

TEST_P(StartupTest, RoutesFollowTheRangesAndPreferMountedPartitions) {
  Section first = Make("CPGA", 0, 1, 99);
  first.ranges[1] = {255, 200, 300};
  first.ranges[2] = {3, 400, 500};
  Section second = Make("TUNA", 1, 50, 60);
  Load({first, second});
  ASSERT_EQ(worker_.BuildDefaultVOKHeaders(), 0);
  EXPECT_EQ(FindPartitionForType(50), 0);
  EXPECT_EQ(FindPartitionForType(250), 255);
  EXPECT_EQ(FindPartitionForType(450), 0);
  worker_.TerminateVOK();
  EXPECT_EQ(FindPartitionForType(50), 1) << "nothing mounted: the last match";
  Poke(first.start, Bytes(2 * format().block_size, 0));
  StartStore();
  EXPECT_EQ(FindPartitionForType(50), 1) << "the first is not mounted";
  EXPECT_EQ(FindPartitionForType(40), 0);
  std::uint32_t length = 0;
  EXPECT_EQ(worker_.ReadVOK(40, 1, nullptr, length), 140);
}

TEST_P(StartupTest, RecordsThatCannotBeServedArePassedOver) {
  Section number = Make("NUMB", 9, 10, 19);
  Section outside = Make("OUTS", 1, 20, 29);
  outside.start = 0x2000000 - format().block_size;
  Load({number, outside, Make("GOOD", 0, 1, 9)});
  ASSERT_EQ(worker_.BuildDefaultVOKHeaders(), 0);
  EXPECT_EQ(FindPartitionForType(1), 0);
  EXPECT_EQ(FindPartitionForType(10), 255);
  EXPECT_EQ(FindPartitionForType(20), 255);
  EXPECT_EQ(Read16(outside.start + 12), format().free) << "the block inside the image is formatted";
  PartitionRecord record{};
  EXPECT_EQ(GetPartitionRecord(0, &record), 0);

  Load({Make("AAAA", 0, 1, 9), Make("BBBB", 0, 10, 19)});
  ASSERT_EQ(worker_.BuildDefaultVOKHeaders(), 0);
  EXPECT_EQ(FindPartitionForType(10), 0);
  EXPECT_EQ(GetPartitionRecord(0, &record), 138) << "one number twice: set-up meets an empty descriptor";
}

TEST_P(StartupTest, LockingATypesPartitionTakesItsFirstLock) {
  EXPECT_EQ(LockTypePartition(5), 138);
  Load({Make("CPGA", 0, 0, 9)});
  ASSERT_EQ(worker_.BuildDefaultVOKHeaders(), 0);
  EXPECT_EQ(LockTypePartition(10), 116);
  EXPECT_EQ(LockTypePartition(0), 118);
  hooks_.lock_story.clear();
  EXPECT_EQ(LockTypePartition(5), 0);
  EXPECT_EQ(hooks_.lock_story, "0");
  EXPECT_EQ(hooks_.locks_held, 1) << "no operation gives it back";
  hooks_.locks_held = 0;
}

TEST_P(StartupTest, WritingAListPassesOverUnusedNamesAndRefusesWhatIsTooLarge) {
  Load({Make("CPGA", 0, 1, 9)});
  ASSERT_EQ(worker_.BuildDefaultVOKHeaders(), 0);
  std::vector<VOKITEM> items(3);
  items[0].Type = items[1].Type = 5;
  items[0].Data = Payload(1, 30);
  items[1].Id = 0xFFFF;
  items[2].Type = 0xFFFF;
  worker_.WriteAllVOK(items);
  EXPECT_EQ(worker_.ReadAllVOK("CPGA").size(), 1u);
  EXPECT_EQ(Item(5, 0), Payload(1, 30));
  items[2].Data.resize(0x20001);
  EXPECT_THROW(worker_.WriteAllVOK(items), VokError);
  worker_ = VokWorker();
  EXPECT_EQ(TerminateStore(), 138) << "the copied worker has ended the store";
}

TEST_P(StartupTest, TheTagDecidesWhatASectionGetsBesideItsBlocks) {
  struct Resources {
    const char* tag;
    std::uint32_t arena;
    std::uint16_t handles;
  };
  for (const auto& [tag, arena, handles] :
       {Resources{"CPGA", 22844, 2}, Resources{"CPLG", 22844, 2}, Resources{"TUNA", 592, 2}, Resources{"TUNE", 592, 2},
        Resources{"PDAT", 460, 2}, Resources{"UCLA", 6388, 2}, Resources{"DSPP", 512, 50}, Resources{"ELSE", 0, 0}}) {
    Load({Make(tag, 0, 1, 9)});
    ASSERT_EQ(worker_.BuildDefaultVOKHeaders(), 0);
    PartitionRecord record{};
    ASSERT_EQ(GetPartitionRecord(0, &record), 0);
    EXPECT_EQ(record.arena_size, arena) << tag;
    EXPECT_EQ(record.handle_count, handles) << tag;
  }
}

/// Before anything else was called: in a process of its own.
TEST(ProcessTest, BeginsWithVersion1AndThePsdtAtItsDefaultPlace) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto first_calls = [] {
    VokWorker worker;
    Bytes zeros(0x40000);
    std::uint16_t version = 0;
    worker.GetCodeplugVOKVersion(zeros.data(), 0x40000, 0, version);
    std::unique_ptr<PSDT_HEADER_RECORD> header(worker.ReadPSDTHeaderRecord());
    const bool no_psdt = header == nullptr && worker.ReadPSDTRecord().empty() && worker.BuildDefaultVOKHeaders() == 115;
    const bool no_store = TerminateStore() == 138;
    worker.EraseCodeplugVirtualMemory();
    worker.ReadVitualMemory(0, 0x20000, zeros.data());
    const bool erased =
        std::count(zeros.begin(), zeros.begin() + 0x20000, 0) == 0x1001 && zeros[0xE000] == 0 && zeros[0xF000] == 0;
    const Bytes pattern(0x20004, 1);
    worker.GetCodeplugVOKVersion(pattern.data(), 0x20004, 0x40000, version);
    PartitionDescriptor descriptor{};
    descriptor.state = 1;
    descriptor.block_count = 1;
    descriptor.base = 0x40000;
    descriptor.block_size = 0x10000;
    descriptor.flags = 2;
    const bool formatted = SetUpPartitions(1, &descriptor) == 0 && MountPartition(0, 0) == 0;
    worker.ReadVitualMemory(0x40000, 0x60004, zeros.data());
    const bool version_1 = zeros[7] == 1 && zeros[0xFFFF] == 0xFF && zeros[0x10000] == 1;
    std::exit(no_psdt && no_store && erased && formatted && version_1 ? 0 : 1);
  };
  EXPECT_EXIT(first_calls(), testing::ExitedWithCode(0), "");
}

TEST_P(StartupTest, ARecordWhoseRoutesDoNotFitIsPassedOver) {
  std::vector<Section> sections;
  for (std::uint16_t i = 0; i < 10; ++i) {
    Section section = Make("CPGA", i % 9, 1, 1);
    for (std::uint16_t range = 0; range < 4; ++range) {
      const auto type = static_cast<std::uint16_t>(10 * i + range + 1);
      section.ranges[range] = {1, type, type};
    }
    sections.push_back(section);
  }
  Load(sections);
  ASSERT_EQ(worker_.BuildDefaultVOKHeaders(), 0);
  EXPECT_EQ(FindPartitionForType(84), 8) << "the 36th route";
  EXPECT_EQ(FindPartitionForType(91), 255);
}

TEST_P(StartupTest, ReadOnlySectionsMountThroughTheirCheckRange) {
  Section section = Make("PDAT", 0, 1, 99);
  Load({section});
  ASSERT_EQ(worker_.BuildDefaultVOKHeaders(), 0);
  std::uint16_t id = 3;
  const Bytes data = Payload(3, 40);
  worker_.WriteVOK(5, id, data.data(), 40);
  const Bytes codeplug = Flash(section.start, 2 * format().block_size);
  worker_.TerminateVOK();

  section.kind = ReadOnlyKind();
  for (const std::uint16_t range : {std::uint16_t{1}, std::uint16_t{0x81}}) {
    section.ranges[0][0] = range;
    Load({section});
    ASSERT_EQ(worker_.LoadCodeplug(codeplug.data(), static_cast<std::uint32_t>(codeplug.size()), section.start, 0), 0);
    std::uint32_t length = 40;
    Bytes out(40);
    const bool mounts = GetParam() != 1 && range == 0x81;
    EXPECT_EQ(worker_.ReadVOK(5, 3, out.data(), length), mounts ? 0 : 140) << range;
    if (!mounts) continue;
    EXPECT_EQ(out, data);
    EXPECT_EQ(Write(5, 3, data), 134);
    EXPECT_THROW(worker_.WriteVOK(5, id, data.data(), 40), VokError);
  }
}

TEST_P(StartupTest, TheVersionComesFromTheBlockOrTheCaller) {
  Load({Make("CPGA", 0, 1, 99)});
  ASSERT_EQ(worker_.BuildDefaultVOKHeaders(), 0);
  const Bytes codeplug = Flash(0x100000, 2 * format().block_size);
  const auto other = static_cast<std::uint16_t>(GetParam() % 3 + 1);
  const auto length = static_cast<std::uint32_t>(codeplug.size());
  worker_.SetBlockVOKVersion(0, other);
  ASSERT_EQ(worker_.LoadCodeplug(codeplug.data(), length, 0x100000, 0), 0);
  std::uint16_t id = 1;
  EXPECT_NO_THROW(worker_.WriteVOK(5, id, codeplug.data(), 4));
  Poke16(0x100000 + 6, other);
  try {
    worker_.WriteVOK(5, id, codeplug.data(), 4);
    ADD_FAILURE() << "written into a section of another store version";
  } catch (const VokError& error) {
    EXPECT_EQ(error.Code, 105);
  }
  EXPECT_EQ(ApplyStoreVersion(4), 1);
}

}  // namespace
}  // namespace vok::test

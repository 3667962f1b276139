#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <vector>

#include "vok/store.h"
#include "vok/vok_worker.h"

namespace {

constexpr std::uint16_t kBlocks = 4;
constexpr std::uint16_t kType = 5;

/// A store of version 2 with one partition; @p arena 0 leaves it without directory and cache.
class Store {
 public:
  explicit Store(std::uint32_t arena) : arena_(arena) {
    worker_.EraseVirtualMemory(0, 0x2000000);
    SetUp();
    vok::MountPartition(0, 0);
  }

  void SetUp() {
    vok::TerminateStore();
    vok::ApplyStoreVersion(2);
    const vok::PartitionDescriptor descriptor{.state = 1,
                                              .base = 0x100000,
                                              .block_size = 0x20000,
                                              .arena = arena_.empty() ? nullptr : arena_.data(),
                                              .arena_size = static_cast<std::uint32_t>(arena_.size()),
                                              .lock_count = 1,
                                              .handle_count = 2,
                                              .block_count = kBlocks,
                                              .flags = 0};
    vok::SetUpPartitions(1, &descriptor);
  }

  void Fill(std::uint16_t items, std::uint32_t length) {
    const std::vector<std::uint8_t> data(length, 0x5A);
    for (std::uint16_t id = 0; id < items; ++id) vok::WriteItem(0, 0, kType, &id, data.data(), length);
  }

 private:
  VokWorker worker_;
  std::vector<std::uint8_t> arena_;
};

constexpr std::uint32_t kNoArena = 0;
constexpr std::uint32_t kLargeArena = 22844;

void ReadOne(std::uint16_t id) {
  std::array<std::uint8_t, 64> buffer;
  std::uint32_t length = buffer.size();
  vok::ReadItem(0, kType, id, buffer.data(), &length, 0);
  benchmark::DoNotOptimize(buffer);
}

void BM_ReadThroughCache(benchmark::State& state) {
  Store store(kLargeArena);
  store.Fill(1000, 40);
  std::uint16_t id = 0;
  for (auto _ : state) ReadOne(id = static_cast<std::uint16_t>((id + 7) % 1000));
}
BENCHMARK(BM_ReadThroughCache);

void BM_ReadByScan(benchmark::State& state) {
  Store store(kNoArena);
  store.Fill(static_cast<std::uint16_t>(state.range(0)), 8);
  const auto last = static_cast<std::uint16_t>(state.range(0) - 1);
  for (auto _ : state) ReadOne(last);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ReadByScan)->Arg(100)->Arg(1000)->Arg(10000);

void BM_Mount(benchmark::State& state) {
  Store store(kNoArena);
  store.Fill(static_cast<std::uint16_t>(state.range(0)), 8);
  for (auto _ : state) {
    store.SetUp();
    benchmark::DoNotOptimize(vok::MountPartition(0, 2));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Mount)->Arg(100)->Arg(10000);

void BM_ReplaceWithReorganisation(benchmark::State& state) {
  Store store(kLargeArena);
  store.Fill(200, 100);
  const std::vector<std::uint8_t> data(200, 0x33);
  std::uint32_t writes = 0;
  for (auto _ : state) {
    auto id = static_cast<std::uint16_t>(writes * 13 % 200);
    const std::uint32_t length = 101 + writes++ / 200 % 2;  // another length each time round, so never in place
    while (vok::WriteItem(0, 1, kType, &id, data.data(), length) == 123) {
      std::uint16_t block = 0;
      vok::CheckReorgNeed(0, 0, &block, 0);
      vok::ReorganiseBlock(0, block, 0);
      block = 0xFFFF;
      vok::EraseRetiredBlock(0, &block);
    }
  }
}
BENCHMARK(BM_ReplaceWithReorganisation);

void BM_ListItems(benchmark::State& state) {
  Store store(kNoArena);
  store.Fill(5000, 8);
  std::vector<std::uint16_t> ids(65535);
  for (auto _ : state) {
    std::uint32_t count = 65535;
    std::uint32_t total = 0;
    vok::ListItems(0, kType, nullptr, nullptr, ids.data(), &count, &total);
    benchmark::DoNotOptimize(total);
  }
  state.SetItemsProcessed(state.iterations() * 5000);
}
BENCHMARK(BM_ListItems);

}  // namespace

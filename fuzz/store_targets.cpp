#include "operations.h"

namespace vok::fuzz {

namespace {

/// The partition before any mount, as the input lays it.
void Lay(World& world, Input& input) {
  world.Begin(TakeGeometry(input));
  world.ConfigureDirectory(input);
  FillPartition(world, input);
}

/// The first bytes of the partition, which are all of most partitions at hand.
Bytes PartitionBytes(const World& world) {
  constexpr std::uint64_t kLookedAt = 0x2000;
  const std::uint64_t base = world.geometry().base;
  return world.Read(base, std::min(base + kLookedAt, world.geometry().end()));
}

/// Sets the store up and mounts it. A check changes nothing; and what a repair leaves, a further repair finds whole.
bool Mount(World& world, std::uint8_t mode) {
  if (world.SetUp() != 0) return false;
  const Bytes before = mode == 1 ? PartitionBytes(world) : Bytes();
  const std::uint64_t steps = world.device.steps;
  const std::uint16_t code = world.Mount(mode);
  Require(mode != 1 || (world.device.steps == steps && PartitionBytes(world) == before), "a check changes something");
  return code == 0;
}

void SeeBytes(const World& world) {
  const Bytes bytes = world.Read(world.geometry().base, world.geometry().end());
  transcript.See(std::span<const std::uint8_t>(bytes));
}

void End(World& world) {
  world.device.FailIn(FailingDevice::Failure::kNone, 0);
  TerminateStore();
  Require(world.hooks.alive == 0, "memory is left by a store that has ended");
  Require(world.SurroundingsAreErased(), "bytes outside the partition change");
  SeeBytes(world);
}

}  // namespace

void FuzzMount(Input input) {
  World world;
  Lay(world, input);
  Operator calls(world, input);
  static constexpr std::array<std::uint8_t, 4> kModes = {1, 2, 1, 0};
  for (const std::uint8_t mode : kModes) {
    if (mode == 0 && input.Byte() % 4 != 0) break;
    Mount(world, mode);
    calls.ReadAll();
    for (std::uint8_t left = input.Byte() % 16; left > 0; --left) calls.Read();
  }
  End(world);
}

void FuzzWrite(Input input) {
  World world;
  Lay(world, input);
  Operator calls(world, input);
  world.SetUp();
  world.Mount(input.Byte() % 4 == 0 ? 0 : 2);
  while (!input.empty()) {
    const std::uint8_t remount = input.Byte();
    if (remount % 16 == 0) {
      world.device.FailIn(FailingDevice::Failure::kNone, 0);
      Mount(world, remount % 32 == 0 ? 1 : 2);
    }
    calls.Any();
  }
  End(world);
}

}  // namespace vok::fuzz

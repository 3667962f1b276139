#include "scenario.h"

#include <stdexcept>

#include "case_id.h"

namespace vok::sweep {

namespace {

constexpr std::array<const char*, 4> kFillTexts = {"empty", "half", "full", "99"};

Items Build(Rig& rig, Scenario& scenario, u32 left) {
  Builder builder(rig);
  scenario.operation->prepare(builder, scenario.inputs, scenario.fill, left);
  scenario.base = rig.device().bytes();
  return builder.items();
}

/// What the operation takes of the block it writes to.
u32 Consumption(Rig& rig, Scenario scenario) {
  scenario.fill = Fill::kHalf;
  Builder builder(rig);
  scenario.operation->prepare(builder, scenario.inputs, scenario.fill, rig.version().block_size / 2);
  const u32 before = builder.Room();
  scenario.operation->run(rig, scenario.inputs);
  const u32 after = builder.Room();
  return after < before ? before - after : 0;
}

u32 BytesLeft(Rig& rig, const Scenario& scenario) {
  const u32 block_size = rig.version().block_size;
  switch (scenario.fill) {
    case Fill::kHalf: return block_size / 2;
    case Fill::kNearlyFull: return block_size / 100 & ~3u;
    case Fill::kFull: return scenario.operation->start == Start::kMounted ? Consumption(rig, scenario) : 0;
    case Fill::kEmpty: break;
  }
  return block_size;
}

Overwritable PayloadOf(const Partition& partition, ItemName name) {
  for (const Block& block : partition.blocks)
    for (const Slot& slot : block.slots)
      if (slot.IsItem() && slot.name() == name) return {slot.start, slot.start + slot.length};
  return {};
}

void RunUncut(Rig& rig, Scenario& scenario) {
  Prepare(rig, scenario);
  Witness witness(rig.version(), rig.device());
  witness.Record(true);
  AllowInOperation(scenario, witness);
  rig.device().Begin({}, 0, &witness);
  const u16 code = scenario.operation->run(rig, scenario.inputs);
  scenario.trace = witness.trace();
  scenario.after = scenario.before;
  scenario.operation->apply(scenario.after, scenario.inputs);

  std::string trouble = witness.complaint();
  if (code != 0) trouble = "it gave " + std::to_string(code);
  if (ItemsOf(rig.Read()) != scenario.after) trouble = "its items are wrong";
  if (scenario.trace.empty()) trouble = "it makes no step";
  if (!trouble.empty()) throw std::logic_error(IdOf(scenario, {}) + " uncut: " + trouble);
}

}  // namespace

const char* TextOf(Fill fill) { return kFillTexts[static_cast<u32>(fill)]; }

u32 IndexOf(const Operation& operation) { return static_cast<u32>(&operation - Operations().data()); }

void AllowInOperation(const Scenario& scenario, Witness& witness) {
  if (scenario.operation->in_place) witness.Allow(scenario.in_place);
  if (scenario.operation->start != Start::kSetUp) return;
  for (u32 block = 0; block < scenario.geometry.blocks; ++block)
    witness.AllowErase(block * VersionOf(scenario.geometry.version).block_size);
}

void Prepare(Rig& rig, const Scenario& scenario) {
  rig.Load(scenario.base);
  if (scenario.operation->start == Start::kTerminated) return;
  rig.SetUp();
  if (scenario.operation->start == Start::kSetUp) return;
  rig.Mount(2);
  if (scenario.operation->start == Start::kRetired) ReorganiseBlock(0, 1, 0);
}

Scenario MakeScenario(Rig& rig, u32 version, const Operation& operation, Fill fill, u64 seed) {
  Scenario scenario{.geometry = {.version = version, .blocks = operation.blocks, .directory = seed % 2 == 0},
                    .operation = &operation,
                    .fill = fill,
                    .seed = seed,
                    .inputs = Inputs(seed),
                    .base = {},
                    .before = {},
                    .after = {},
                    .trace = {},
                    .in_place = {}};
  rig.Configure(scenario.geometry);
  scenario.before = Build(rig, scenario, BytesLeft(rig, scenario));
  scenario.in_place = PayloadOf(ReadPartition(rig.version(), scenario.base), kChanged);
  RunUncut(rig, scenario);
  return scenario;
}

}  // namespace vok::sweep

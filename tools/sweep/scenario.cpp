#include "scenario.h"

namespace vok::sweep {

namespace {

Overwritable PayloadOf(const Partition& partition, ItemName name) {
  for (const Block& block : partition.blocks)
    for (const Slot& slot : block.slots)
      if (slot.IsItem() && slot.name() == name) return {slot.start, slot.start + slot.length};
  return {};
}

/// What is wrong about the uncut run. @return empty = nothing
std::string Trouble(u16 code, const Witness& witness, const Items& items, const Scenario& scenario) {
  if (code != 0) return "it gives " + std::to_string(code);
  if (items != scenario.after) return "its items are not those that it should leave";
  if (scenario.trace.empty()) return "it makes no step";
  return witness.complaint();
}

}  // namespace

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
  if (scenario.operation->start == Start::kRetired) ReorganiseBlock(0, scenario.inputs.block, 0);
}

std::string Complete(Rig& rig, Scenario& scenario) {
  scenario.in_place = PayloadOf(ReadPartition(rig.version(), scenario.base), scenario.inputs.changed);
  Prepare(rig, scenario);
  Witness witness(rig.version(), rig.device());
  witness.Record(true);
  AllowInOperation(scenario, witness);
  rig.device().Begin({}, 0, &witness);
  const u16 code = scenario.operation->run(rig, scenario.inputs);
  scenario.trace = witness.trace();
  scenario.after = scenario.before;
  scenario.operation->apply(scenario.after, scenario.inputs);
  return Trouble(code, witness, ItemsOf(rig.Read()), scenario);
}

std::string IdOf(const Scenario& scenario, const std::vector<CutPoint>& cuts) {
  std::string id = scenario.id;
  for (CutPoint cut : cuts) id += '/' + std::to_string(cut.step) + '.' + std::to_string(cut.tear);
  return id;
}

}  // namespace vok::sweep

#include "base_image.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "fill.h"

namespace vok::sweep {

namespace {

constexpr ItemName kChanged = {7, 3};
constexpr ItemName kFiller = {20, 0};
constexpr ItemName kElsewhere = {30, 0};
constexpr std::array<const char*, 4> kFillTexts = {"empty", "half", "full", "99"};

/// Items that no operation touches, one of them empty, one with a dead copy; and one that was deleted.
void WriteBystanders(Builder& builder, u64 seed) {
  builder.Write({5, 1}, Noise(Mix(seed, 11), 20));
  builder.Write({8, 9}, Noise(Mix(seed, 12), 40));
  builder.Write({5, 2}, {});
  builder.Write({6, 0}, Noise(Mix(seed, 13), 33));
  builder.Write({5, 1}, Noise(Mix(seed, 14), 27));
  builder.Delete({8, 9});
}

void PrepareBase(Builder& builder, const Inputs& inputs, Fill fill, u32 left, bool with_item) {
  if (fill != Fill::kEmpty) WriteBystanders(builder, inputs.seed);
  if (with_item) builder.Write(inputs.changed, inputs.old_bytes);
  if (fill != Fill::kEmpty) builder.FillTo(left, kFiller, inputs.seed);
}
void PrepareNew(Builder& builder, const Inputs& inputs, Fill fill, u32 left) {
  PrepareBase(builder, inputs, fill, left, false);
}
void PrepareItem(Builder& builder, const Inputs& inputs, Fill fill, u32 left) {
  PrepareBase(builder, inputs, fill, left, true);
}
void PrepareRange(Builder& builder, const Inputs& inputs, Fill fill, u32 left) {
  for (u16 id : std::initializer_list<u16>{2, 4, 9})
    builder.Write({kChanged.type, id}, Noise(Mix(inputs.seed, id), 10u + id));
  PrepareItem(builder, inputs, fill, left);
}
/// An item of the new name was there once.
void PrepareRename(Builder& builder, const Inputs& inputs, Fill fill, u32 left) {
  builder.Write(inputs.fresh, Noise(inputs.seed, 12));
  builder.Delete(inputs.fresh);
  PrepareItem(builder, inputs, fill, left);
}
/// The block to be reorganised has a dead slot before its first Valid one.
void PrepareReorganise(Builder& builder, const Inputs& inputs, Fill fill, u32 left) {
  builder.Write({8, 1}, Noise(inputs.seed, 15));
  builder.Delete({8, 1});
  PrepareItem(builder, inputs, fill, left);
}
/// Two Active blocks: the second is opened by filling the first, whose fillers then go again as far as the fill says.
void PrepareElsewhere(Builder& builder, const Inputs& inputs, Fill fill, u32) {
  WriteBystanders(builder, inputs.seed);
  builder.Write(inputs.changed, inputs.old_bytes);
  builder.FillTo(0, kFiller, inputs.seed);
  builder.Write(kElsewhere, inputs.longer);
  const u32 room = builder.Room();
  if (fill == Fill::kHalf) builder.FillTo(room / 2, {31, 0}, Mix(inputs.seed, 3));
  if (fill == Fill::kFull) builder.FillTo(room / 16, {31, 0}, Mix(inputs.seed, 3));
  if (fill == Fill::kNearlyFull) builder.FillTo(room / 100 & ~3u, {31, 0}, Mix(inputs.seed, 3));
  if (fill == Fill::kEmpty || fill == Fill::kHalf) builder.Delete(kFiller);
  if (fill == Fill::kEmpty) builder.Delete({kFiller.type, 1});
}
/// All in use is so full that the new item needs the block that is left to open.
void PrepareOpen(Builder& builder, const Inputs& inputs, Fill fill, u32) {
  if (fill == Fill::kEmpty) return;
  WriteBystanders(builder, inputs.seed);
  if (fill == Fill::kHalf) builder.Write({10, 1}, Noise(inputs.seed, 100));
  builder.FillTo(fill == Fill::kFull ? 0 : 12, kFiller, inputs.seed);
  if (fill == Fill::kHalf) builder.Delete(kFiller);
}
void PrepareErased(Builder& builder, const Inputs&, Fill, u32) { builder.rig().LoadErased(); }

/// How the base image of an operation is made.
struct Preparation {
  const char* operation;
  u16 blocks;
  void (*run)(Builder&, const Inputs&, Fill, u32 left);
};
constexpr std::array<Preparation, 23> kPreparations = {{{"write", 2, PrepareNew},
                                                        {"rewrite", 2, PrepareItem},
                                                        {"replace", 2, PrepareItem},
                                                        {"replace-plain", 2, PrepareItem},
                                                        {"part", 2, PrepareItem},
                                                        {"part-plain", 2, PrepareItem},
                                                        {"part-copy", 2, PrepareItem},
                                                        {"part-copy-plain", 2, PrepareItem},
                                                        {"append", 2, PrepareItem},
                                                        {"append-plain", 2, PrepareItem},
                                                        {"rename", 2, PrepareRename},
                                                        {"rename-plain", 2, PrepareRename},
                                                        {"delete", 2, PrepareItem},
                                                        {"delete-ids", 2, PrepareRange},
                                                        {"delete-types", 2, PrepareRange},
                                                        {"reorganise", 2, PrepareReorganise},
                                                        {"reorganise-elsewhere", 3, PrepareElsewhere},
                                                        {"erase", 2, PrepareItem},
                                                        {"open", 3, PrepareOpen},
                                                        {"format", 2, PrepareItem},
                                                        {"default", 2, PrepareErased},
                                                        {"default-3", 3, PrepareErased},
                                                        {"write-all", 2, PrepareErased}}};

const Preparation& PreparationOf(const Operation& operation) {
  for (const Preparation& preparation : kPreparations)
    if (std::string_view(preparation.operation) == operation.name) return preparation;
  throw std::logic_error(std::string("no base image for ") + operation.name);
}

Inputs InputsOf(const Recipe& recipe) {
  const Bytes bytes = Noise(Mix(recipe.seed, 1), kShortestChanged + static_cast<u32>(recipe.seed % 9));
  Inputs inputs(recipe.seed, kChanged, bytes);
  if (PreparationOf(*recipe.operation).run == PrepareElsewhere) inputs.block = 2;
  return inputs;
}

/// What the operation takes of the block it writes to.
u32 Consumption(Rig& rig, const Recipe& recipe, const Inputs& inputs) {
  Builder builder(rig);
  PreparationOf(*recipe.operation).run(builder, inputs, Fill::kHalf, rig.version().block_size / 2);
  const u32 before = builder.Room();
  recipe.operation->run(rig, inputs);
  const u32 after = builder.Room();
  return after < before ? before - after : 0;
}

u32 BytesLeft(Rig& rig, const Recipe& recipe, const Inputs& inputs) {
  const u32 block_size = rig.version().block_size;
  switch (recipe.fill) {
    case Fill::kHalf: return block_size / 2;
    case Fill::kNearlyFull: return block_size / 100 & ~3u;
    case Fill::kFull: return recipe.operation->start == Start::kMounted ? Consumption(rig, recipe, inputs) : 0;
    case Fill::kEmpty: break;
  }
  return block_size;
}

/// Half of the cases, so that each operation, fill and version has its turn with and without one.
bool HasDirectory(const Recipe& recipe) {
  return (recipe.seed + recipe.version + IndexOf(*recipe.operation) + static_cast<u32>(recipe.fill)) % 2 == 0;
}

const char* TextOf(Fill fill) { return kFillTexts[static_cast<u32>(fill)]; }

std::string NameOf(const Recipe& recipe) {
  return 'v' + std::to_string(recipe.version) + '/' + recipe.operation->name + '/' + TextOf(recipe.fill) + "/s" +
         std::to_string(recipe.seed);
}

constexpr std::size_t kFixedParts = 4;

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

u32 Number(const std::string& text) { return static_cast<u32>(std::strtoul(text.c_str(), nullptr, 10)); }

/// The number behind a letter, 0 when the letter is another.
u32 NumberAfter(char letter, const std::string& text) {
  return !text.empty() && text[0] == letter ? Number(text.substr(1)) : 0;
}

}  // namespace

bool TakesFill(const Operation& operation, Fill fill) {
  return fill == Fill::kEmpty || PreparationOf(operation).run != PrepareErased;
}

Scenario MakeScenario(Rig& rig, const Recipe& recipe) {
  const Preparation& preparation = PreparationOf(*recipe.operation);
  const Inputs inputs = InputsOf(recipe);
  const Geometry geometry = {
      .version = recipe.version, .blocks = preparation.blocks, .directory = HasDirectory(recipe)};
  rig.Configure(geometry);
  const u32 left = BytesLeft(rig, recipe, inputs);
  Builder builder(rig);
  preparation.run(builder, inputs, recipe.fill, left);
  Scenario scenario{.id = NameOf(recipe),
                    .geometry = geometry,
                    .operation = recipe.operation,
                    .inputs = inputs,
                    .base = rig.device().bytes(),
                    .before = builder.items()};
  const std::string trouble = Complete(rig, scenario);
  if (!trouble.empty()) throw std::logic_error(scenario.id + " uncut: " + trouble);
  const bool takes_room = recipe.fill == Fill::kFull && preparation.blocks == 2 && left != 0;
  if (takes_room && builder.Room() != 0) throw std::logic_error(scenario.id + ": the block is not full");
  return scenario;
}

std::optional<CaseId> ParseCaseId(const std::string& text) {
  const std::vector<std::string> parts = Split(text, '/');
  if (parts.size() <= kFixedParts) return {};
  const Operation* const operation = FindOperation(parts[1]);
  const auto fill =
      std::find_if(kFills.begin(), kFills.end(), [&](Fill candidate) { return TextOf(candidate) == parts[2]; });
  CaseId id{.recipe = {NumberAfter('v', parts[0]), operation, Fill::kEmpty, NumberAfter('s', parts[3])}, .cuts = {}};
  if (id.recipe.version < 1 || id.recipe.version > 3 || operation == nullptr || fill == kFills.end()) return {};
  id.recipe.fill = *fill;
  for (std::size_t i = kFixedParts; i < parts.size(); ++i) {
    const std::vector<std::string> cut = Split(parts[i], '.');
    if (cut.size() != 2) return {};
    id.cuts.push_back({Number(cut[0]), Number(cut[1])});
  }
  return id;
}

}  // namespace vok::sweep

#include <map>

#include "world.h"

namespace vok::fuzz {

namespace {

using Name = std::pair<std::uint16_t, std::uint16_t>;
using Failure = FailingDevice::Failure;

/// A sound store beside a plain map of its items. A change that a device fails is followed by a repair mount; then each
/// item that it touched is as before or as it was to be, and every other one is as the map says.
class Sequence {
 public:
  explicit Sequence(Input& input) : input_(input) {
    Geometry geometry;
    geometry.version = input.Byte() % 3u + 1;
    geometry.block_size = geometry.erase_size();
    geometry.blocks = static_cast<std::uint16_t>(2 + input.Byte() % 3);
    geometry.arena = input.Byte() % 3 * 400u;
    world_.Begin(geometry);
    world_.ConfigureDirectory(input);
    world_.SetUp();
    Require(world_.Mount(0) == 0, "a format fails");
  }

  void Run() {
    while (!input_.empty() && !is_stuck_) Step();
    if (!is_stuck_) Remount(2);
    const Bytes bytes = world_.Read(world_.geometry().base, world_.geometry().end());
    transcript.See(std::span<const std::uint8_t>(bytes));
  }

 private:
  void Step() {
    const std::uint8_t choice = input_.Byte();
    switch (choice % 12) {
      case 0:
      case 1:
      case 2: return Write();
      case 3: return WritePart();
      case 4: return Rename();
      case 5: return Delete();
      case 6: return DeleteRange();
      case 7: return Reorganise(static_cast<std::uint16_t>(input_.Byte() % world_.geometry().blocks));
      case 8: return Remount(choice < 128 ? 1 : 2);
      case 9: return world_.device.FailIn(static_cast<Failure>(1 + choice / 12 % 3), input_.Byte() % 32);
      case 10: world_.hooks.allocations_left = choice / 12 % 3; return;
      default: world_.hooks.program_over_answer = choice >= 128 ? 105 : 0; return;
    }
  }

  Name TakeName() {
    const auto type = static_cast<std::uint16_t>(1 + input_.Byte() % 8);
    return {type, static_cast<std::uint16_t>(input_.Byte() % 10)};
  }
  Bytes TakeData() {
    const std::uint8_t size = input_.Byte();
    Bytes data(size < 200 ? size : size < 240 ? 40u * size : 200u * size);
    const std::uint8_t seed = input_.Byte();
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<std::uint8_t>(seed + i * 7);
    return data;
  }

  /// Makes a change and settles what is left of it.
  /// @param after  what it leaves when it succeeds; nothing for a name that goes
  template <typename Call>
  void Change(const char* name, const std::map<Name, const Bytes*>& after, bool keeps_one, Call call) {
    const std::uint64_t steps = world_.device.steps;
    const std::uint16_t code =
        world_.Run(name, {0, 100, 104, 105, 108, 109, 112, 114, 119, 121, 123, 124, 126, 130, 135}, call);
    world_.hooks.allocations_left = -1;
    if (code == 0) {
      for (const auto& [item, bytes] : after) Put(item, bytes);
      // A step that failed without a failing call would be lost.
      Require(!world_.device.failed(), std::string(name) + " succeeds although a step failed");
      return;
    }
    const bool is_cut = code == 0xFFFF || world_.device.failed();
    if (!is_cut) Require(code != 104 && code != 105, std::string(name) + " fails without a failing step");
    if (world_.device.steps != steps) Settle(after, keeps_one);
    if (code == 123 || code == 124) MakeRoom();
  }

  void Put(const Name& item, const Bytes* bytes) {
    if (bytes != nullptr)
      items_[item] = *bytes;
    else
      items_.erase(item);
  }

  /// After a change that ended half way: mounts anew and takes what it finds, if that may be.
  void Settle(const std::map<Name, const Bytes*>& after, bool keeps_one) {
    world_.device.FailIn(Failure::kNone, 0);
    if (!MountAgain(2)) return;
    std::uint32_t found = 0;
    for (const auto& [item, bytes] : after) {
      Bytes now;
      const bool is_there = Read(item, now);
      const auto before = items_.find(item);
      const bool is_old = before != items_.end() ? is_there && now == before->second : !is_there;
      const bool is_new = bytes != nullptr ? is_there && now == *bytes : !is_there;
      Require(is_old || is_new || (!keeps_one && !is_there), "a change that was cut left something else");
      found += is_there ? 1 : 0;
      Put(item, is_there ? &now : nullptr);
    }
    Require(!keeps_one || after.empty() || found > 0 || after.size() == 1, "a rename that was cut lost the item");
    Compare();
  }

  void Write() {
    const Name item = TakeName();
    const std::uint8_t mode = input_.Byte() % 4 == 0 ? 0 : 1;
    const Bytes data = TakeData();
    std::uint16_t id = item.second;
    Change("WriteItem", {{item, &data}}, mode == 1,
           [&] { return WriteItem(0, mode, item.first, &id, data.data(), static_cast<std::uint32_t>(data.size())); });
  }

  void WritePart() {
    const Name item = TakeName();
    const std::uint8_t mode = input_.Byte() % 4 == 0 ? 0 : 1;
    const Bytes data = TakeData();
    const std::uint32_t offset = input_.Byte();
    Bytes whole = items_.count(item) != 0 ? items_[item] : Bytes();
    if (offset <= whole.size()) {
      whole.resize(std::max(whole.size(), offset + data.size()));
      std::copy(data.begin(), data.end(), whole.begin() + offset);
    }
    if (data.empty()) return;
    Change("WriteItemPart", {{item, &whole}}, mode == 1, [&] {
      return WriteItemPart(0, mode, item.first, item.second, data.data(), static_cast<std::uint32_t>(data.size()),
                           offset);
    });
  }

  void Rename() {
    const Name from = TakeName();
    const Name to = TakeName();
    if (from == to || items_.count(from) == 0) return;
    const Bytes bytes = items_[from];
    const std::uint8_t mode = input_.Byte() % 4 == 0 ? 0 : 1;
    std::uint16_t id = to.second;
    Change("RenameItem", {{from, nullptr}, {to, &bytes}}, mode == 1,
           [&] { return RenameItem(0, mode, to.first, &id, from.first, from.second); });
  }

  void Delete() {
    const Name item = TakeName();
    Change("DeleteItem", {{item, nullptr}}, false, [&] { return DeleteItem(0, item.first, item.second); });
  }

  void DeleteRange() {
    const Name first = TakeName();
    const bool by_type = input_.Flag();
    std::map<Name, const Bytes*> gone;
    for (const auto& item : items_)
      if (by_type ? item.first.first >= first.first
                  : item.first.first == first.first && item.first.second >= first.second)
        gone[item.first] = nullptr;
    Change("DeleteItemRange", gone, false, [&] {
      return by_type ? DeleteTypeRange(0, first.first, 0xFFFD) : DeleteItemRange(0, first.first, first.second, 0xFFFE);
    });
  }

  void Reorganise(std::uint16_t block) {
    Change("ReorganiseBlock", {}, true, [&] { return ReorganiseBlock(0, block, 0); });
    std::uint16_t retired = 0xFFFF;
    if (!is_stuck_) Change("EraseRetiredBlock", {}, true, [&] { return EraseRetiredBlock(0, &retired); });
  }

  void MakeRoom() {
    if (is_stuck_) return;
    std::uint16_t block = 0;
    CheckReorgNeed(0, 100, &block, 0);
    if (block != 0xFFFF) Reorganise(block);
  }

  void Remount(std::uint8_t mode) {
    world_.device.FailIn(Failure::kNone, 0);
    if (MountAgain(mode)) Compare();
  }

  bool MountAgain(std::uint8_t mode) {
    world_.hooks.allocations_left = -1;
    Require(world_.SetUp() == 0, "a sound store is not set up");
    std::uint16_t code = world_.Mount(mode);
    if (code == 132 && mode == 1) {
      world_.SetUp();
      code = world_.Mount(2);
    }
    // A reorganisation that was cut may find no room for what is left to move: its target has dead bytes.
    is_stuck_ = code == 108;
    Require(code == 0 || is_stuck_, "a mount answers " + std::to_string(code));
    return !is_stuck_;
  }

  bool Read(const Name& item, Bytes& bytes) {
    bytes.resize(world_.geometry().block_size);
    auto length = static_cast<std::uint32_t>(bytes.size());
    const std::uint16_t code = ReadItem(0, item.first, item.second, bytes.data(), &length, 0);
    Require(code == 0 || code == 119, "a read answers " + std::to_string(code));
    bytes.resize(code == 0 ? length : 0);
    return code == 0;
  }

  /// Every item is there with its bytes, and nothing else is.
  void Compare() {
    std::map<std::uint16_t, std::uint32_t> counts;
    for (const auto& [item, bytes] : items_) {
      Bytes now;
      Require(Read(item, now) && now == bytes, "an item is lost or changed");
      ++counts[item.first];
    }
    for (std::uint16_t type = 0; type < 10; ++type) {
      std::vector<std::uint16_t> ids(16);
      std::uint32_t count = 16;
      if (type != 0 && ListItems(0, type, nullptr, nullptr, ids.data(), &count, nullptr) == 0)
        Require(count == counts[type], "there are items that were never written");
    }
  }

  Input& input_;
  World world_;
  std::map<Name, Bytes> items_;
  bool is_stuck_ = false;
};

}  // namespace

void FuzzSequence(Input input) { Sequence(input).Run(); }

}  // namespace vok::fuzz

#include "slots_behind.h"

#include "record_chain.h"

namespace vok::tool {

namespace {

/// What may be a slot behind the end of the list.
struct Candidate {
  FlashAddress slot;
  SlotHeader header;
  ItemRecord record;
  bool is_real = false;

  FlashAddress start() const { return record.payload(); }
  FlashAddress end() const { return record.length_word + CurrentLayout().word_size; }
  FlashAddress slot_end() const { return slot + CurrentLayout().slot_size(); }
};

/// Tells slots from payload bytes by their records: those of real ones lie one below the other.
class BehindSearch {
 public:
  BehindSearch(const PartitionRecord& partition, const BlockRecord& block, FlashAddress list_end,
               const RecordLine& line)
      : lowest_(line.floor()), above_(line.IsExact() ? line.floor() : 0), list_end_(list_end), last_end_(list_end) {
    const u32 size = CurrentLayout().slot_size();
    for (FlashAddress slot = list_end; slot + size <= lowest_; slot += size) Take(partition, block, slot);
  }

  std::vector<FlashAddress> Run() {
    for (std::size_t i = 0; i < candidates_.size() && candidates_[i].slot_end() <= lowest_; ++i)
      if (IsInLine(i)) Accept(i);
    for (std::size_t i = 0; i + 1 < candidates_.size(); ++i) AcceptBefore(candidates_[i + 1], candidates_[i]);
    std::vector<FlashAddress> slots;
    for (const Candidate& candidate : candidates_)
      if (candidate.is_real && candidate.slot_end() <= lowest_ && IsValid(candidate.header.word))
        slots.push_back(candidate.slot);
    return slots;
  }

 private:
  void Take(const PartitionRecord& partition, const BlockRecord& block, FlashAddress slot) {
    Candidate candidate{.slot = slot, .header = ReadHeader(slot), .record = {}};
    if (candidate.header.type == kUnusedType || candidate.header.word == 0) return;
    candidate.record = LocateRecord(partition, block, candidate.header.word);
    if (!candidate.record.in_block || candidate.end() > lowest_ || candidate.end() <= candidate.slot_end()) return;
    if (candidate.record.sound && candidate.start() < candidate.slot_end()) candidate.record.sound = false;
    candidates_.push_back(candidate);
  }

  /// Right below the slots before it, or right above those behind it, or the last one above free space. Payload bytes
  /// far from the slots before may name any place by chance.
  bool IsInLine(std::size_t index) const {
    const Candidate& candidate = candidates_[index];
    const u64 missing = (candidate.slot - last_end_) / CurrentLayout().slot_size();
    if (missing > (candidate.record.sound ? RecordChain::kMostSteps : 2)) return false;
    // Each record in between belongs to a slot in between.
    if (above_ != 0 && RecordChain(list_end_).Reaches(above_, candidate.end(), missing)) return true;
    if (!candidate.record.sound) return false;
    return IsOver(index) || RecordChain(candidate.slot_end()).EndsInFreeSpace(candidate.start());
  }

  /// Two of the records below in line: one alone may be chance.
  bool IsOver(std::size_t index) const {
    constexpr std::size_t kEnough = 2;
    for (std::size_t i = index; i < index + kEnough; ++i) {
      if (i + 1 >= candidates_.size() || !candidates_[i].record.sound) return false;
      if (candidates_[i].start() != candidates_[i + 1].end()) return false;
    }
    return true;
  }

  void Accept(std::size_t index) {
    Candidate& candidate = candidates_[index];
    candidate.is_real = true;
    last_end_ = candidate.slot_end();
    above_ = candidate.record.sound ? candidate.start() : 0;
    if (candidate.record.sound) lowest_ = candidate.start();
  }

  /// A slot whose record is damaged stands right before a real one.
  static void AcceptBefore(const Candidate& real, Candidate& candidate) {
    if (real.is_real && candidate.slot_end() == real.slot && real.end() < candidate.end()) candidate.is_real = true;
  }

  FlashAddress lowest_;  ///< where a record begins that is known
  FlashAddress above_;   ///< the same, where the next record must end; 0 = nobody knows
  FlashAddress list_end_;
  FlashAddress last_end_;  ///< of the last real slot
  std::vector<Candidate> candidates_;
};

}  // namespace

std::vector<FlashAddress> SlotsBehind(const PartitionRecord& partition, const BlockRecord& block, FlashAddress list_end,
                                      RecordLine line) {
  if (IsErased(list_end, line.floor())) return {};
  return BehindSearch(partition, block, list_end, line).Run();
}

}  // namespace vok::tool

#pragma once

#include <string>

#include "cutting_device.h"
#include "reader.h"

/// What is noted down about device steps: where in the layout each one lies, and whether a strict chip would make it.

namespace vok::sweep {

/// What a step writes.
enum class Place : u8 {
  kHeader,    ///< signature, format version, wear counter
  kState,     ///< block state word
  kErase,     ///< the erase of a block
  kLength,    ///< length word of a new record
  kPayload,   ///< payload of a new record
  kJournal,   ///< fields of a journal record
  kInPlace,   ///< bytes of a Valid item
  kName,      ///< type and ID of a new slot
  kAllocate,  ///< location word of a new slot, state Allocated
  kCommit,    ///< Allocated to Valid
  kCancel,    ///< Allocated to Void, or either to Deleted
  kRetire,    ///< Valid to Deleted
  kEnd,       ///< after the last step
};
inline constexpr u32 kPlaceCount = 13;
const char* TextOf(Place place);

Place PlaceOf(const Partition& partition, u32 base, const Step& step);

struct TraceStep {
  StepKind kind;
  Place place;
  u32 tears;
};
using Trace = std::vector<TraceStep>;

/// Bytes of the partition, by offset, that may be programmed over.
struct Overwritable {
  u32 begin = 0;
  u32 end = 0;
};

/// Sees that no program sets a bit and no erase takes a block with a Valid item (I6, I7); and keeps a trace on demand.
class Witness : public StepObserver {
 public:
  Witness(const Version& version, const CuttingDevice& device) : version_(version), device_(device) {}

  void OnStep(const Step& step) override;

  void Record(bool on) { recording_ = on; }
  void Allow(Overwritable range) { overwritable_.push_back(range); }
  /// Erases of @p block (its offset) are expected although it holds a Valid item.
  void AllowErase(u32 block) { erasable_.push_back(block); }

  const Trace& trace() const { return trace_; }
  const std::string& complaint() const { return complaint_; }

 private:
  void CheckProgram(const Step& step);
  void CheckErase(const Step& step);

  const Version& version_;
  const CuttingDevice& device_;
  bool recording_ = false;
  std::vector<Overwritable> overwritable_;
  std::vector<u32> erasable_;
  Trace trace_;
  std::string complaint_;
};

}  // namespace vok::sweep

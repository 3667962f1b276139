#pragma once

#include <span>

#include "flash/types.h"

/// What a check can find. This list is the one place for the codes; docs/check.md explains each.

namespace vok::tool {

enum class Severity : u8 {
  kNote,   ///< worth knowing; nothing is to be done
  kDue,    ///< a repair finishes or undoes it
  kError,  ///< something is lost or will be
};

enum class FindingCode : u8 {
  kUnsignedEmpty,
  kUnsignedItems,
  kBlockState,
  kBlockStateItems,
  kUnfinishedSlot,
  kJournalRecord,
  kJournalDamaged,
  kRecordWithoutSlot,
  kProgrammedFreeSpace,
  kRecordOutside,
  kRecordOverHeader,
  kRecordOverSlots,
  kRecordsOverlap,
  kTwoCopies,
  kTypeZero,
  kIdAny,
  kUnservedType,
  kSlotsBehindGap,
  kFigures,
  kWear,
  kPsdt,
};
inline constexpr std::size_t kFindingCodeCount = static_cast<std::size_t>(FindingCode::kPsdt) + 1;

struct FindingKind {
  const char* code;  ///< stable
  Severity severity;
  const char* cost;  ///< what a repair costs
};

/// In the order of FindingCode.
std::span<const FindingKind> FindingKinds();

inline const FindingKind& KindOf(FindingCode code) { return FindingKinds()[static_cast<std::size_t>(code)]; }

/// "error", "due" or "note"
const char* NameOf(Severity severity);

}  // namespace vok::tool

#include "section/finding_kinds.h"

#include <iterator>

namespace vok::tool {

namespace {

constexpr const char* kNothing = "nothing";
constexpr const char* kItems = "the items that lie in the block";
constexpr const char* kNoRepair = "nothing: a repair leaves it";

constexpr FindingKind kKinds[] = {
    {"due.no-signature", Severity::kDue, kNothing},
    {"damage.no-signature", Severity::kError, kItems},
    {"due.block-state", Severity::kDue, kNothing},
    {"damage.block-state", Severity::kError, kItems},
    {"due.slot", Severity::kDue, "the write that was not complete"},
    {"due.journal", Severity::kDue, kNothing},
    {"damage.journal-record", Severity::kError, "the change that it announced"},
    {"due.record-without-slot", Severity::kDue, "its bytes, until the block is reorganised"},
    {"due.programmed-free-space", Severity::kDue, kNoRepair},
    {"damage.record-outside-block", Severity::kError, kNoRepair},
    {"damage.record-over-header", Severity::kError, kNoRepair},
    {"damage.record-over-slots", Severity::kError, kNoRepair},
    {"damage.records-overlap", Severity::kError, kNoRepair},
    {"damage.two-copies", Severity::kError, kNoRepair},
    {"damage.type-zero", Severity::kError, kNoRepair},
    {"damage.id-65535", Severity::kError, kNoRepair},
    {"damage.unserved-type", Severity::kError, kNoRepair},
    {"damage.slots-behind-gap", Severity::kError, "the items behind the gap"},
    {"damage.figures", Severity::kError, kNoRepair},
    {"note.wear", Severity::kNote, kNothing},
    {"damage.psdt", Severity::kError, kNoRepair},
};

static_assert(std::size(kKinds) == kFindingCodeCount);

}  // namespace

std::span<const FindingKind> FindingKinds() { return kKinds; }

const char* NameOf(Severity severity) {
  switch (severity) {
    case Severity::kNote: return "note";
    case Severity::kDue: return "due";
    case Severity::kError: return "error";
  }
  return "";
}

}  // namespace vok::tool

#include "block_words.h"

#include <array>
#include <cstdio>

namespace vok::tool {

std::string NameOfBlockState(u16 state) {
  const BlockStates& states = CurrentLayout().states;
  struct Named {
    u16 state;
    const char* name;
  };
  const std::array<Named, 8> names = {{{states.erased, "Erased"},
                                       {states.free, "Free"},
                                       {states.opening, "Opening"},
                                       {states.reorg_target, "ReorgTarget"},
                                       {states.active, "Active"},
                                       {states.reorg_source, "ReorgSource"},
                                       {states.retired, "Retired"},
                                       {states.erasing, "Erasing"}}};
  for (const Named& named : names)
    if (named.state == state) return named.name;
  std::array<char, sizeof "0xFFFF"> number{};
  std::snprintf(number.data(), number.size(), "0x%04X", state);
  return number.data();
}

bool IsFormattedByRepair(u16 state) {
  const BlockStates& states = CurrentLayout().states;
  return state != states.free && state != states.opening && state != states.reorg_target && state != states.active &&
         state != states.reorg_source;
}

std::string NameOfSlotState(u32 word) {
  const u32 state = word & CurrentLayout().state_mask;
  if (IsUnfinished(word)) return state == CurrentLayout().state_mask ? "Allocated" : "Void";
  return IsValid(word) ? "Valid" : "Deleted";
}

}  // namespace vok::tool

#pragma once

#include "view/image_view.h"

/// How the blocks of an image fare, in the words that every map uses.

namespace vok::tool {

/// From the best to the worst.
enum class Condition : u8 {
  kFine,
  kRegain,  ///< holds dead bytes, which a reorganisation regains
  kDue,     ///< a repair finishes what is unfinished in it, at no cost
  kDamage,  ///< something in it is lost, or cannot be read
};

/// "fine", "dead bytes", "repair due" or "damage"
const char* TextOf(Condition condition);
/// A name for it in data and styles: "fine", "regain", "due" or "error"
const char* NameOf(Condition condition);

/// What a finding says of its block: damage where no repair helps, or where one costs items.
Condition ConditionOf(const SectionView& section, const Finding& finding);
Condition ConditionOf(const SectionView& section, const BlockView& block);
/// That of the block that is worst off.
Condition ConditionOf(const ImageView& view);

/// The one figure that matters most of a block: "26 items lost", "42448 dead", "89000 free".
std::string HeadlineOf(const SectionView& section, const BlockView& block);

}  // namespace vok::tool

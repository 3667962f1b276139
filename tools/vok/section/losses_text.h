#pragma once

#include <string>

#include "section/losses.h"

/// How a command tells on standard error what it could not serve.

namespace vok::tool {

/// The losses of one of several images.
struct ImageLosses {
  std::string image;  ///< as the user named it
  const Losses* losses;
};

/// A line for each section that loses something: how many items, from which blocks, why, and the command that gets them
/// back. @param image  goes in front where a command reads several
void TellLosses(const Losses& losses, const std::string& image = "");

/// What these losses are, in one line.
std::string TextOf(const Losses& losses);

/// The losses of one section, or of one item of whatever section.
Losses LossesOfSection(const Losses& losses, const std::string& section);
Losses LossesOfItem(const Losses& losses, const ItemKey& name);
/// Those of items of which nothing is served.
Losses WithoutHidden(const Losses& losses);

}  // namespace vok::tool

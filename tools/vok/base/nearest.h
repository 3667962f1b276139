#pragma once

#include <span>
#include <string>

namespace vok::tool {

/// The one of @p words that a person may have meant by @p text: what it is short for, or what few slips of the fingers
/// make of it; empty when none is near.
std::string Nearest(const std::string& text, std::span<const std::string> words);

/// "; did you mean 'list'?" or nothing.
std::string DidYouMean(const std::string& text, std::span<const std::string> words);

}  // namespace vok::tool

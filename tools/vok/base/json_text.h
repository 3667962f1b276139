#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// What the JSON answers have in common.

namespace vok::tool {

/// Keeps the fields in the order in which they are added.
using Json = nlohmann::ordered_json;

/// An answer to which fields are to be added.
inline Json Answer() { return {{"format", "vok/1"}}; }

/// File names of the user may be no UTF-8; they come with replacement characters then.
inline std::string JsonText(const Json& json) {
  constexpr int kIndent = 1;
  return json.dump(kIndent, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace vok::tool

#pragma once

#include <string>
#include <vector>

#include "base/json_reader.h"
#include "worker/psdt.h"

/// What has to hold for the sections of a description, once every field is right by itself.

namespace vok::tool {

/// A section, and where the document describes it.
struct PlacedRecord {
  psdt::Record record = {};
  JsonValue where;
};

/// Adds what is wrong with one section.
void CheckAlone(const PlacedRecord& section, std::vector<std::string>& problems);

/// Adds what is wrong between the sections, of which there are to be @p count in all, and the PSDT.
void CheckTogether(const std::vector<PlacedRecord>& sections, std::size_t count, u32 psdt_address,
                   std::vector<std::string>& problems);

}  // namespace vok::tool

#pragma once

#include "building/manifest.h"

/// The parts of a manifest below its head.

namespace vok::tool {

/// The file that the field "file" of @p json names, or the default one.
/// @param advice  goes on with the failure's text
/// @throws Failure, with the field's path
Bytes ReadManifestFile(const std::string& directory, const JsonValue& json, const std::string& default_name,
                       const std::string& advice = "");

/// The section that the store makes of the PSDT's record of that name.
const Section& SectionNamed(const JsonValue& name, const SectionList& sections);

/// What the image lost when it was unpacked.
Loss ReadManifestLoss(const JsonValue& json);

/// Compares what the manifest says of a section with the PSDT and reads its items.
PackedSection ReadManifestSection(const std::string& directory, const JsonValue& json, const Section& section,
                                  Tolerance tolerance);

/// The items of a section that the manifest leaves out: those whose files were added.
PackedSection ReadUnlistedSection(const std::string& directory, const Section& section, Tolerance tolerance);

}  // namespace vok::tool

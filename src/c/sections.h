#pragma once

#include <vector>

#include "c/call.h"
#include "flash/startup.h"

/// The sections that the store makes partitions of, and their items.

namespace vok::c {

/// The PSDT records that start-up accepts, in order. @throws VokError 138 while no store is set up
std::vector<psdt::Record> AcceptedSections();

/// The first of them with that tag. @throws VokError 116 when there is none, 115 for a null tag
psdt::Record FindSection(const char* tag);

inline u8 PartitionOf(const psdt::Record& section) { return static_cast<u8>(section.partition); }

/// Zero-terminated.
void SetTag(char (&name)[8], u32 tag);

/// An item of a section, without its length.
vok_item ItemOf(const psdt::Record& section, u16 type, u16 id);

/// By type, then by ID; an item of which damage left two current copies comes once.
/// @throws VokError 140 and what else a listing answers
std::vector<vok_item> ItemsOf(const psdt::Record& section);

}  // namespace vok::c

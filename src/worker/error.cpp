#include <array>
#include <string>

#include "vok/vok_worker.h"
#include "worker/error_text.h"

namespace {

constexpr int kFirstCode = 100;

constexpr std::array<const char*, 43> kTexts = {"Cannot make ID",
                                                "Client Unavailable",
                                                "Dir Full",
                                                nullptr,
                                                "Flash Erase",
                                                "Flash Write",
                                                "Incomplete Erase",
                                                "Initialized already",
                                                "Internal Error",
                                                "Invalid Block",
                                                "Invalid Handle",
                                                "Invalid Handling",
                                                "Invalid ID",
                                                "Invalid Lock",
                                                "Invalid Offset",
                                                "Invalid Parameter",
                                                "Invalid Partition",
                                                "Invalid Pointer",
                                                "Invalid Type",
                                                "Item not found",
                                                "Item too big",
                                                "Large Chunk",
                                                "Mount Failure",
                                                "Need Reorg",
                                                "Need Deep Reorg",
                                                "Partition Needs Create",
                                                "No Spare Block",
                                                "Out of Hunt Flags",
                                                "Out of RAM",
                                                "Out of Semaphores",
                                                "Partition Full",
                                                "Partition Needs Format",
                                                "Partition Needs Repair",
                                                "Pointers Out",
                                                "Read Only",
                                                "Target Exists",
                                                "Too Many Handles",
                                                "Too Many Prts",
                                                "UnInitialized",
                                                "Unknown Format",
                                                "Partition Unmounted",
                                                "Write Once",
                                                "Flash Write Redundant"};

}  // namespace

const char* vok::TextOfCode(int code) {
  const bool known = code >= kFirstCode && code < kFirstCode + static_cast<int>(kTexts.size());
  const char* text = known ? kTexts[static_cast<std::size_t>(code - kFirstCode)] : nullptr;
  return text != nullptr ? text : "Unknown Exception";
}

VokError::VokError(int code) : Code(code) {}
VokError::VokError(const VokError& other) = default;
VokError& VokError::operator=(const VokError& other) = default;
VokError::~VokError() = default;

std::string VokError::ErrorMessage(int code) const {
  return "VOK Error #" + std::to_string(code) + ": " + vok::TextOfCode(code);
}

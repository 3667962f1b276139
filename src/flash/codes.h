#pragma once

#include "flash/types.h"

/// The store's error codes; VokError::ErrorMessage() holds their texts.
namespace vok::code {

inline constexpr u16 kOk = 0;
inline constexpr u16 kCannotMakeId = 100;
inline constexpr u16 kClientUnavailable = 101;
inline constexpr u16 kRegisteredAlready = 103;
inline constexpr u16 kFlashErase = 104;
inline constexpr u16 kFlashWrite = 105;
inline constexpr u16 kInitializedAlready = 107;
inline constexpr u16 kInternalError = 108;
inline constexpr u16 kInvalidBlock = 109;
inline constexpr u16 kInvalidHandle = 110;
inline constexpr u16 kInvalidHandling = 111;
inline constexpr u16 kInvalidId = 112;
inline constexpr u16 kInvalidLock = 113;
inline constexpr u16 kInvalidOffset = 114;
inline constexpr u16 kInvalidParameter = 115;
inline constexpr u16 kInvalidPartition = 116;
inline constexpr u16 kInvalidPointer = 117;
inline constexpr u16 kInvalidType = 118;
inline constexpr u16 kItemNotFound = 119;
inline constexpr u16 kItemTooBig = 120;
inline constexpr u16 kLargeChunk = 121;
inline constexpr u16 kMountFailure = 122;
inline constexpr u16 kNeedReorg = 123;
inline constexpr u16 kNeedDeepReorg = 124;
inline constexpr u16 kNeedsCreate = 125;
inline constexpr u16 kNoSpareBlock = 126;
inline constexpr u16 kOutOfHuntFlags = 127;
inline constexpr u16 kOutOfRam = 128;
inline constexpr u16 kPartitionFull = 130;
inline constexpr u16 kNeedsRepair = 132;
inline constexpr u16 kPointersOut = 133;
inline constexpr u16 kReadOnly = 134;
inline constexpr u16 kTargetExists = 135;
inline constexpr u16 kTooManyHandles = 136;
inline constexpr u16 kTooManyPointers = 137;
inline constexpr u16 kUninitialized = 138;
inline constexpr u16 kUnmounted = 140;
inline constexpr u16 kWriteOnce = 141;
inline constexpr u16 kWriteRedundant = 142;

}  // namespace vok::code

#pragma once

#include <string>

#include "cutting_device.h"
#include "reader.h"
#include "vok/store.h"
#include "vok/vok_worker.h"

/// The store under test: one partition of a few blocks in the flash image, set up anew from its bytes again and again.

namespace vok::sweep {

struct Geometry {
  u32 version;
  u16 blocks;
  bool directory;  ///< with a directory arena, some types and IDs in it
};

/// Counts what the store takes and must give back.
class BalanceHooks : public PlatformHooks {
 public:
  void TakeLock(std::uint32_t*) override { ++held_; }
  void GiveLock(std::uint32_t*) override { --held_; }
  void TakeStoreLock() override { ++held_; }
  void GiveStoreLock() override { --held_; }
  void* Allocate(std::uint16_t size) override;
  void Release(void* memory) override;

  int held() const { return held_; }
  int allocated() const { return allocated_; }

 private:
  int held_ = 0;
  int allocated_ = 0;
};

/// The partition is number 0. The image, the store version and the store itself are process-wide, so is the rig.
class Rig {
 public:
  Rig();
  ~Rig();
  Rig(const Rig&) = delete;
  Rig& operator=(const Rig&) = delete;

  /// Ends the store, applies the version and describes the partition in a PSDT of its own.
  void Configure(const Geometry& geometry);
  const Geometry& geometry() const { return geometry_; }
  const Version& version() const { return VersionOf(geometry_.version); }
  u32 size() const { return version().block_size * geometry_.blocks; }

  /// The store ended, @p bytes in the flash, no power cut ahead.
  void Load(std::span<const u8> bytes);
  /// The store ended, every byte of the partition erased.
  void LoadErased() { Load(erased_); }
  /// Ends the store and sets it up, not mounted.
  void SetUp();
  u16 Mount(u8 mode) { return MountPartition(0, mode); }

  /// The power comes back: the store is ended, the bytes are taken out of the flash, the flash is filled with something
  /// else, and the bytes go back in before the store is set up.
  /// @return what went wrong before, empty = nothing
  std::string Restart();

  CuttingDevice& device() { return device_; }
  VokWorker& worker() { return worker_; }
  Partition Read() const { return ReadPartition(version(), device_.bytes()); }

 private:
  void LoadPsdt();

  Geometry geometry_{};
  CuttingDevice device_;
  BalanceHooks hooks_;
  VokWorker worker_;
  Bytes survived_;
  Bytes poison_;
  Bytes erased_;
  Bytes arena_;
};

}  // namespace vok::sweep

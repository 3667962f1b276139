#pragma once

#include <cstdint>

/// @file
/// The two seams of the store: the flash chip below it and the operating-system services beside it.
///
/// The defaults are this library's own behaviour: the chip is the 32 MiB flash image in process memory and the services
/// do nothing or answer success. An embedding program or a test derives from a class, overrides what it needs and
/// installs the object. Installed objects stay owned by the caller and must outlive their installation.

namespace vok {

/// The flash chip: everything that changes store bytes in the flash image goes through the installed device.
///
/// Statuses are device numbers, not error codes: 0 = program complete, 4 = erase complete. Any other answer to a
/// program reaches the store's caller as 105 "Flash Write", any other answer to an erase as 104 "Flash Erase", and the
/// operation stops at that step. A device may throw: the exception passes through the store unchanged, every lock is
/// given back, and the image stays as it was at that moment.
///
/// A power cut may leave a program half done (any subset of the bits that it clears, any prefix of a bulk program) or
/// an erase half done. A device that simulates one changes the image through the base class's single steps and throws;
/// the next repair mount finishes or undoes the operation.
///
/// Addresses are byte offsets into the flash image. Bytes that would lie beyond its end are ignored.
class FlashDevice {
 public:
  virtual ~FlashDevice() = default;

  /// Replaces the two bytes at @p address by @p value, high byte first. @return 0 = done.
  virtual std::uint16_t ProgramWord16(std::uint32_t address, std::uint16_t value);

  /// Replaces the byte at @p address; the other byte of its word keeps its content. @return 0 = done.
  virtual std::uint16_t ProgramByte(std::uint32_t address, std::uint8_t value);

  /// Programs @p length bytes from @p data, which may itself lie in the flash image. The default is one block copy, the
  /// same bytes as the stepwise sequence gives; ProgramBytesStepwise() is there for devices that need the single steps.
  /// @return 0 = done.
  virtual std::uint16_t ProgramBytes(const std::uint8_t* data, std::uint32_t address, std::uint32_t length);

  /// Sets one erase block (64 KiB in store version 1, 128 KiB in versions 2 and 3) from @p address on to 0xFF.
  /// @return 4 = done.
  virtual std::uint16_t EraseBlockDevice(std::uint32_t address);

 protected:
  /// The bulk program as a chip makes it: a leading byte when @p address is odd, whole words at even addresses, a
  /// trailing byte when one remains, in rising order through the virtual single steps.
  /// @return 0, or the status of the first step that is not 0; the steps after it are not made.
  std::uint16_t ProgramBytesStepwise(const std::uint8_t* data, std::uint32_t address, std::uint32_t length);
};

/// What an operating system would offer to the store. Every default does nothing, or answers success.
///
/// The lock hooks mark where a multi-threaded system serialises; they must not throw, since the store gives locks back
/// while an exception of the device passes through.
class PlatformHooks {
 public:
  virtual ~PlatformHooks() = default;

  /// Told every failure @p code that a store operation is about to return, and 108 for damage that a search walks past.
  virtual void ReportError(std::uint16_t code);

  /// Creates the lock behind the lock word @p lock. @return 0, or the code with which partition set-up then fails.
  virtual std::uint16_t CreateLock(std::uint32_t* lock);
  /// Ends a lock that CreateLock() made.
  virtual void DeleteLock(std::uint32_t* lock);
  /// Enters the critical section of one partition lock.
  virtual void TakeLock(std::uint32_t* lock);
  /// Leaves the critical section of one partition lock.
  virtual void GiveLock(std::uint32_t* lock);
  /// Enters the critical section around store-wide tables.
  virtual void TakeStoreLock();
  /// Leaves the critical section around store-wide tables.
  virtual void GiveStoreLock();

  /// Tells the owner of a client lock about a block that a reorganisation empties.
  /// @param key            the client ID under which the lock was registered
  /// @param first_address  first flash address of the block
  /// @param last_address   last flash address of the block
  /// @param flag           1 = give up your pointers into the block; 0 = the block has been dealt with
  /// @return 0 = agreed; with flag 1 any other answer stops the reorganisation with that code, with flag 0 it is
  /// ignored
  virtual std::uint16_t NotifyClient(std::uint8_t partition, std::uint32_t key, std::uint32_t first_address,
                                     std::uint32_t last_address, std::uint8_t flag);

  /// Asked before bytes are programmed over bytes that were written before.
  /// @return 0 = program in place; 142 = nothing to program, the write succeeds; 115 = the write fails with 115; any
  ///         other answer = write a new copy instead. The repair of a block's tail closes the block on 105 and 115.
  virtual std::uint16_t CheckProgramOver(std::uint8_t partition, std::uint32_t address, const std::uint8_t* data,
                                         std::uint32_t length);

  /// Allocates @p size bytes, aligned for any type; the store fills them itself. @return null = out of memory (128).
  virtual void* Allocate(std::uint16_t size);
  /// Frees what Allocate() gave; never called with null.
  virtual void Release(void* memory);
};

/// Installs @p device (null = the default one). @return the device that was installed before, null = the default.
FlashDevice* InstallFlashDevice(FlashDevice* device);

/// Installs @p hooks (null = the default ones). Tables are released through the hooks in force at that time, so change
/// allocating hooks only while the store is terminated. @return the hooks installed before, null = the default.
PlatformHooks* InstallPlatformHooks(PlatformHooks* hooks);

}  // namespace vok

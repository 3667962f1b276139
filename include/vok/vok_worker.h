#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vok/export.h"

/// @file
/// The host interface: take a codeplug image apart into items, change them, and hand flash contents back.
///
/// All state is process-wide: the 32 MiB flash image, the PSDT, the store version and the mounted store. VokWorker
/// objects hold nothing; a second object is a second handle on the same store, and destroying *any* of them ends the
/// store. One thread drives the library at a time.
///
/// The usual order: LoadPSDT(), then LoadCodeplug() for existing contents or SetBlockVOKVersion() and
/// BuildDefaultVOKHeaders() for an empty store, then item traffic, then ReadVitualMemory() to take the bytes out, then
/// TerminateVOK().
///
/// Addresses are byte offsets into the flash image (0 to 0x2000000); ranges exclude their end. Results are error codes,
/// 0 = success; WriteVOK(), WriteAllVOK() and ReadAllVOK() throw VokError instead. See VokError for the codes.

/// An error code of the store as an exception. Deliberately without a base class.
class VOK_API VokError {
 public:
  /// @param code  the error code, kept in Code
  VokError(int code);  // NOLINT(google-explicit-constructor): hosts throw and compare plain codes
  /// Copies the code.
  VokError(const VokError& other);
  /// Copies the code.
  VokError& operator=(const VokError& other);
  virtual ~VokError();

  /// @return "VOK Error #<code>: <text>" for any @p code, "Unknown Exception" for one without a text. The object's own
  ///         Code is not consulted.
  std::string ErrorMessage(int code) const;

  /// The code that the failing operation gave.
  int Code;
};

/// The first nine header words of the loaded PSDT: word 0 is the magic "PHDR", the low half of word 1 the record count.
struct PSDT_HEADER_RECORD {
  std::uint32_t Words[9];  ///< in the order of the PSDT
};

/// One section of the flash as the PSDT describes it.
struct PSDT_RECORD {
  std::uint32_t Tag;           ///< four ASCII characters, the first in the highest byte
  std::uint32_t StartAddress;  ///< flash address of the first block
  std::uint32_t EndAddress;    ///< flash address of the section's last byte
  std::uint32_t BlockSize;     ///< bytes per erase block
  std::uint16_t BlockCount;    ///< number of erase blocks
  std::uint16_t FirstType;     ///< first item type of the primary range
  std::uint16_t LastType;      ///< last item type of the primary range, included
};

/// One item as the host sees it; owns its name and bytes.
struct VOKITEM {
  std::string Name;                ///< free for the host; never filled, never read
  std::uint16_t Type = 0;          ///< item type, 1 to 65533
  std::uint16_t Id = 0;            ///< item ID, 0 to 65534
  std::uint32_t Length = 0;        ///< bytes read by ReadAllVOK(); not consulted by WriteAllVOK()
  std::vector<std::uint8_t> Data;  ///< the payload
};

/// The one class that a host drives. No data members, no base class; the destructor is its only virtual operation.
class VOK_API VokWorker {
 public:
  VokWorker();
  /// Copies nothing.
  VokWorker(const VokWorker& other);
  /// Ends the store (TerminateVOK()) for every VokWorker of the process; the flash image keeps its contents.
  virtual ~VokWorker();
  /// Copies nothing.
  VokWorker& operator=(const VokWorker& other);

  /// Erases the whole flash image and loads a PSDT, which is converted in place from its big-endian form.
  /// @param data     the PSDT image, at least 96 × (record count + 1) bytes, at most 255 records
  /// @param length   bytes in @p data, at least 1
  /// @param address  where it goes; address + length must not exceed 0x2000000
  /// @return 0; 115 with nothing changed when an argument or the record count is out of range; 115 with the bytes
  /// loaded
  ///         and converted when the magic is not "PHDR". A store that is running is not ended.
  std::uint16_t LoadPSDT(const std::uint8_t* data, std::uint32_t length, std::uint32_t address);

  /// @return a new copy of the converted header, owned by the caller (delete it); null before any LoadPSDT().
  PSDT_HEADER_RECORD* ReadPSDTHeaderRecord();

  /// @return one new record for each PSDT record, in order, each owned by the caller (delete each).
  std::vector<PSDT_RECORD*> ReadPSDTRecord();

  /// Copies a codeplug image into the flash image and reads the store version of the block at @p address, without
  /// applying it and without starting a store.
  /// @param version  out; untouched when @p address leaves no room for a block header
  /// @return 0, or 115 with nothing changed when the data do not lie inside the flash image or are empty.
  std::uint16_t GetCodeplugVOKVersion(const std::uint8_t* data, std::uint32_t length, std::uint32_t address,
                                      std::uint16_t& version);

  /// Reads the store version in the header of the block at @p address (0xFFFF for an erased one).
  /// @return 0, or 115 with @p version untouched when @p address is above 0x1FFFFF8.
  std::uint16_t GetBlockVOKVersion(std::uint32_t address, std::uint16_t& version);

  /// Copies the flash bytes start … end − 1 to @p buffer. @return 0, or 115 for a range outside the image or no buffer.
  std::uint16_t ReadVitualMemory(std::uint32_t start, std::uint32_t end, std::uint8_t* buffer);

  /// Sets the flash bytes start … end − 1 to 0xFF. @return 0, or 115 for a range outside the image.
  std::uint16_t EraseVirtualMemory(std::uint32_t start, std::uint32_t end);

  /// Sets the whole flash image to 0xFF except the PSDT and the one byte that follows it.
  /// @return 0, or 115 when the PSDT location is out of range.
  std::uint16_t EraseCodeplugVirtualMemory();

  /// Copies a codeplug image in, settles the store version, ends a running store and starts it over the new bytes.
  ///
  /// Sections are mounted with repair: what an interrupted operation left is finished or undone in the flash image.
  /// Problems of start-up are not reported here; item operations then answer 138 (store not set up), 116 (no section
  /// for the type) or 140 (section not mounted).
  /// @param version  store version to use (1, 2, 3); 0 = as the block header at @p address says. Another value keeps
  /// the
  ///                 version in force.
  /// @return 0, or 115 with nothing changed when the data do not lie inside the flash image or are empty.
  std::uint16_t LoadCodeplug(const std::uint8_t* data, std::uint32_t length, std::uint32_t address,
                             std::uint16_t version);

  /// Writes a default header into every block of every PSDT record (the last block of a section Active, the others
  /// Free) and starts the store. Slots and records are left as they are: erase first. A running store keeps its RAM
  /// state, so call TerminateVOK() before.
  /// @return 0, or 115 without a PSDT or with no records.
  std::uint16_t BuildDefaultVOKHeaders();

  /// Ends the store and applies a store version for what follows; an unknown version changes nothing.
  /// @param address  not used
  /// @return 0
  std::uint16_t SetBlockVOKVersion(std::uint32_t address, std::uint16_t version);

  /// Reads one item.
  /// @param type    1 to 65533, else 115
  /// @param buffer  receives the payload; may be null for an empty item
  /// @param length  in: bytes in @p buffer; out: bytes delivered
  /// @return 0; 120 when the item is longer than the buffer (which then holds its first bytes); 119 not found; 112 for
  /// ID
  ///         65535; 115; 108 for a damaged item; 127; 138, 116 or 140 when no mounted section serves the type.
  std::uint16_t ReadVOK(std::uint16_t type, std::uint16_t id, std::uint8_t* buffer, std::uint32_t& length);

  /// Ends the store and frees its tables; the flash image keeps its contents. @return false when none was running.
  bool TerminateVOK();

  /// Reads every item of the partition that serves a section.
  /// @param section  section tag; characters after the fourth are ignored
  /// @return the items by type, then by ID, each in flash order; empty for an unknown section. A read that fails, or
  ///         that leads beyond 0x2000000 bytes in all (a damaged image whose records overlap), ends the list: that item
  ///         and the later ones come without data.
  /// @throws VokError when a listing fails
  std::vector<VOKITEM> ReadAllVOK(const std::string& section);

  /// Writes one item in journalled order: a mount after a power cut finds the old or the new item.
  /// @param id  in: the ID, 65535 = a new one; out: the ID written
  /// @throws VokError 115 type out of range; 105 when the type's section was formatted under another store version or
  /// no
  ///         primary range holds the type; 121 too long; 123, 124, 130 no room (reorganise, reorganise several blocks,
  ///         full); and any other code of the store's write
  void WriteVOK(std::uint16_t type, std::uint16_t& id, const std::uint8_t* data, std::uint32_t length);

  /// Replaces the whole flash contents outside the PSDT by a freshly formatted store with exactly @p items. Items of
  /// type or ID 65535 are passed over. Call TerminateVOK() before when a store is running.
  /// @throws VokError of the first item that fails (120 for one above 0x20000 bytes); the items after it are not
  /// written
  void WriteAllVOK(const std::vector<VOKITEM>& items);

 private:
  std::uint16_t ConvertEndianness(std::uint16_t value) const;
  std::uint32_t ConvertEndianness(std::uint32_t value) const;
  void ConvertPSDTEndianness();
  std::uint16_t InitVirtualMemory();
  std::uint8_t* VirtualMemoryAddress(std::uint32_t address);
  bool GetSectionStartVokType(const std::string& section, std::uint16_t& type);
  std::uint16_t GetTypeBlockVOKVersion(std::uint32_t type, std::uint16_t& version);
  std::uint16_t GetVOKItems(const std::string& section, std::vector<VOKITEM>& items);
  std::uint16_t GetVOKItems(std::uint16_t start_type, std::vector<VOKITEM>& items);
};

#pragma once

#include <cstdint>

/// @file
/// The embedding interface: the store itself, for programs that drive partitions directly.
///
/// A partition is a run of erase blocks; items are named by type (1 to 65533) and ID (0 to 65534). Every result is a
/// 16-bit error code, 0 = success; VokError::ErrorMessage() gives the texts. Each failure is also told to
/// PlatformHooks::ReportError(). Arguments are checked in a fixed order before a lock is taken or a byte changes.
///
/// **Codes that every operation on a mounted partition may give first**: 138 the store is not set up, 116 no such
/// partition, 140 the partition is not mounted. They are not repeated below. **Codes of the flash**: 104 an erase and
/// 105 a program that the device did not confirm; the steps before it stay done, and a repair mount finishes or undoes
/// them.
///
/// **Arguments that recur**: `partition` is the number of a partition, from 0, by its place among the descriptors;
/// `type` is 1 to 65533, `id` 0 to 65534; `data` and `length` are the caller's bytes and how many they are; `set` is
/// null or a set that the caller made, and `cursor` goes with it (ListTypes(), ListItems()); `mode` of a write is 1 =
/// journalled.
///
/// **Cost.** Whatever the bytes, every call ends. Where the partition's blocks (B of them) have room for S header
/// slots, a call makes at most 12 S + 64 B + 256 device steps, and reads no more slots and records than that.
/// MountPartition() reads at most four times what the mount of a clean partition of that size reads which is full of
/// empty items; beside that, it searches the partition twice for each block that holds a Valid journal record (a device
/// leaves one).
///
/// Out arguments keep their value on failure unless stated otherwise. Pointers that may be absent are null. Nothing
/// here keeps a caller's pointer, except the directory arenas handed to SetUpPartitions().

namespace vok {

/// How one partition is to be set up.
struct PartitionDescriptor {
  std::uint8_t state;          ///< 1 = configure; 2 = no partition under this number; anything else is refused
  std::uint64_t base;          ///< flash address of the first block, a multiple of 4
  std::uint32_t block_size;    ///< bytes per erase block; expected to be the erase size of the store version
  std::uint8_t* arena;         ///< directory arena, owned by the caller, in use until TerminateStore(); null = none
  std::uint32_t arena_size;    ///< bytes in the arena
  std::uint16_t lock_count;    ///< client locks
  std::uint16_t handle_count;  ///< item handles that may be open at once
  std::uint16_t block_count;   ///< erase blocks: at least 2 for a read/write partition, else at least 1
  std::uint8_t flags;          ///< bits 0-1: 0 = read/write, 1 = read-only, 2 = write-once, 3 = invalid
};

/// 1024 consecutive values of a set of 16-bit values; a set is a chain of them in the order of their making.
struct ValueSetChunk {
  ValueSetChunk* next;       ///< next chunk, or null
  std::uint16_t base;        ///< first value covered, a multiple of 1024
  std::uint16_t count;       ///< values present in this chunk
  std::uint16_t key;         ///< first chunk only: the type whose IDs the set holds, 0 = the set holds types
  std::uint16_t bitmap[64];  ///< value base + 16 w + b is present when bit b of word w is set
};

/// One item opened by OpenItems().
struct OpenedItem {
  std::uint16_t id;        ///< item ID
  std::uint16_t reserved;  ///< not written
  std::uint32_t length;    ///< payload bytes
  std::uint32_t handle;    ///< for ReadHandle() and CloseHandle()
};
static_assert(sizeof(OpenedItem) == 12);

/// One item pointer given by GetItemPointers().
struct ItemPointer {
  std::uint16_t id;        ///< item ID
  std::uint16_t reserved;  ///< not written
  std::uint32_t length;    ///< payload bytes
  std::uint64_t address;   ///< flash address of the payload
};
static_assert(sizeof(ItemPointer) == 16);

/// What GetBlockInfo() tells of a block.
struct BlockInfo {
  std::uint32_t erase_count;    ///< times the block was formatted
  std::uint32_t block_size;     ///< bytes
  std::uint32_t used_bytes;     ///< header, live slots and records; 0 unless the block is Active
  std::uint32_t largest_item;   ///< largest payload that fits now; 0 unless the block is Active
  std::uint32_t dead_bytes;     ///< bytes that a reorganisation regains; 0 unless the block is Active
  std::uint16_t state;          ///< block state word
  std::uint32_t deleted_slots;  ///< dead slots
  std::uint32_t live_slots;     ///< slots in use less the dead ones
};

/// Room of a partition in bytes, the spare block of a reorganisation left out.
struct PartitionSpace {
  std::uint32_t free_now;                           ///< room for records and slots
  std::uint32_t free_after_reorganisation;          ///< the same once no dead bytes are left
  std::uint32_t largest_item_now;                   ///< largest payload that fits into one block
  std::uint32_t largest_item_after_reorganisation;  ///< the same once no dead bytes are left
};

/// The RAM picture of one erase block.
struct BlockRecord {
  std::uint64_t base;           ///< flash address of the block
  std::uint32_t dead_bytes;     ///< slots and records of dead items
  std::uint64_t top;            ///< lowest byte of the lowest record; the block's end when it has none
  std::uint64_t next_slot;      ///< first unused header slot; 0 = the block takes no more slots
  std::uint32_t wear_counter;   ///< as in the block header: counts down with every format
  std::uint16_t state;          ///< block state word
  std::uint32_t deleted_slots;  ///< dead slots
  std::uint32_t slot_count;     ///< slots in use
};
static_assert(sizeof(BlockRecord) == 48);

/// The RAM picture of one partition.
struct PartitionRecord {
  std::uint8_t descriptor_state;  ///< 1 = configured, 2 = not used
  std::uint8_t flags;             ///< bit 0 read-only, bit 1 mounted, bit 2 write-once
  std::uint16_t* lock_table;      ///< lock_count entries of block_count + 3 words, or null
  std::uint64_t* handle_table;    ///< payload address of each open handle, 0 = free; or null
  std::uint8_t* location_cache;   ///< the location cache inside the arena, or null
  std::uint8_t* directory_arena;  ///< the arena of the descriptor, or null
  BlockRecord* block_table;       ///< block_count records
  std::uint32_t block_size;       ///< bytes
  std::uint32_t arena_size;       ///< bytes
  std::uint32_t arena_used;       ///< bytes carved for type ranges and ID slot tables
  std::uint32_t locks[3];         ///< two partition locks and the directory lock
  std::uint16_t lock_count;       ///< client locks
  std::uint16_t handle_count;     ///< handles that may be open at once
  std::uint16_t hunts_in_use;     ///< one bit for each running search
  std::uint16_t hunts_valid;      ///< one bit for each search that no reorganisation has disturbed
  std::uint16_t block_count;      ///< erase blocks
};

/// @name Start-up and life of the store
/// @{

/// Installs the store version (1, 2 or 3) with its word widths, masks, erase size and block-state words. Call it only
/// while the store is terminated. @return 0, or 1 for an unknown version, with nothing changed.
std::uint16_t ApplyStoreVersion(std::uint32_t version);

/// Builds partitions and type routes from the PSDT of the worker, sets them up and mounts them. Nothing is reported: a
/// failed set-up leaves the store not set up (138), a failed mount its partition unmounted (140). While a store is
/// running only the type routes change.
void StartStore();

/// @return the partition that serves @p type: the first route that covers it and whose partition is mounted, else the
///         last that covers it, else 255.
std::uint8_t FindPartitionForType(std::uint16_t type);

/// Makes the RAM records of @p count partitions (1 to 255) from as many descriptors; nothing is mounted, no flash byte
/// is read or changed. Arenas are filled with zeros.
/// @return 0; 107 set up already; 115 no descriptors, a bad state, kind 3, or a base not on a multiple of 4 or above
///         2^63; 109 too few blocks; 128 no memory, or a table beyond 65535 bytes; or the answer of
///         PlatformHooks::CreateLock(). On failure everything made by the call is freed.
std::uint16_t SetUpPartitions(std::uint8_t count, const PartitionDescriptor* descriptors);

/// Brings a partition into service.
/// @param mode  0 = format every block Free (all items are lost); 1 = check, changing nothing; 2 = repair: finish or
/// undo
///              what an interrupted operation left
/// @return 0; 138; 116; 122 mounted already, or a journal record of an unknown kind; 111 unknown mode; 134 format or
///         repair of a read-only partition; 125 two blocks, or the only one, without a signature; 132 the check found
///         something unfinished; 104, 105, 108, 126, 127, 128 from the repair. A partition that failed stays unmounted
///         and may be repaired in part; the next repair mount goes on from there.
std::uint16_t MountPartition(std::uint8_t partition, std::uint8_t mode);

/// Ends the store and frees its records; no flash byte changes. @return 0, or 138 when none is set up.
std::uint16_t TerminateStore();
/// @}

/// @name Directory configuration, between set-up and mount
/// @{

/// Gives the types first … last an entry each in the partition's directory, for (last − first + 2) × 16 arena bytes.
/// @return 0; 138; 116; 122 mounted already; 118 a type that is 0 or above 65533, or first > last; 128 arena exhausted.
std::uint16_t DefineTypeRange(std::uint8_t partition, std::uint16_t first_type, std::uint16_t last_type);

/// Gives a type an ID slot table for the IDs 0 … id_count − 1, for id_count × 8 arena bytes. For these IDs the
/// directory is then authoritative. A second call takes fresh space.
/// @return 0; 138; 116; 122; 115 @p id_count not in 1 … 65535; 128 arena exhausted; 118 no range covers the type.
std::uint16_t SetTypeIdCount(std::uint8_t partition, std::uint16_t type, std::int32_t id_count);
/// @}

/// @name Reading
/// @{

/// Copies item bytes from @p offset on.
/// @param buffer  may be null when nothing is to be delivered
/// @param length  in: bytes in @p buffer; out: bytes delivered
/// @return 0; 118; 112; 115 no length, or bytes to deliver and no buffer (length is then set all the same); 119 not
///         found; 127; 108 the item's record is damaged; 114 offset beyond the item; 120 more bytes follow than fit
///         (the buffer is filled).
std::uint16_t ReadItem(std::uint8_t partition, std::uint16_t type, std::uint16_t id, std::uint8_t* buffer,
                       std::uint32_t* length, std::uint32_t offset);

/// Lists the distinct types that have a Valid item, in flash order; or, with a set of types, its values from the cursor
/// on in rising order.
/// @param cursor  with a set: in the first type wanted (1 … 65533), out the next one to come, 0 = no more
/// @param set     null, or a set whose key is 0
/// @param out     @p count entries, filled with 0 first; null lists nothing
/// @param count   in: entries in @p out; out: entries written (kept by 120 without a set)
/// @return 0; 115 a set without a cursor, or no count; 118 a set of IDs or a cursor out of range; 120 more types exist.
std::uint16_t ListTypes(std::uint8_t partition, std::uint16_t* cursor, const ValueSetChunk* set, std::uint16_t* out,
                        std::uint32_t* count);

/// Lists the IDs of one type in flash order, or from a set in rising order, or only counts them (no @p out).
/// @param cursor        with a set: in the first ID wanted, out the next one to come, 65535 = no more
/// @param set           null, or a set that GetItemIdSet() made for @p type
/// @param out           @p count entries, filled with 65535 first
/// @param count         in: entries in @p out; out: entries written, or the number of items
/// @param total_length  null, or receives the payload bytes of the listed items; needs @p out. With a set: of the first
///                      @p count items whose IDs lie between the first and the last one listed, in the set or not
/// @return 0; 118; 115; 112 a set with cursor 65535; 120 more items than room; 119 the set names items that are gone;
///         127.
std::uint16_t ListItems(std::uint8_t partition, std::uint16_t type, std::uint16_t* cursor, const ValueSetChunk* set,
                        std::uint16_t* out, std::uint32_t* count, std::uint32_t* total_length);

/// Gives an item's payload length in bytes. @return 0; 118; 112; 115 no output; 119; 127.
std::uint16_t GetItemLength(std::uint8_t partition, std::uint16_t type, std::uint16_t id, std::uint32_t* length);

/// Gives the flash bytes that an item of @p length costs beyond its payload: pad, length word and slot.
/// @param partition  must be 1
/// @return 0; 115 no output; 116 another partition number.
std::uint16_t ItemOverhead(std::uint8_t partition, std::uint32_t length, std::uint8_t* overhead);

/// Copies the partition's RAM record; its tables stay the store's and live until TerminateStore(). @return 0; 115.
std::uint16_t GetPartitionRecord(std::uint8_t partition, PartitionRecord* record);

/// Tells how much room the partition has, now and after a reorganisation. @return 0; 115 no output.
std::uint16_t GetPartitionSpace(std::uint8_t partition, PartitionSpace* space);
/// @}

/// @name Handles and pointers
/// A handle names the payload of an opened item; it follows the item when a rewrite or a reorganisation moves it. A
/// pointer is the payload's flash address, counted for each client lock and block, so that the block is not reorganised
/// under its holder. A read-only partition counts nothing and needs no lock number.
/// @{

/// Opens an item. @param handle out. @param length out, payload bytes; also written when the table is full.
/// @return 0; 118; 112; 115 an output is missing; 119; 127; 136 no free handle.
std::uint16_t OpenItem(std::uint8_t partition, std::uint16_t type, std::uint16_t id, std::uint32_t* handle,
                       std::uint32_t* length);

/// Opens every item of a type, or those that a set names from the cursor on.
/// @param records  @p count records; their IDs are set to 65535 first
/// @param count    in: records; out: records filled (with a set and 136: the number collected)
/// @return 0; 118; 115; 112; 120 more items than records; 119; 127; 136. What was opened before a failure stays open.
std::uint16_t OpenItems(std::uint8_t partition, std::uint16_t type, std::uint16_t* cursor, const ValueSetChunk* set,
                        OpenedItem* records, std::uint32_t* count);

/// Copies @p length bytes from @p offset of the opened payload; neither the item's length nor whether the handle is
/// open is checked. @return 0; 110 no such handle; 115 no buffer; 114 the range leaves the flash image.
std::uint16_t ReadHandle(std::uint32_t handle, std::uint32_t length, std::uint32_t offset, std::uint8_t* buffer);

/// Reads one big-endian value of @p width bytes (1, 2 or 4) from the opened payload.
/// @return the value; 0 on any failure, whose code (110, 114, 115 or a partition code) goes to the error hook alone.
std::uint32_t ReadHandleValue(std::uint32_t handle, std::uint8_t width, std::uint32_t offset);

/// Frees a handle; a free one is accepted. @return 0; 110.
std::uint16_t CloseHandle(std::uint32_t handle);

/// Frees the handles of @p count records in the partition of the first. @return 0; 110 at the first bad one, the ones
/// before it are closed.
std::uint16_t CloseHandles(const OpenedItem* records, std::uint32_t count);

/// Registers a client for pointers. @param client_id not 0. @param lock_number out, 1 or above; 0 with 103.
/// @return 0 (at once, nothing written, for a read-only partition); 101 ID 0 or no free lock; 115; 103 registered
/// already.
std::uint16_t RegisterClient(std::uint8_t partition, std::uint32_t client_id, std::uint16_t* lock_number);

/// Frees a client's lock. @return 0; 113 no such number; 133 pointers were still out, the lock is free all the same.
std::uint16_t UnregisterClient(std::uint8_t partition, std::uint16_t lock_number);

/// Gives the flash address of an item's payload and counts it.
/// @return 0; 118; 112; 115; 113 the lock number is not registered; 119; 127; 137 65535 pointers are out.
std::uint16_t GetItemPointer(std::uint8_t partition, std::uint16_t type, std::uint16_t id, std::uint64_t* address,
                             std::uint32_t* length, std::uint16_t lock_number);

/// OpenItems() for pointers. @return 0; 118; 115; 112; 113; 120; 119; 127; 137.
std::uint16_t GetItemPointers(std::uint8_t partition, std::uint16_t type, std::uint16_t* cursor,
                              const ValueSetChunk* set, ItemPointer* records, std::uint32_t* count,
                              std::uint16_t lock_number);

/// Gives one pointer back. @return 0; 117 the address is not in the partition; 113.
std::uint16_t ReleasePointer(std::uint8_t partition, std::uint64_t address, std::uint16_t lock_number);

/// Gives back one pointer for each record. @return 0; 118; 113; 117 at the first bad address, those before it are
/// given back.
std::uint16_t ReleasePointers(std::uint8_t partition, std::uint16_t type, const ItemPointer* records,
                              std::uint32_t count, std::uint16_t lock_number);
/// @}

/// @name Writing
/// Mode 1 is journalled: at every moment a repair mount finds the old or the new item. Other modes write no journal
/// record; a cut between two of their steps can lose the item.
///
/// Codes of all writes: 134 read-only partition; 118; 123 no room, reorganising one block makes it; 124 several blocks;
/// 130 full; 127; 105. With 123, 124 and 130 for the item itself nothing has changed.
/// @{

/// Writes a whole item. One of the same length (not 0) is programmed in place; otherwise a new copy is written and
/// committed and the old one retired.
/// @param id    in: the ID, 65535 = the lowest free one; out: the ID written. A new ID stays there when no room is
/// found
/// @param data  null leaves the payload erased
/// @return 0; the codes above; 121 longer than an empty block takes; 115 no id; 100 no ID is free.
std::uint16_t WriteItem(std::uint8_t partition, std::uint8_t mode, std::uint16_t type, std::uint16_t* id,
                        const std::uint8_t* data, std::uint32_t length);

/// Writes @p length bytes at @p offset of an existing item, which may grow. A change inside the item is programmed in
/// place (mode 0, or mode 1 under a journal record when it is small); anything else makes a new copy.
/// @param offset  0xFFFFFFFF = at the item's end
/// @return 0; the codes above; 112; 115 no data; 119; 114 offset beyond the item; 121.
std::uint16_t WriteItemPart(std::uint8_t partition, std::uint8_t mode, std::uint16_t type, std::uint16_t id,
                            const std::uint8_t* data, std::uint32_t length, std::uint32_t offset);

/// Gives the lowest free ID of a type; it is not reserved. @return 0; 134; 118; 115; 100 (the output is then 65535).
std::uint16_t MakeId(std::uint8_t partition, std::uint16_t type, std::uint16_t* id);

/// Builds the set of a type's IDs, a snapshot that the caller gives to FreeItemIdSet(). @return 0; 118; 115; 128.
std::uint16_t GetItemIdSet(std::uint8_t partition, std::uint16_t type, ValueSetChunk** set);

/// Frees a set; null is accepted. @return 0.
std::uint16_t FreeItemIdSet(ValueSetChunk* set);

/// Gives an item another type and ID by copying it and retiring the old copy; its handles stay on the old record.
/// @param new_id  in: the ID, 65535 = the lowest free one; out: the ID given
/// @return 0; the codes above; 112; 115; 119; 135 the new name is taken; 100.
std::uint16_t RenameItem(std::uint8_t partition, std::uint8_t mode, std::uint16_t new_type, std::uint16_t* new_id,
                         std::uint16_t old_type, std::uint16_t old_id);

/// Retires one item, a single program. @return 0; 134; 118; 112; 119; 127; 105.
std::uint16_t DeleteItem(std::uint8_t partition, std::uint16_t type, std::uint16_t id);

/// Retires the items of a type with IDs first … last. @return 0; 134; 115 a bound is 65535 or last < first; 119 none;
/// 105.
std::uint16_t DeleteItemRange(std::uint8_t partition, std::uint16_t type, std::uint16_t first_id,
                              std::uint16_t last_id);

/// Retires every item of the types first … last. @return 0, also when there was none; 134; 115 a bound above 65533 or
/// last < first; 105.
std::uint16_t DeleteTypeRange(std::uint8_t partition, std::uint16_t first_type, std::uint16_t last_type);
/// @}

/// @name Space and control
/// @{

/// Moves the live items of an Active block into the spare and other blocks and retires it; EraseRetiredBlock() or the
/// next repair mount erases it. A cut is finished by the next repair mount.
/// @param force  1 = ask the holders of pointers into the block to give them up (PlatformHooks::NotifyClient())
/// @return 0; 134; 141 write-once partition; 109 no such block, or not Active; 126 no Free block; 133 pointers are out
///         (force not 1); the answer of a client that refused; 108 no room for a moved item; 105; 127.
std::uint16_t ReorganiseBlock(std::uint8_t partition, std::uint16_t block, std::uint8_t force);

/// Erases a Retired block and formats it Free, its wear counter one lower.
/// @param block  in: the block, 65535 = the first Retired one; out: the block chosen (unchanged when there is none)
/// @return 0; 134; 115; 109 no such block, or not Retired; 104; 105.
std::uint16_t EraseRetiredBlock(std::uint8_t partition, std::uint16_t* block);

/// Advises which block to reorganise: the Active one with most dead bytes.
/// @param threshold_percent   0 to 100: dead bytes, in percent of the block's room, above which a need is reported
/// @param block               out: the block, 65535 when none has dead bytes
/// @param admit_pointers_out  not 0 = also consider blocks into which pointers are out
/// @return 0 no need; 123 need; 133 need, but pointers are out; 115.
std::uint16_t CheckReorgNeed(std::uint8_t partition, std::uint8_t threshold_percent, std::uint16_t* block,
                             std::uint8_t admit_pointers_out);

/// Reports on one block. @return 0; 109 no such block; 115 no output.
std::uint16_t GetBlockInfo(std::uint8_t partition, std::uint16_t block, BlockInfo* info);

/// Takes the lock of the partition that serves @p type; nothing here gives it back. @return 0; 134; 118.
std::uint16_t LockTypePartition(std::uint16_t type);
/// @}

}  // namespace vok

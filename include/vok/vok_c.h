#ifndef VOK_VOK_C_H
#define VOK_VOK_C_H

#include <stdint.h>

/**
 * @file
 * The C interface: the host interface for every language and compiler, with plain integers, structs and buffers alone.
 *
 * All state is process-wide: a 32 MiB flash image, the PSDT, the store version and the mounted store. One thread calls
 * at a time. The usual order: vok_load_psdt(), vok_load_codeplug(), vok_mount(), then items, then vok_flash_read() to
 * take the bytes out, then vok_close(). For an empty store vok_format() takes the place of the second and third.
 *
 * Addresses are byte offsets into the flash image (0 to 0x2000000); ranges exclude their end. Every function that gives
 * a uint16_t gives a code: 0 = success, else see vok_error_text(). Codes that any function may give: 115 a pointer that
 * must not be null, 128 out of memory. Codes of every function on items: 138 no store is mounted, 116 no section serves
 * the type, 140 its section did not mount.
 *
 * **Lists** go into an array of the caller's with room for `capacity` entries; `count` receives how many there are.
 * With less room than that the array is filled and the code is 120, but capacity 0 only counts, the array may be null
 * and the code is 0.
 *
 * Nothing here keeps a pointer of the caller's, and no C++ exception leaves it.
 */

/** Marks the functions that the library exports. */
#if defined(_WIN32) && defined(VOK_C_BUILDING)
#define VOK_C_API __declspec(dllexport)
#elif defined(_WIN32)
#define VOK_C_API __declspec(dllimport)
#else
#define VOK_C_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** A type's lowest free ID, for vok_write() and vok_rename(). */
#define VOK_NEW_ID 65535

/* NOLINTBEGIN(modernize-use-using): C has no other word for it. */

/** One item, without its bytes. */
typedef struct vok_item {
  char section[8];    /**< tag of its section, ended by a zero */
  uint16_t partition; /**< number of its section's partition */
  uint16_t type;      /**< 1 to 65533 */
  uint16_t id;        /**< 0 to 65534 */
  uint16_t reserved;  /**< 0 */
  uint32_t length;    /**< bytes */
} vok_item;

/** One section of the flash, as the PSDT describes it and as it is in service. Sizes are in bytes. */
typedef struct vok_section {
  char name[8];                               /**< its tag, ended by a zero */
  uint16_t partition;                         /**< number of its partition */
  uint16_t read_only;                         /**< 1 = items cannot be changed */
  uint16_t code;                              /**< 0 = in service, else 140 or 138 */
  uint16_t block_count;                       /**< erase blocks */
  uint32_t start;                             /**< flash address of its first block */
  uint32_t block_size;                        /**< of an erase block */
  uint16_t first_type;                        /**< first item type of the primary range */
  uint16_t last_type;                         /**< last item type of the primary range, included */
  uint32_t item_count;                        /**< items in it; this and what follows is 0 unless in service */
  uint32_t free_now;                          /**< room for new items */
  uint32_t free_after_reorganisation;         /**< room once vok_reorganise() was called */
  uint32_t largest_item_now;                  /**< longest item that can be written */
  uint32_t largest_item_after_reorganisation; /**< the same once vok_reorganise() was called */
} vok_section;

/** What a mount finds in a section, and what its repair does. */
typedef struct vok_report {
  char section[8];      /**< tag, ended by a zero */
  uint16_t partition;   /**< number of its partition */
  uint16_t check_code;  /**< 0 = sound, 132 = a repair is due, 125 = block headers are missing, or another code */
  uint16_t repair_code; /**< answer of the mount with repair: 0 = in service, else the section stays out of service */
  uint16_t reserved;    /**< 0 */
  uint32_t programs;    /**< runs of bytes that the repair programs */
  uint32_t erases;      /**< blocks that the repair erases */
  uint32_t item_count;  /**< items in service afterwards */
  uint32_t lost_count;  /**< items with a current copy in the bytes that are not in service afterwards */
} vok_report;

/* NOLINTEND(modernize-use-using) */

/** @return the library's version, "major.minor.patch"; never freed */
VOK_C_API const char* vok_version(void);

/** @return the text of a code, such as "Item not found"; "Success" for 0, "Unknown Exception" for one that has no text;
 *  never freed */
VOK_C_API const char* vok_error_text(uint16_t code);

/** Erases the flash image and loads a PSDT. A store that is running is ended.
 *  @param data     the PSDT's bytes, at least 96 * (record count + 1), at most 255 records
 *  @param length   bytes in @p data, at least 1
 *  @param address  where it goes; address + length must not exceed 0x2000000
 *  @return 0, or 115 when an argument is out of range or the bytes are no PSDT */
VOK_C_API uint16_t vok_load_psdt(const uint8_t* data, uint32_t length, uint32_t address);

/** Copies codeplug bytes into the flash image and settles the store version. A store that is running is ended and none
 *  is mounted: the bytes stay as they are until vok_mount().
 *  @param data     the codeplug's bytes
 *  @param length   bytes in @p data, at least 1
 *  @param address  where they go; address + length must not exceed 0x2000000
 *  @param version  store version to use, 1 to 3; 0 = as the block header at @p address says. Another value keeps the
 *                  version in force.
 *  @return 0, or 115 with nothing changed */
VOK_C_API uint16_t vok_load_codeplug(const uint8_t* data, uint32_t length, uint32_t address, uint16_t version);

/** @return the store version in force, 1 to 3 */
VOK_C_API uint16_t vok_store_version(void);

/** Finds out what vok_mount() would do, on the bytes as they lie, and changes none. A store that is running is ended.
 *  @param reports   out: one for each section
 *  @param capacity  entries in @p reports
 *  @param count     out: sections
 *  @return 0, also when sections are damaged; 120; 138 no section could be set up */
VOK_C_API uint16_t vok_check(vok_report* reports, uint32_t capacity, uint32_t* count);

/** Brings all sections into service; what an interrupted operation left is finished or undone in the flash image. A
 *  store that is running is ended first.
 *  @param reports   out: one for each section
 *  @param capacity  entries in @p reports
 *  @param count     out: sections; may be null
 *  @return 0, also when a section stays out of service; 120 the sections are in service, but not all reports are there;
 *          138 no section could be set up */
VOK_C_API uint16_t vok_mount(vok_report* reports, uint32_t capacity, uint32_t* count);

/** Lists the items that the last vok_check() or vok_mount() counted as lost, by section, type and ID.
 *  @param items     out
 *  @param capacity  entries in @p items
 *  @param count     out: items
 *  @return 0; 120 */
VOK_C_API uint16_t vok_lost(vok_item* items, uint32_t capacity, uint32_t* count);

/** Erases the flash image but for the PSDT and brings all sections into service without an item.
 *  @param version  store version, 1 to 3
 *  @return 0; 115 another version, or no PSDT with a section; 138 no section could be set up */
VOK_C_API uint16_t vok_format(uint16_t version);

/** Ends the store; the flash image keeps its bytes. @return 0; 138 none was running */
VOK_C_API uint16_t vok_close(void);

/** Copies the flash bytes start to end - 1 out.
 *  @param start   first address
 *  @param end     address after the last, at most 0x2000000
 *  @param buffer  out: end - start bytes
 *  @return 0; 115 a range outside the flash image */
VOK_C_API uint16_t vok_flash_read(uint32_t start, uint32_t end, uint8_t* buffer);

/** Lists the sections in the order of the PSDT, without those that the store passes over.
 *  @param sections  out
 *  @param capacity  entries in @p sections
 *  @param count     out: sections
 *  @return 0; 120; 138 */
VOK_C_API uint16_t vok_sections(vok_section* sections, uint32_t capacity, uint32_t* count);

/** Lists the items of a section by type and ID, or those of all sections, one section after another.
 *  @param section   tag of four characters or fewer; null = all sections in service
 *  @param items     out
 *  @param capacity  entries in @p items
 *  @param count     out: items
 *  @return 0; 120; 116 no such section; 138; 140 */
VOK_C_API uint16_t vok_list(const char* section, vok_item* items, uint32_t capacity, uint32_t* count);

/** Reads an item.
 *  @param type    1 to 65533
 *  @param id      0 to 65534
 *  @param buffer  out; may be null when @p length is 0
 *  @param length  in: bytes in @p buffer; out: bytes read
 *  @return 0; 119 not found; 120 the item is longer (the buffer holds its first bytes); 108 the item is damaged; 112;
 *          115 */
VOK_C_API uint16_t vok_read(uint16_t type, uint16_t id, uint8_t* buffer, uint32_t* length);

/** Reads an item into memory of its own, which vok_free() takes back.
 *  @param type    1 to 65533
 *  @param id      0 to 65534
 *  @param data    out: the bytes, not null for an empty item either; null on failure
 *  @param length  out: bytes
 *  @return as vok_read(), but for 120 */
VOK_C_API uint16_t vok_read_new(uint16_t type, uint16_t id, uint8_t** data, uint32_t* length);

/** Gives back what vok_read_new() gave; null is accepted.
 *  @param memory  that, no other memory */
VOK_C_API void vok_free(void* memory);

/** Writes an item, new or changed. A power cut leaves the old or the new item.
 *  @param type    1 to 65533
 *  @param id      in: 0 to 65534, or #VOK_NEW_ID; out: the ID written
 *  @param data    may be null when @p length is 0
 *  @param length  bytes in @p data
 *  @return 0; 115; 123 or 124 no room until vok_reorganise(); 130 full; 121 too long for any block; 134 read-only
 *          section; 105 the section has another store version */
VOK_C_API uint16_t vok_write(uint16_t type, uint16_t* id, const uint8_t* data, uint32_t length);

/** Deletes an item.
 *  @param type  1 to 65533
 *  @param id    0 to 65534
 *  @return 0; 119 not found; 134 read-only section; 112; 118 */
VOK_C_API uint16_t vok_delete(uint16_t type, uint16_t id);

/** Gives an item another name in its section. A power cut leaves it under one of the two.
 *  @param new_type  1 to 65533
 *  @param new_id    in: 0 to 65534, or #VOK_NEW_ID; out: the ID given
 *  @param old_type  1 to 65533
 *  @param old_id    0 to 65534
 *  @return 0; 119 not found; 135 the new name is taken; 118 another section serves the new type; 123, 124, 130 as
 *          vok_write(); 134; 112 */
VOK_C_API uint16_t vok_rename(uint16_t new_type, uint16_t* new_id, uint16_t old_type, uint16_t old_id);

/** Regains what deleted and replaced items take of a section; the items stay as they are.
 *  @param section  tag of four characters or fewer
 *  @return 0; 116 no such section; 138; 140; 134 read-only section; 126 no block is spare; 104, 105, 108 */
VOK_C_API uint16_t vok_reorganise(const char* section);

#ifdef __cplusplus
}
#endif

#endif

/* The store from C: what is wrong with a codeplug, its items, a changed one, and the flash contents back.
 * Usage: program PSDT CODEPLUG RESULT */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vok/vok_c.h"

enum { PSDT_ADDRESS = 0xE000, CODEPLUG_ADDRESS = 0x20000, AS_THE_BLOCKS_SAY = 0, FLASH_SIZE = 0x2000000 };

typedef struct {
  uint8_t* data;
  uint32_t length;
} bytes;

static void fail(const char* what, const char* why) {
  fprintf(stderr, "program: %s: %s\n", what, why);
  exit(1);
}

static void require(const char* what, uint16_t code) {
  if (code != 0) fail(what, vok_error_text(code));
}

static bytes read_file(const char* path) {
  bytes read = {malloc(FLASH_SIZE), 0};
  FILE* file = fopen(path, "rb");
  if (file == NULL || read.data == NULL) fail("cannot read", path);
  read.length = (uint32_t)fread(read.data, 1, FLASH_SIZE, file);
  fclose(file);
  return read;
}

static void write_file(const char* path, bytes written) {
  FILE* file = fopen(path, "wb");
  if (file == NULL || fwrite(written.data, 1, written.length, file) != written.length || fclose(file) != 0)
    fail("cannot write", path);
}

static void show_reports(void) {
  vok_report reports[16];
  uint32_t count = 0;
  require("check", vok_check(reports, 16, &count));
  for (uint32_t i = 0; i < count; ++i) printf("%s: %s\n", reports[i].section, vok_error_text(reports[i].check_code));
  require("mount", vok_mount(reports, 16, &count));
  for (uint32_t i = 0; i < count; ++i)
    printf("%s: %u items, %u lost, %u programs and %u erases of the repair\n", reports[i].section,
           reports[i].item_count, reports[i].lost_count, reports[i].programs, reports[i].erases);
}

/* The caller gives the array: once to learn how long it has to be, once to be filled. */
static vok_item* list_items(uint32_t* count) {
  require("list", vok_list(NULL, NULL, 0, count));
  vok_item* items = calloc(*count + 1u, sizeof *items);
  if (items == NULL) fail("list", "out of memory");
  require("list", vok_list(NULL, items, *count, count));
  return items;
}

static void show_item(const vok_item* item) {
  uint8_t* data = NULL;
  uint32_t length = 0;
  require("read", vok_read_new(item->type, item->id, &data, &length));
  printf("%s: type %u ID %u, %u bytes, first %02x\n", item->section, item->type, item->id, length,
         length != 0 ? data[0] : 0u);
  vok_free(data);
}

static void change_items(const vok_item* item) {
  static const char text[] = "written from C";
  uint16_t id = VOK_NEW_ID;
  require("write", vok_write(item->type, &id, (const uint8_t*)text, sizeof text));
  uint16_t new_id = VOK_NEW_ID;
  require("rename", vok_rename(item->type, &new_id, item->type, id));
  uint8_t read[sizeof text];
  uint32_t length = sizeof read;
  require("read", vok_read(item->type, new_id, read, &length));
  if (length != sizeof text || memcmp(read, text, length) != 0) fail("read", "other bytes came back");
  require("delete", vok_delete(item->type, item->id));
  require("reorganise", vok_reorganise(item->section));
  if (vok_read(item->type, item->id, read, &length) != 119) fail("delete", "the item is still there");
  printf("added type %u ID %u, deleted ID %u\n", item->type, new_id, item->id);
}

int main(int argc, char** argv) {
  if (argc != 4) fail("usage", "program PSDT CODEPLUG RESULT");
  bytes psdt = read_file(argv[1]);
  bytes codeplug = read_file(argv[2]);
  printf("libvok %s\n", vok_version());
  require("load PSDT", vok_load_psdt(psdt.data, psdt.length, PSDT_ADDRESS));
  require("load codeplug", vok_load_codeplug(codeplug.data, codeplug.length, CODEPLUG_ADDRESS, AS_THE_BLOCKS_SAY));
  show_reports();

  uint32_t count = 0;
  vok_item* items = list_items(&count);
  for (uint32_t i = 0; i < count; ++i) show_item(&items[i]);
  if (count != 0) change_items(&items[0]);

  require("flash out", vok_flash_read(CODEPLUG_ADDRESS, CODEPLUG_ADDRESS + codeplug.length, codeplug.data));
  write_file(argv[3], codeplug);
  require("close", vok_close());
  free(items);
  free(codeplug.data);
  free(psdt.data);
  return 0;
}

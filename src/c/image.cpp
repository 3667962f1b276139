#include "c/call.h"
#include "store/volume/records.h"
#include "vok/store.h"
#include "vok/version.h"
#include "worker/error_text.h"
#include "worker/psdt.h"

namespace vok::c {

VokWorker& Worker() {
  static VokWorker& worker = *new VokWorker;
  return worker;
}

namespace {

u16 LoadCodeplug(const u8* data, u32 length, u32 address, u16 version) {
  u16 found = 0;
  if (const u16 code = Worker().GetCodeplugVOKVersion(data, length, address, found)) return code;
  return Worker().SetBlockVOKVersion(address, version != 0 ? version : found);
}

u16 Format(u16 version) {
  const bool known = version >= 1 && version <= 3;
  if (!known || !psdt::CurrentLocation().loaded) return code::kInvalidParameter;
  Worker().SetBlockVOKVersion(0, version);
  if (const u16 code = Worker().EraseCodeplugVirtualMemory()) return code;
  if (const u16 code = Worker().BuildDefaultVOKHeaders()) return code;
  return store_root != nullptr ? code::kOk : code::kUninitialized;
}

}  // namespace
}  // namespace vok::c

using vok::c::Call;
using vok::c::Worker;

const char* vok_version() { return VOK_VERSION; }

const char* vok_error_text(uint16_t code) { return code == vok::code::kOk ? "Success" : vok::TextOfCode(code); }

uint16_t vok_load_psdt(const uint8_t* data, uint32_t length, uint32_t address) {
  return Call([&] {
    vok::TerminateStore();
    return Worker().LoadPSDT(data, length, address);
  });
}

uint16_t vok_load_codeplug(const uint8_t* data, uint32_t length, uint32_t address, uint16_t version) {
  return Call([&] { return vok::c::LoadCodeplug(data, length, address, version); });
}

uint16_t vok_store_version() { return static_cast<uint16_t>(vok::CurrentLayout().version); }

uint16_t vok_format(uint16_t version) {
  return Call([&] { return vok::c::Format(version); });
}

uint16_t vok_close() {
  return Call([] { return vok::TerminateStore(); });
}

uint16_t vok_flash_read(uint32_t start, uint32_t end, uint8_t* buffer) {
  return Call([&] { return Worker().ReadVitualMemory(start, end, buffer); });
}

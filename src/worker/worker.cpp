#include "flash/codes.h"
#include "flash/image.h"
#include "flash/startup.h"
#include "store/volume/layout.h"
#include "vok/store.h"
#include "vok/vok_worker.h"
#include "worker/psdt.h"

namespace code = vok::code;

namespace {

/// The highest address whose 8 bytes of signature and format version lie inside the image.
constexpr std::uint32_t kLastHeaderAddress = vok::kFlashSize - 8;

bool IsLoadable(const std::uint8_t* data, std::uint32_t length, std::uint32_t address) {
  return data != nullptr && length >= 1 && vok::InFlash(address, length);
}

bool IsRange(std::uint32_t start, std::uint32_t end) { return start <= end && end <= vok::kFlashSize; }

}  // namespace

VokWorker::VokWorker() = default;
VokWorker::VokWorker(const VokWorker&) {}
VokWorker::~VokWorker() { TerminateVOK(); }
VokWorker& VokWorker::operator=(const VokWorker&) { return *this; }

std::uint16_t VokWorker::LoadPSDT(const std::uint8_t* data, std::uint32_t length, std::uint32_t address) {
  if (!IsLoadable(data, length, address) || !vok::psdt::HasSoundCount(data, length)) return code::kInvalidParameter;
  InitVirtualMemory();
  vok::CopyToFlash(address, data, length);
  vok::psdt::Place(address, length);
  ConvertPSDTEndianness();
  return vok::psdt::ReadHeaderWord(0) == vok::psdt::kMagic ? code::kOk : code::kInvalidParameter;
}

std::uint16_t VokWorker::GetCodeplugVOKVersion(const std::uint8_t* data, std::uint32_t length, std::uint32_t address,
                                               std::uint16_t& version) {
  if (!IsLoadable(data, length, address)) return code::kInvalidParameter;
  vok::CopyToFlash(address, data, length);
  GetBlockVOKVersion(address, version);
  return code::kOk;
}

std::uint16_t VokWorker::GetBlockVOKVersion(std::uint32_t address, std::uint16_t& version) {
  if (address > kLastHeaderAddress) return code::kInvalidParameter;
  version = static_cast<std::uint16_t>(vok::ReadFlashWord32(address + vok::block_header::kFormatVersionOffset));
  return code::kOk;
}

std::uint16_t VokWorker::ReadVitualMemory(std::uint32_t start, std::uint32_t end, std::uint8_t* buffer) {
  if (!IsRange(start, end) || (buffer == nullptr && start != end)) return code::kInvalidParameter;
  if (start != end) vok::CopyFromFlash(buffer, start, end - start);
  return code::kOk;
}

std::uint16_t VokWorker::EraseVirtualMemory(std::uint32_t start, std::uint32_t end) {
  if (!IsRange(start, end)) return code::kInvalidParameter;
  vok::FillErased(start, end - start);
  return code::kOk;
}

std::uint16_t VokWorker::EraseCodeplugVirtualMemory() {
  const vok::psdt::Location& psdt = vok::psdt::CurrentLocation();
  const std::uint32_t end = psdt.address + psdt.length;
  if (!IsRange(psdt.address, end)) return code::kInvalidParameter;
  vok::FillErased(0, psdt.address);
  // The byte that follows the PSDT stays, too.
  vok::FillErased(vok::FlashAddress{end} + 1, vok::kFlashSize);
  return code::kOk;
}

std::uint16_t VokWorker::LoadCodeplug(const std::uint8_t* data, std::uint32_t length, std::uint32_t address,
                                      std::uint16_t version) {
  if (!IsLoadable(data, length, address)) return code::kInvalidParameter;
  vok::CopyToFlash(address, data, length);
  std::uint16_t found = 0;
  if (GetBlockVOKVersion(address, found) == code::kOk) SetBlockVOKVersion(address, version != 0 ? version : found);
  vok::StartStore();
  return code::kOk;
}

std::uint16_t VokWorker::BuildDefaultVOKHeaders() {
  if (!vok::psdt::CurrentLocation().loaded || vok::psdt::RecordCount() == 0) return code::kInvalidParameter;
  vok::WriteDefaultHeaders();
  vok::StartStore();
  return code::kOk;
}

std::uint16_t VokWorker::SetBlockVOKVersion(std::uint32_t, std::uint16_t version) {
  vok::TerminateStore();
  vok::ApplyStoreVersion(version);
  return code::kOk;
}

std::uint16_t VokWorker::ReadVOK(std::uint16_t type, std::uint16_t id, std::uint8_t* buffer, std::uint32_t& length) {
  if (type == 0 || type > vok::psdt::kLastType) return code::kInvalidParameter;
  return vok::ReadItem(vok::FindPartitionForType(type), type, id, buffer, &length, 0);
}

bool VokWorker::TerminateVOK() { return vok::TerminateStore() == code::kOk; }

std::uint16_t VokWorker::InitVirtualMemory() { return vok::EraseFlashImage(); }

std::uint8_t* VokWorker::VirtualMemoryAddress(std::uint32_t address) { return vok::LendImage(address); }

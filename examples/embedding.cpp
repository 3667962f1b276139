// The store over a flash chip of one's own: here a file, in which each run finds the items of the runs before.
// Usage: embedding FLASH_FILE TEXT

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "vok/platform.h"
#include "vok/store.h"
#include "vok/vok_worker.h"

namespace {

constexpr std::uint32_t kStoreVersion = 3;
constexpr std::uint32_t kBlockSize = 0x20000;
constexpr std::uint16_t kBlockCount = 4;
constexpr std::uint32_t kBase = 0x100000;
constexpr std::uint8_t kPartition = 0;
constexpr std::uint16_t kLogType = 10;
constexpr std::uint8_t kJournalled = 1;
enum MountMode : std::uint8_t { kFormat = 0, kRepair = 2 };

/// A chip whose cells are a file: each step changes the flash image, as the store reads it, and then the file.
class FileFlash : public vok::FlashDevice {
 public:
  explicit FileFlash(const char* path) : file_(path, std::ios::binary | std::ios::in | std::ios::out) {}

  std::uint16_t ProgramWord16(std::uint32_t address, std::uint16_t value) override {
    const std::uint16_t status = FlashDevice::ProgramWord16(address, value);
    return status == kProgrammed ? Store(address, 2, kProgrammed) : status;
  }
  std::uint16_t ProgramByte(std::uint32_t address, std::uint8_t value) override {
    const std::uint16_t status = FlashDevice::ProgramByte(address, value);
    return status == kProgrammed ? Store(address, 1, kProgrammed) : status;
  }
  std::uint16_t ProgramBytes(const std::uint8_t* data, std::uint32_t address, std::uint32_t length) override {
    const std::uint16_t status = FlashDevice::ProgramBytes(data, address, length);
    return status == kProgrammed ? Store(address, length, kProgrammed) : status;
  }
  std::uint16_t EraseBlockDevice(std::uint32_t address) override {
    const std::uint16_t status = FlashDevice::EraseBlockDevice(address);
    return status == kErased ? Store(address, kBlockSize, kErased) : status;
  }

 private:
  static constexpr std::uint16_t kProgrammed = 0;
  static constexpr std::uint16_t kErased = 4;
  static constexpr std::uint16_t kFailed = 0xFFFF;

  /// The store ends its operation at a step that the chip did not confirm.
  std::uint16_t Store(std::uint32_t address, std::uint32_t length, std::uint16_t done) {
    std::vector<char> bytes(length);
    worker_.ReadVitualMemory(address, address + length, reinterpret_cast<std::uint8_t*>(bytes.data()));
    file_.seekp(address - kBase);
    file_.write(bytes.data(), static_cast<std::streamsize>(length));
    return file_.flush() ? done : kFailed;
  }

  VokWorker worker_;
  std::fstream file_;
};

/// Tells every failure that the store meets.
class LoggingHooks : public vok::PlatformHooks {
 public:
  void ReportError(std::uint16_t code) override { std::fprintf(stderr, "store: code %u\n", code); }
};

void Require(std::uint16_t code) {
  if (code != 0) throw VokError(code);
}

void CreateErased(const char* path) {
  const std::string erased(kBlockSize * kBlockCount, '\xFF');
  std::ofstream(path, std::ios::binary) << erased;
}

void LoadFlashImage(const char* path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
  std::uint16_t version = 0;
  Require(VokWorker().GetCodeplugVOKVersion(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                            static_cast<std::uint32_t>(bytes.size()), kBase, version));
}

void SetUp(MountMode mode) {
  const vok::PartitionDescriptor descriptor = {.state = 1,
                                               .base = kBase,
                                               .block_size = kBlockSize,
                                               .arena = nullptr,
                                               .arena_size = 0,
                                               .lock_count = 1,
                                               .handle_count = 4,
                                               .block_count = kBlockCount,
                                               .flags = 0};
  vok::ApplyStoreVersion(kStoreVersion);
  Require(vok::SetUpPartitions(1, &descriptor));
  Require(vok::MountPartition(kPartition, mode));
}

void Append(const std::string& text) {
  std::uint16_t id = 65535;
  Require(vok::WriteItem(kPartition, kJournalled, kLogType, &id, reinterpret_cast<const std::uint8_t*>(text.data()),
                         static_cast<std::uint32_t>(text.size())));
}

void ShowAll() {
  std::vector<std::uint16_t> ids(1000);
  auto count = static_cast<std::uint32_t>(ids.size());
  std::uint16_t cursor = 0;
  Require(vok::ListItems(kPartition, kLogType, &cursor, nullptr, ids.data(), &count, nullptr));
  for (std::uint32_t i = 0; i < count; ++i) {
    std::uint32_t length = 0;
    Require(vok::GetItemLength(kPartition, kLogType, ids[i], &length));
    std::string text(length, ' ');
    Require(vok::ReadItem(kPartition, kLogType, ids[i], reinterpret_cast<std::uint8_t*>(text.data()), &length, 0));
    std::printf("%u: %s\n", ids[i], text.c_str());
  }
}

void Run(const char* path, const std::string& text) {
  const bool is_new = !std::filesystem::exists(path);
  if (is_new) CreateErased(path);
  LoadFlashImage(path);
  FileFlash flash(path);
  LoggingHooks hooks;
  vok::InstallFlashDevice(&flash);
  vok::InstallPlatformHooks(&hooks);
  SetUp(is_new ? kFormat : kRepair);
  Append(text);
  ShowAll();
  Require(vok::TerminateStore());
  vok::InstallFlashDevice(nullptr);
  vok::InstallPlatformHooks(nullptr);
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) throw std::runtime_error("usage: embedding FLASH_FILE TEXT");
  Run(argv[1], argv[2]);
  return 0;
} catch (const VokError& error) {
  std::fprintf(stderr, "embedding: %s\n", error.ErrorMessage(error.Code).c_str());
  return 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "embedding: %s\n", error.what());
  return 1;
}

// What a programming application does with a codeplug: take it apart, change and add items, hand flash contents back.
// Usage: host PSDT CODEPLUG RESULT

#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "vok/vok_worker.h"

namespace {

constexpr std::uint32_t kPsdtAddress = 0xE000;
constexpr std::uint32_t kCodeplugAddress = 0x20000;
constexpr std::uint16_t kVersionOfTheBlocks = 0;
constexpr std::uint16_t kNewId = 65535;

using Bytes = std::vector<std::uint8_t>;

std::uint32_t SizeOf(const Bytes& bytes) { return static_cast<std::uint32_t>(bytes.size()); }

Bytes ReadFile(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(std::string("cannot read ") + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const char* path, const Bytes& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error(std::string("cannot write ") + path);
}

/// Some operations answer codes and some throw: here all throw.
void Require(std::uint16_t code) {
  if (code != 0) throw VokError(code);
}

std::string SectionName(std::uint32_t tag) {
  std::string name;
  for (int shift = 24; shift >= 0; shift -= 8) name += static_cast<char>(tag >> shift);
  return name;
}

std::vector<PSDT_RECORD> Sections(VokWorker& worker) {
  std::vector<PSDT_RECORD> sections;
  for (PSDT_RECORD* record : worker.ReadPSDTRecord()) {
    sections.push_back(*record);
    delete record;  // the records are the caller's
  }
  return sections;
}

/// WriteVOK() writes the types of a section's primary range.
bool IsWritable(const PSDT_RECORD& section, const VOKITEM& item) {
  return item.Type >= section.FirstType && item.Type <= section.LastType;
}

/// @return the first item that can be written
VOKITEM ShowItems(VokWorker& worker) {
  VOKITEM first;
  for (const PSDT_RECORD& section : Sections(worker)) {
    const std::string name = SectionName(section.Tag);
    for (const VOKITEM& item : worker.ReadAllVOK(name)) {
      std::printf("%s: type %u ID %u, %u bytes\n", name.c_str(), item.Type, item.Id, item.Length);
      if (first.Type == 0 && IsWritable(section, item)) first = item;
    }
  }
  return first;
}

void ChangeItems(VokWorker& worker, const VOKITEM& item) {
  Bytes longer = item.Data;
  longer.insert(longer.end(), {'c', 'h', 'a', 'n', 'g', 'e', 'd'});
  std::uint16_t id = item.Id;
  worker.WriteVOK(item.Type, id, longer.data(), SizeOf(longer));

  const Bytes fresh = {'n', 'e', 'w'};
  std::uint16_t new_id = kNewId;
  worker.WriteVOK(item.Type, new_id, fresh.data(), SizeOf(fresh));

  Bytes read(fresh.size());
  std::uint32_t length = SizeOf(read);
  Require(worker.ReadVOK(item.Type, new_id, read.data(), length));
  if (length != fresh.size() || read != fresh) throw std::runtime_error("another item came back");
  std::printf("changed type %u ID %u, added ID %u\n", item.Type, item.Id, new_id);
}

/// An item that cannot be written leaves the store as it was.
void WriteTooMuch(VokWorker& worker, std::uint16_t type) try {
  const Bytes huge(0x40000);
  std::uint16_t id = kNewId;
  worker.WriteVOK(type, id, huge.data(), SizeOf(huge));
  throw std::runtime_error("an item of 256 KiB was written");
} catch (const VokError& error) {
  std::printf("as expected: %s\n", error.ErrorMessage(error.Code).c_str());
}

Bytes TakeOut(VokWorker& worker, std::size_t size) {
  Bytes bytes(size);
  Require(worker.ReadVitualMemory(kCodeplugAddress, kCodeplugAddress + SizeOf(bytes), bytes.data()));
  return bytes;
}

void Run(const char* psdt_path, const char* codeplug_path, const char* result_path) {
  const Bytes psdt = ReadFile(psdt_path);
  const Bytes codeplug = ReadFile(codeplug_path);
  VokWorker worker;
  Require(worker.LoadPSDT(psdt.data(), SizeOf(psdt), kPsdtAddress));
  Require(worker.LoadCodeplug(codeplug.data(), SizeOf(codeplug), kCodeplugAddress, kVersionOfTheBlocks));
  const VOKITEM first = ShowItems(worker);
  ChangeItems(worker, first);
  WriteTooMuch(worker, first.Type);
  WriteFile(result_path, TakeOut(worker, codeplug.size()));
  if (!worker.TerminateVOK()) throw std::runtime_error("no store was running");
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 4) throw std::runtime_error("usage: host PSDT CODEPLUG RESULT");
  Run(argv[1], argv[2], argv[3]);
  return 0;
} catch (const VokError& error) {
  std::fprintf(stderr, "host: %s\n", error.ErrorMessage(error.Code).c_str());
  return 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "host: %s\n", error.what());
  return 1;
}

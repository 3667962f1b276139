#include <memory>

#include "image.h"

namespace vok::fuzz {

namespace {

constexpr std::uint32_t kImageSize = 0x2000000;
constexpr std::array<const char*, 6> kTags = {"CPGA", "TUNA", "PDAT", "DSPP", "XXXX", ""};

void Put(Bytes& bytes, std::uint32_t value, std::uint32_t width) {
  for (std::uint32_t shift = 8 * width; shift > 0; shift -= 8)
    bytes.push_back(static_cast<std::uint8_t>(value >> (shift - 8)));
}

/// A PSDT of records whose every field comes from the input, and calls of the host interface over it.
class Host {
 public:
  explicit Host(Input& input) : input_(input) {}

  void LoadPsdt() {
    static constexpr std::array<std::uint32_t, 5> kAddresses = {0xE000, 0xE000, 0, kImageSize - 0x1000, 0x101};
    const std::uint8_t records = input_.Byte() % 6;
    Bytes psdt;
    Put(psdt, input_.Byte() == 255 ? input_.Word() : 0x50484452, 4);
    Put(psdt, input_.Byte() == 255 ? input_.Word() : records, 4);
    psdt.resize(96, 0);
    for (std::uint8_t i = 0; i < records; ++i) AddRecord(psdt, i);
    if (input_.Byte() % 8 == 0) psdt = input_.Take(96 * 4);
    const std::uint32_t address = input_.Pick(kAddresses);
    transcript.See(world_.worker.LoadPSDT(psdt.data(), static_cast<std::uint32_t>(psdt.size()), address));
  }

  void Call() {
    VokWorker& worker = world_.worker;
    const std::uint8_t choice = input_.Byte();
    switch (choice % 12) {
      case 0: return Codeplug();
      case 1: return Records();
      case 2: return ReadAll();
      case 3: return Read();
      case 4:
      case 5: return Write();
      case 6: return WriteAll();
      case 7: return transcript.See(worker.BuildDefaultVOKHeaders());
      case 8: worker.SetBlockVOKVersion(0, input_.Byte() % 5); return;
      case 9: return Erase();
      case 10: return transcript.See(worker.TerminateVOK());
      default: return transcript.See(worker.EraseCodeplugVirtualMemory());
    }
  }

 private:
  void AddRecord(Bytes& psdt, std::uint8_t index) {
    static constexpr std::array<std::uint32_t, 6> kSizes = {0x10000, 0x20000, 0x20000, 0x400, 0, 40};
    Geometry& section = sections_[index % sections_.size()];
    const std::uint8_t form = input_.Byte();
    section.block_size = form == 255 ? input_.Word() : kSizes[form % kSizes.size()];
    section.blocks = form == 254 ? input_.Half() : static_cast<std::uint16_t>(form / 8 % 5);
    const std::uint8_t where = input_.Byte();
    section.base = where == 255 ? input_.Word() : 0x10000u * (where % 32u + 1);
    const std::size_t start = psdt.size();
    const std::string tag = std::string(kTags[input_.Byte() % kTags.size()]) + "    ";
    psdt.insert(psdt.end(), tag.begin(), tag.begin() + 4);
    Put(psdt, static_cast<std::uint32_t>(section.base), 4);
    Put(psdt, section.block_size, 4);
    psdt.resize(start + 36, 0);
    Put(psdt, 2u + input_.Byte() % 5, 2);
    Put(psdt, section.blocks, 2);
    psdt.resize(start + 68, 0);
    Put(psdt, where / 32 == index ? input_.Byte() % 12u : index, 2);
    for (int range = 0; range < 4; ++range) {
      static constexpr std::array<std::uint16_t, 5> kRanges = {1, 255, 0x81, 255, 0};
      Put(psdt, kRanges[input_.Byte() % kRanges.size()], 2);
      Put(psdt, input_.Byte() % 8u, 2);
      Put(psdt, input_.Byte() == 255 ? input_.Half() : 10u, 2);
    }
    psdt.resize(start + 96, 0);
  }

  void Codeplug() {
    Geometry section = sections_[input_.Byte() % sections_.size()];
    section.version = input_.Byte() % 3u + 1;
    section.blocks = std::clamp<std::uint16_t>(section.blocks, 1, 5);
    world_.Begin(section);
    FillPartition(world_, input_);
    Bytes bytes = world_.Read(section.base, section.base + 16);
    if (bytes.empty()) bytes.resize(1);
    transcript.See(world_.worker.LoadCodeplug(bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                                              static_cast<std::uint32_t>(section.base), input_.Byte() % 5));
  }

  void ReadAll() {
    for (const VOKITEM& item : world_.worker.ReadAllVOK(input_.Pick(kTags))) {
      transcript.See(item.Type);
      transcript.See(item.Id);
      transcript.See(std::span<const std::uint8_t>(item.Data));
    }
  }

  void Erase() {
    const std::uint32_t start = input_.Word() % (kImageSize + 2);
    transcript.See(world_.worker.EraseVirtualMemory(start, input_.Byte()));
  }

  void Records() {
    const std::unique_ptr<PSDT_HEADER_RECORD> header(world_.worker.ReadPSDTHeaderRecord());
    for (PSDT_RECORD* record : world_.worker.ReadPSDTRecord()) {
      transcript.See(record->StartAddress);
      transcript.See(record->BlockSize);
      transcript.See(record->BlockCount);
      transcript.See(record->LastType);
      delete record;
    }
    std::uint16_t version = 0;
    transcript.See(world_.worker.GetBlockVOKVersion(input_.Word(), version));
    transcript.See(version);
  }

  void Read() {
    std::uint32_t length = input_.Half();
    Bytes buffer(length);
    const std::uint16_t type = TakeType(input_);
    transcript.See(world_.worker.ReadVOK(type, TakeId(input_), buffer.data(), length));
    transcript.See(length);
    Require(length <= buffer.size() || buffer.empty(), "more bytes than the buffer holds");
  }

  void Write() {
    const std::uint16_t type = TakeType(input_);
    std::uint16_t id = TakeId(input_);
    const Bytes data(input_.Byte() == 255 ? 70000u : input_.Byte(), 0x77);
    world_.worker.WriteVOK(type, id, data.data(), static_cast<std::uint32_t>(data.size()));
    transcript.See(id);
  }

  void WriteAll() {
    std::vector<VOKITEM> items(input_.Byte() % 6);
    for (VOKITEM& item : items) {
      item.Type = TakeType(input_);
      item.Id = TakeId(input_);
      item.Data.resize(input_.Byte() == 255 ? 0x20001u : input_.Byte());
    }
    world_.worker.WriteAllVOK(items);
  }

  Input& input_;
  World world_;
  std::array<Geometry, 6> sections_{};
};

}  // namespace

void FuzzHost(Input input) {
  Host host(input);
  host.LoadPsdt();
  for (int calls = 0; calls < 24 && !input.empty(); ++calls) {
    try {
      host.Call();
    } catch (const VokError& error) {
      transcript.See(static_cast<std::uint64_t>(error.Code));
    }
  }
  VokWorker worker;
  worker.EraseVirtualMemory(0, kImageSize);
}

}  // namespace vok::fuzz

#pragma once

#include "population.h"
#include "vok/vok_worker.h"

namespace vok::bench {

inline constexpr std::uint32_t kImageSize = 0x2000000;

/// How much of a section the items fill.
enum class Fill : std::uint8_t { kThird = 33, kUsual = 50, kTight = 80 };

/// The programming application of the benchmark: a worker with one section, in a given store version.
class Host {
 public:
  static constexpr std::uint8_t kPartition = 0;

  /// Lays out a section in which @p live bytes fill the blocks but the spare as @p fill says, in percent.
  Host(std::uint32_t version, std::uint64_t live, Fill fill);

  VokWorker& worker() { return worker_; }
  const Bytes& codeplug() const { return codeplug_; }

  /// The section's items as a list of the worker's own.
  static std::vector<VOKITEM> ListOf(const std::vector<Item>& items);

  /// No store yet, but a PSDT and a store version.
  void Prepare();
  /// An empty store, mounted.
  void Format();
  /// A store with the items, mounted anew; the codeplug holds its bytes from then on.
  void Build(const std::vector<VOKITEM>& list);
  /// Opens the codeplug as a user does: all bytes loaded, repair mount.
  void Open();
  void LoadPsdt();
  void LoadCodeplug();

  bool Read(std::uint16_t type, std::uint16_t id);
  /// Writes with the journal, making room by reorganisations as the store asks for it.
  void Write(const Item& item);

 private:
  void MakeRoom();

  VokWorker worker_;
  std::uint32_t version_;
  std::uint32_t block_size_;
  std::uint16_t blocks_;
  Bytes psdt_;
  Bytes codeplug_;
  Bytes buffer_;
};

}  // namespace vok::bench

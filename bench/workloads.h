#pragma once

#include <memory>
#include <vector>

#include "host.h"
#include "yardstick.h"

namespace vok::bench {

/// A population with the store and the yardstick that hold it.
struct Case {
  Case(std::uint32_t version, std::uint32_t count);

  std::vector<Item> items;
  std::vector<VOKITEM> list;
  std::vector<Item> shuffled;      ///< the order of reads and deletes
  std::vector<Item> same_lengths;  ///< rewrites
  std::vector<Item> other_lengths;
  Host usual;
  Host tight;
};

/// One workload, for the store and for the yardstick. A pass prepares what it needs and gives the seconds that the work
/// itself took.
struct Workload {
  const char* name;
  const char* title;
  double goal;  ///< highest ratio to the yardstick, 0 = none set
  std::uint32_t (*operations)(std::uint32_t items);
  double (*store)(Case&);
  double (*yardstick)(const Case&);
};

const std::vector<Workload>& Workloads();

}  // namespace vok::bench

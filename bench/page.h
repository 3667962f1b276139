#pragma once

#include <array>
#include <map>
#include <string>
#include <tuple>

#include "workloads.h"

namespace vok::bench {

inline constexpr std::array<std::uint32_t, 2> kVersions = {1, 3};
inline constexpr std::array<std::uint32_t, 5> kCounts = {1000, 2000, 4000, 8000, 16000};

enum class Side : std::uint8_t { kStore, kYardstick };

/// A measurement: one side of a workload, beside one store version. The yardstick's own work does not depend on the
/// version; it runs beside each all the same, since a ratio holds only for one moment of the machine.
struct Row {
  std::string workload;
  std::uint32_t version;
  std::uint32_t count;
  Side side;
  auto operator<=>(const Row&) const = default;
};
using Times = std::map<Row, double>;  ///< least seconds of a pass

/// The table of one store version, in Markdown.
std::string Table(const Times& times, std::uint32_t version);

/// Writes docs/performance.md from its template. @return whether it could be written
bool WritePage(const std::string& path, const Times& times);

}  // namespace vok::bench

#pragma once

#include <array>
#include <span>

#include "flash/types.h"
#include "vok/store.h"
#include "worker/psdt.h"

/// Start-up: from the PSDT's records to partition descriptors, type routes and mounted partitions.

namespace vok {

inline constexpr u32 kMostPartitions = 9;
inline constexpr u32 kMostRoutes = 36;

/// Item types served by a partition.
struct TypeRoute {
  u8 partition;
  u8 range_id;
  u16 first_type;
  u16 last_type;
};

/// Why start-up makes no partition of a PSDT record.
enum class PassOver : u8 {
  kAccepted,
  kSectionKind,      ///< no kind that the store version takes
  kPartitionNumber,  ///< above 8
  kRoutes,           ///< the route table has no room for all its ranges
  kOutsideImage,     ///< the section does not lie wholly inside the flash image
};

/// What start-up makes of the PSDT.
struct StartupPlan {
  /// By partition number. Longer than there are numbers: set-up reads one descriptor for each accepted record, and when
  /// two records name one number it must find an empty one.
  std::array<PartitionDescriptor, kMostRoutes> descriptors;
  std::array<TypeRoute, kMostRoutes> route_table;
  u16 route_count;
  u8 accepted;
  std::array<PassOver, psdt::kMostRecords> verdicts;  ///< one for each PSDT record

  std::span<const TypeRoute> routes() const { return {route_table.data(), route_count}; }
};

/// Reads the PSDT anew, sets the partitions up and makes the routes take effect, without mounting anything.
/// @return the plan, in force until the next start-up
const StartupPlan& PrepareStore();

/// The plan in force.
const StartupPlan& CurrentPlan();

/// The mode in which start-up mounts the partition of a route.
u8 MountModeOf(const TypeRoute& route);

/// Writes default headers into every block of every PSDT record that lies inside the image; failures are not reported.
void WriteDefaultHeaders();

}  // namespace vok

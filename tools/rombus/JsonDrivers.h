#pragma once

#include "inspect/io/Registry.h"
#include "inspect/knowledge/NodeDrivers.h"

#include <nlohmann/json.hpp>

namespace rombus {

// A unit's drivers in the JSON report: the entries that take it, the near misses, the probe
// checks and a bootloader.
nlohmann::ordered_json unitDriversJson(const UnitDrivers& unit);

// A node's kernel view in the JSON report: the table's source, the quirks, a DICE GUID.
nlohmann::ordered_json nodeDriversJson(const NodeDrivers& node);

// The longer IEEE assignment a GUID falls in: registry, assignment digits and holder.
nlohmann::ordered_json guidAssignmentJson(const LongAssignment& assignment);

} // namespace rombus

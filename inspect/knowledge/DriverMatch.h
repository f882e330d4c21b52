#pragma once

#include "inspect/knowledge/DriverTable.h"
#include "inspect/rom/RomWalk.h"
#include "zul/Api.h"

#include <string>
#include <vector>

namespace rombus {

// An entry that names the unit's ids but one: the field that differs, the unit's value and the
// entry's ("snd_bebob: model 010071h here, the table has 010070h").
struct ROMBUS_API NearMiss {
    DriverId id;
    const char* field = "";
    uint32_t unitValue = 0;
    uint32_t tableValue = 0;

    std::string text() const;
};

// The drivers whose tables take a unit, each by the most specific of its entries that matches
// (the drivers list their specific entries before their general ones, and the kernel takes a
// driver's first match); where none does, the entries of the unit's vendor, or of none, that
// miss it by one field.
struct UnitMatch {
    std::vector<DriverId> matches;
    std::vector<NearMiss> nearest;
};

// Whether an entry takes a unit, as the kernel's fw_unit_match compares: every field the entry's
// flags name equals the unit's id (ids a ROM lacks count as 0).
ROMBUS_API bool entryMatches(const DriverId& id, const decode::UnitIds& unit);

ROMBUS_API UnitMatch matchUnit(const DriverTable& table, const decode::UnitIds& unit);

} // namespace rombus

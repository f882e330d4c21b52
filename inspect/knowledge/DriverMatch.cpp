#include "inspect/knowledge/DriverMatch.h"

#include "inspect/io/Format.h"

#include <algorithm>
#include <bit>

namespace rombus {
namespace {

// At most this many near misses are kept: enough to show what a unit lacks, few enough to read.
constexpr size_t MaxNearest = 3;

struct Field {
    const char* name;
    MatchFlag flag;
    uint32_t DriverId::*entry;
    uint32_t decode::UnitIds::*unit;
};

constexpr Field fields[] = {
    {"vendor", MatchVendor, &DriverId::vendor, &decode::UnitIds::vendor},
    {"model", MatchModel, &DriverId::model, &decode::UnitIds::model},
    {"specifier", MatchSpecifier, &DriverId::specifier, &decode::UnitIds::specifier},
    {"version", MatchVersion, &DriverId::version, &decode::UnitIds::version},
};

// The fields an entry names whose value differs from the unit's.
std::vector<const Field*> differences(const DriverId& id, const decode::UnitIds& unit) {
    std::vector<const Field*> differ;
    for (const Field& field : fields)
        if ((id.flags & field.flag) && id.*field.entry != unit.*field.unit)
            differ.push_back(&field);
    return differ;
}

// Keeps a driver's most specific matching entry, in the order the drivers first match.
void keepMatch(std::vector<DriverId>& matches, const DriverId& id) {
    auto same = std::find_if(matches.begin(), matches.end(),
                             [&](const DriverId& kept) { return kept.driver == id.driver; });
    if (same == matches.end())
        matches.push_back(id);
    else if (std::popcount(id.flags) > std::popcount(same->flags))
        *same = id;
}

} // namespace

std::string NearMiss::text() const {
    return format("%s: %s %06Xh here, the table has %06Xh", id.driver.c_str(), field, unitValue,
                  tableValue);
}

bool entryMatches(const DriverId& id, const decode::UnitIds& unit) {
    return differences(id, unit).empty();
}

UnitMatch matchUnit(const DriverTable& table, const decode::UnitIds& unit) {
    UnitMatch result;
    for (const DriverId& id : table.ids) {
        const std::vector<const Field*> differ = differences(id, unit);
        if (differ.empty())
            keepMatch(result.matches, id);
        // An entry of another vendor says nothing of this unit, and an entry of one field only
        // would miss every unit by that field: neither is a hint.
        else if (differ.size() == 1 && differ[0]->flag != MatchVendor &&
                 std::popcount(id.flags) > 1 && result.nearest.size() < MaxNearest)
            result.nearest.push_back(
                {id, differ[0]->name, unit.*differ[0]->unit, id.*differ[0]->entry});
    }
    if (!result.matches.empty())
        result.nearest.clear();
    return result;
}

} // namespace rombus

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

// How many of the fields an entry names differ from the unit's, and the first of them: no
// allocation, as every entry of the table is compared with every unit.
struct Difference {
    unsigned count = 0;
    const Field* first = nullptr;
};

Difference differences(const DriverId& id, const decode::UnitIds& unit) {
    Difference difference;
    for (const Field& field : fields)
        if ((id.flags & field.flag) && id.*field.entry != unit.*field.unit && !difference.count++)
            difference.first = &field;
    return difference;
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
    return differences(id, unit).count == 0;
}

UnitMatch matchUnit(const DriverTable& table, const decode::UnitIds& unit) {
    UnitMatch result;
    for (const DriverId& id : table.ids) {
        const Difference differ = differences(id, unit);
        if (differ.count == 0)
            keepMatch(result.matches, id);
        // An entry of another vendor says nothing of this unit, and an entry of one field only
        // would miss every unit by that field: neither is a hint.
        else if (differ.count == 1 && differ.first->flag != MatchVendor &&
                 std::popcount(id.flags) > 1 && result.nearest.size() < MaxNearest)
            result.nearest.push_back(
                {id, differ.first->name, unit.*differ.first->unit, id.*differ.first->entry});
    }
    if (!result.matches.empty())
        result.nearest.clear();
    return result;
}

} // namespace rombus

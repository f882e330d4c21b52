#pragma once

#include "inspect/model/BusView.h"

#include <nlohmann/json.hpp>

#include <vector>

namespace rombus {

// The buses as one JSON object: "formatVersion" and "buses", each with its name, generation,
// topology map header (length, CRCs, counts, why it was refused), hops and gap count optimum,
// the roles by physical id, every PHY (self-ID fields, port states, parent and children, path
// speed and hops from the local node, device file, GUID, names, PHY ids) and the health findings.
nlohmann::ordered_json busJson(const std::vector<BusView>& views);

} // namespace rombus

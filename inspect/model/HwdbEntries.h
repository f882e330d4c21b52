#pragma once

#include "inspect/model/NodeView.h"
#include "zul/Api.h"

#include <string>
#include <utility>
#include <vector>

namespace rombus {

// One entry of systemd's ieee1394 hwdb: its match keys (the node key, then the unit's modalias)
// and its properties in order.
struct HwdbEntry {
    std::vector<std::string> keys;
    std::vector<std::pair<std::string, std::string>> properties;
};

// "ieee1394:node:ven0x000d6cmo0x010071units0x00a02d:0x014001": the key systemd matches a node
// by, from the sysfs attributes vendor, model and units (lower-case, six digits); a node without
// a model id leaves "mo0x..." out, and one of several units matches it by a wildcard pattern
// around that unit ("units*0x00a02d:0x010001*").
ROMBUS_API std::string hwdbNodeKey(const NodeView& node, const decode::UnitIds& unit);

// The entries of a node: one per unit the kernel makes a device of that has a function, with
// the vendor and model names (the ROM's own, else the registry's for the vendor) and the
// functions: AUDIO for a unit a sound driver takes (and does not refuse), MIDI for the drivers
// whose every device has MIDI ports, VIDEO for an IIDC camera or a unit firedtv takes.
ROMBUS_API std::vector<HwdbEntry> hwdbEntriesOf(const NodeView& node);

// The entries of a corpus merged and sorted: an entry whose keys another already has is dropped
// (the first kept; a different set of properties is named in conflicts), entries with the same
// properties share one block of keys, and blocks come in the order of their first unit key.
ROMBUS_API std::vector<HwdbEntry> mergeHwdb(const std::vector<HwdbEntry>& entries,
                                            std::vector<std::string>& conflicts);

// The entries as a hwdb file: key lines, properties indented by one space, a blank line between
// entries.
ROMBUS_API std::string formatHwdb(const std::vector<HwdbEntry>& entries);

} // namespace rombus

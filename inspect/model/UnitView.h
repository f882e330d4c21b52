#pragma once

#include "inspect/knowledge/Sbp2Unit.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rombus {

// What SBP-2 defines of a unit, with the values worked out that the reports show.
struct Sbp2View {
    decode::Sbp2Unit entries;
    // The CSR address of the Management_Agent entry, where there is one.
    std::optional<uint64_t> managementAgentAddress;
    // "mgt_ORB_timeout 5000 ms, ORB_size 8 quadlets", where there is a Unit_Characteristics entry.
    std::string characteristics;
};

// One unit directory of a node, wherever it is reached from, as every view shows it.
struct UnitView {
    uint32_t entry = 0;     // ROM offset of the entry that names the directory
    uint32_t directory = 0; // ROM offset of the unit directory
    std::string path;       // the entry's place in the tree, "root/unit[1]"
    // The ids as the kernel takes them (the root's, a vendor directory's, the unit's own).
    uint32_t vendor = 0, model = 0, specifier = 0, version = 0;
    // The unit's one name: the architecture its specifier id and version name, else
    // "vendor-specific unit of NAME" for a company's specifier id, else "unknown unit type".
    std::string name;
    // The architecture its specifier id and version name; empty when the table does not know it.
    std::string architecture;
    // Named by the root directory, the kernel makes a unit device fwN.M of it, M its place
    // among those; a unit of an instance directory has none.
    std::optional<size_t> kernelIndex;
    // The textual descriptors in the directory and below it, in ROM order, as stored.
    std::vector<std::string> texts;
    std::string modalias; // as the kernel builds it from the ROM
    // What sysfs shows of fwN.M: its modalias and the driver bound to it ("" for none); absent
    // where sysfs shows nothing.
    std::optional<std::string> kernelModalias;
    std::optional<std::string> driver;
    std::optional<Sbp2View> sbp2;
};

} // namespace rombus

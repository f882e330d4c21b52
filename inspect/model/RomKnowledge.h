#pragma once

#include "zul/Api.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace rombus {

// What the tool knows of a node's ROM beyond its entries' keys, as every view shows it.
struct RomKnowledge {
    // The vendor and model names the ROM gives itself in textual descriptors, as stored.
    std::optional<std::string> vendorName, modelName;
    // The keywords of its keyword leaves, in ROM order.
    std::vector<std::string> keywords;
    // "Every wrong CRC of this ROM has one cause: ..." when its wrong CRCs share a known cause.
    std::string crcCause;
    // What an entry means beyond its key's name (an SBP-2 entry's value, a name leaf's text), by
    // the entry's ROM offset.
    std::map<uint32_t, std::string> meanings;
};

// A ROM text as the kernel shows it in sysfs: trailing white space dropped.
ROMBUS_API std::string shownText(const std::string& stored);

} // namespace rombus

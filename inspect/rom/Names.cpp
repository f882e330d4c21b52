#include "inspect/rom/Names.h"

#include "libRombus/Lib1394Util.h"

#include <algorithm>

namespace rombus {

const char* levelName(uint32_t level) {
    static const char* const names[] = {"progress", "warning", "error"};
    return names[std::min<uint32_t>(level, 2)];
}

const char* keyTypeName(unsigned type) {
    static const char* const names[] = {"immediate", "CSR offset", "leaf", "directory"};
    return names[type & 3];
}

std::string entryName(uint8_t key) {
    const lib1394::cr_key_value_t entry = {key, {0, 0, 0}};
    return libRombus::Lib1394Util::getEntryString(entry).str();
}

} // namespace rombus

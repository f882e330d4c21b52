#include "inspect/io/Format.h"
#include "inspect/knowledge/DriverTable.h"

namespace rombus {

// The shipped table as a source file of the tool: one constant row per entry, in the order the
// table gives them, so that a kernel's modules.alias rebuilds it.
std::string shippedTableSource(const DriverTable& table) {
    std::string text = "// The FireWire drivers' ieee1394_device_id entries, from " + table.source +
                       ".\n// Written by 'rombus drivers table'; rebuild it from a newer "
                       "modules.alias rather than edit it.\n"
                       "#include \"inspect/knowledge/ShippedDrivers.h\"\n\n"
                       "namespace rombus {\n\n"
                       "const ShippedDriverId shippedDriverIds[] = {\n";
    for (const DriverId& id : table.ids)
        text += format("    {\"%s\", 0x%X, 0x%06X, 0x%06X, 0x%06X, 0x%06X, \"%s\"},\n",
                       id.driver.c_str(), id.flags, id.vendor, id.model, id.specifier, id.version,
                       id.kernel.c_str());
    return text + "};\n\nconst size_t shippedDriverIdCount = std::size(shippedDriverIds);\n\n"
                  "} // namespace rombus\n";
}

} // namespace rombus

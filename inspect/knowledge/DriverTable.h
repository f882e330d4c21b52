#pragma once

#include "zul/Api.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rombus {

// The fields of a Linux ieee1394_device_id that an entry compares, as its match_flags name them.
enum MatchFlag : uint32_t {
    MatchVendor = 0x1,
    MatchModel = 0x2,
    MatchSpecifier = 0x4,
    MatchVersion = 0x8,
};

// One entry of a driver's ieee1394_device_id table: the fields it names and their values, the
// module that holds it and the kernel release it was taken from.
struct DriverId {
    std::string driver; // the module's name, as modules.alias writes it (snd_bebob)
    uint32_t flags = 0;
    uint32_t vendor = 0, model = 0, specifier = 0, version = 0;
    std::string kernel;
};

// The entries of every FireWire driver, in the order of the drivers' tables, and where they
// come from ("modules.alias of 6.12.117", "the table shipped with the tool").
struct DriverTable {
    std::string source;
    std::vector<DriverId> ids;
};

// The table the tool ships, typed from the kernel's FireWire drivers.
ROMBUS_API const DriverTable& shippedDriverTable();

// Reads the "alias ieee1394:..." lines of a modules.alias: each field is eight hexadecimal
// digits (named in match_flags) or "*" (not named), with the trailing "*" the kernel adds. Other
// lines are skipped. False, with a sentence naming the file and the line, when a line of
// ieee1394 is malformed or the file cannot be read.
ROMBUS_API bool readModulesAlias(const std::string& path, const std::string& kernel,
                                 DriverTable& table, std::string& error);

// The same over a file's text; the source names the file in errors.
ROMBUS_API bool parseModulesAlias(const std::string& text, const std::string& source,
                                  const std::string& kernel, DriverTable& table,
                                  std::string& error);

// The modules.alias of the running kernel, /lib/modules/RELEASE/modules.alias, and its release.
ROMBUS_API std::string runningKernelRelease();
ROMBUS_API std::string runningModulesAlias();

// "ieee1394:ven*mo*sp0000609Ever00010483*": an entry as file2alias writes it.
ROMBUS_API std::string aliasOf(const DriverId& id);

// The C++ source of the shipped table for a driver table: what the rebuild command writes.
ROMBUS_API std::string shippedTableSource(const DriverTable& table);

} // namespace rombus

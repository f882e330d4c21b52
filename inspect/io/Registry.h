#pragma once

#include "zul/Api.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rombus {

// One registered company identifier (24 bits) and the name of its holder.
struct RegistryEntry {
    uint32_t id;
    std::string name;
};

// Reads the IEEE registry as Debian's ieee-data ships it, either oui.txt (lines "XXXXXX (base 16)
// Name") or oui.csv (Registry,Assignment,Organization Name,...); CR LF line ends and any order are
// accepted; the first name given for an identifier wins. The file is read as a stream, so the
// memory taken is bounded by the entries kept, not by the file's size. False, with a sentence
// naming the file in error, when nothing can be taken from it.
ROMBUS_API bool readIeeeRegistry(const std::string& path, std::vector<RegistryEntry>& entries,
                                 std::string& error);

// The same, from the text of such a file; the entries come in identifier order.
ROMBUS_API std::vector<RegistryEntry> parseIeeeRegistry(const std::string& content);

// The registry file the module reads: one line per identifier in ascending order, six upper-case
// hexadecimal digits, a blank, the name; LF line ends. The first name given for an identifier wins.
ROMBUS_API std::string formatRegistry(std::vector<RegistryEntry> entries);

// An assignment longer than a company id: MA-M (28 bits), MA-S or IAB (36 bits), the top bits of
// an EUI-64 within a company id the IEEE keeps for them, and the name of its holder.
struct LongAssignment {
    uint64_t prefix;
    unsigned bits;
    std::string name;
};

// The longer assignments of CSV files as ieee-data ships them (mam.csv, oui36.csv, iab.csv) or
// as formatLongAssignments writes them; 24-bit ids and files that cannot be opened are passed
// by. A file that is not text is passed by too, with a sentence naming it in problems.
ROMBUS_API std::vector<LongAssignment> parseLongAssignments(const std::string& content);
ROMBUS_API std::vector<LongAssignment> readLongAssignments(const std::vector<std::string>& paths,
                                                           std::vector<std::string>& problems);

// The tool's own file of them, beside the module's registry: CSV of Registry (MA-M for 28 bits,
// MA-S for 36), Assignment and Organization Name, in the order of length and prefix.
ROMBUS_API std::string formatLongAssignments(std::vector<LongAssignment> assignments);

// mam.csv, oui36.csv and iab.csv of ieee-data, those that exist.
ROMBUS_API std::vector<std::string> longAssignmentSources();

// ieee-assignments.csv in the folder of the registry.
ROMBUS_API std::string longAssignmentsPath(const std::string& registry);

// The longest assignment a GUID falls in; null when none.
ROMBUS_API const LongAssignment* holderOf(const std::vector<LongAssignment>& assignments,
                                          uint64_t guid);

// The first of oui.txt and oui.csv of ieee-data that exists (oui.txt when neither does).
ROMBUS_API std::string defaultImportSource();

// The folder of the tool's data: share/rombus beside the folder that holds the executable
// (build/bin/rombus uses build/share/rombus).
ROMBUS_API std::string dataFolder();

// The registry the system makes from ieee-data whenever ieee-data changes, as the Debian package
// does: oui-registry.txt under the state folder of the installation (/var/lib/rombus).
ROMBUS_API std::string systemRegistryPath();

// Where the tool looks for its vendor registry: oui-registry.txt of dataFolder() when there is
// one (a build tree, an installation that carries its own), else systemRegistryPath().
ROMBUS_API std::string defaultRegistryPath();

} // namespace rombus

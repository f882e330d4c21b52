#pragma once

#include "Advisories.h"
#include "RomDecoder.h"
#include "lib1394/RomImageBus.h"
#include "libRombus/Lib1394SysInfo.h"
#include "vesk5/DiagModule.h"
#include "vesk5/SysInfoDevice.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace rombus {

struct Settings {
    std::string registry;
    unsigned crcLevel = 2;
    unsigned logLevel = 3;
};

// Everything one enumeration produced, as the reports show it.
struct Scan {
    bool result = false;
    // The devices handed to the framework, in order.
    std::vector<vesk5::SysInfoDevice> devices;
    // One record per node, in order, and whether reading that node stopped on a failure.
    zul::Array<libRombus::lib1394_enum_log> nodes;
    std::vector<bool> nodeFailed;
    // What reading that node ran out of, if it did: the reads or the entries one node may make.
    std::vector<std::optional<lib1394::Budget>> nodeExhausted;
    std::vector<vesk5::DiagModule::Report> reports;
    // What the bus knows of its ports and nodes beyond the module's view: folders, file names,
    // notes per node; and what it skipped or could not take as it stood.
    std::vector<lib1394::RomPort> ports;
    std::vector<std::string> notes;
    // Per node, in order: its ROM decoded on the decoder's own terms, and what that shows
    // beyond the module's records.
    std::vector<decode::DecodedRom> decoded;
    std::vector<std::vector<Advisory>> advisories;
};

// Installs the bus, sets the module's parameters and the log gate, and enumerates every node.
Scan enumerate(std::shared_ptr<lib1394::RomImageBus> bus, const Settings& settings);

// What the bus knows of the node at a place of the enumeration, or null.
const lib1394::RomNode* romNodeOf(const Scan& scan, size_t node);
// The port of the node at a place of the enumeration.
unsigned portOf(const Scan& scan, size_t node);

// The outcome of one node's reading, in the order it is decided: a ROM that is not accessible,
// a reading that ran out of its budget, problem records, a reading that failed without a record.
enum class NodeStatus { Ok, Problems, ReadFailed, OutOfReads, NotAccessible };

NodeStatus nodeStatus(const Scan& scan, size_t node);
// "ok", "problems", "read failed", "out of reads", "not accessible".
const char* statusName(NodeStatus status);

// Whether any node has a problem record or could not be read.
bool hasProblems(const Scan& scan);
// Whether the decoder found anything the module does not report.
bool hasAdvisories(const Scan& scan);

} // namespace rombus

#pragma once

#include "inspect/io/Registry.h"
#include "inspect/knowledge/NodeDrivers.h"
#include "inspect/model/NodeDevices.h"
#include "inspect/rom/RomDecoder.h"
#include "inspect/verdicts/Advisories.h"
#include "inspect/verdicts/Explanations.h"
#include "lib1394/RomImageBus.h"
#include "libRombus/Message.h"
#include "zul/Api.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace rombus {

// The outcome of one node's reading, in the order it is decided: a ROM that is not accessible,
// a reading that ran out of its budget, problem records, a reading that failed without a record.
enum class NodeStatus { Ok, Problems, ReadFailed, OutOfReads, NotAccessible };

// "ok", "problems", "read failed", "out of reads", "not accessible".
ROMBUS_API const char* statusName(NodeStatus status);

// Everything known of one node, as every report shows it: where it is, what the bus read of it,
// what the module recorded and published, its ROM decoded on the decoder's own terms, and what
// that shows beyond the module's records.
struct ROMBUS_API NodeView {
    size_t index = 0;        // place among all nodes of the inspection
    unsigned port = 0;       // the port's index
    unsigned physicalId = 0; // place among the nodes of its port
    std::string locator;     // the module's locator of the node
    libRombus::Messages records;
    // What the bus read of the node (ROM, GUID, source, notes, the kernel's names); a node the
    // bus does not know (its port listed more nodes than it holds) has none.
    std::optional<lib1394::RomNode> source;
    bool readFailed = false;                // the module said that reading the node failed
    std::optional<lib1394::Budget> stopped; // what its reading ran out of, if it did
    decode::DecodedRom decoded;
    std::vector<Advisory> advisories;
    // What each record means in the ROM, one per record in the same order.
    std::vector<Explanation> explanations;
    // The module stopped at the bus information block: the decoded ROM is all there is to show.
    bool beyondVerdict = false;
    // The node's device among the inspection's devices, and the devices of its ROM's entries,
    // published just before it.
    std::optional<size_t> device;
    NodeDevices devices;
    // What the Linux kernel does with it: the drivers of its units, their probe checks, its
    // quirks.
    NodeDrivers drivers;
    // The MA-M, MA-S or IAB assignment its GUID falls in: the holder of a GUID whose company id
    // the IEEE keeps for longer assignments.
    std::optional<LongAssignment> guidAssignment;

    NodeStatus status() const;
    uint64_t guid() const { return source ? source->guid : 0; }
    const std::vector<uint8_t>& rom() const { return decoded.rom; }
};

} // namespace rombus

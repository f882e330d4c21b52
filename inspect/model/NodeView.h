#pragma once

#include "inspect/io/Registry.h"
#include "inspect/knowledge/NodeDrivers.h"
#include "inspect/model/NodeDevices.h"
#include "inspect/model/RomKnowledge.h"
#include "inspect/model/UnitView.h"
#include "inspect/rom/RomDecoder.h"
#include "inspect/verdicts/Advisories.h"
#include "inspect/verdicts/Explanations.h"
#include "inspect/verdicts/VerdictClasses.h"
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
// that shows beyond the module's records. It is worked out once, when the inspection is built;
// the views only format it.
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
    // Whether each record is a fault or permitted by a named standard, in the same order.
    std::vector<RecordVerdict> verdicts;
    // The module stopped at the bus information block: the decoded ROM is all there is to show.
    bool beyondVerdict = false;
    // The node's device among the inspection's devices, and the devices of its ROM's entries,
    // published just before it.
    std::optional<size_t> device;
    NodeDevices devices;
    // Its unit directories, those of the root directory first as the kernel numbers them, and
    // what the tool knows of its ROM.
    std::vector<UnitView> units;
    RomKnowledge knowledge;
    // What the Linux kernel does with it: the drivers of its units, their probe checks, its
    // quirks.
    NodeDrivers drivers;
    // The MA-M, MA-S or IAB assignment its GUID falls in: the holder of a GUID whose company id
    // the IEEE keeps for longer assignments.
    std::optional<LongAssignment> guidAssignment;

    NodeStatus status() const;
    // The unit whose directory is at a ROM offset; null when none is.
    const UnitView* unitAt(uint32_t directory) const;
    // The entry of the ROM a device the module published for it stands for, by the device's
    // locator: an immediate entry's device gives the entry's own offset, a leaf's or directory's
    // the offset of its block. Null for a locator of no entry of this ROM.
    const decode::RomEntry* entryOfLocator(const std::string& locator) const;
    // The ROM offset a device's locator names (the root directory's has no entry), if it lies in
    // the ROM's space.
    static std::optional<uint32_t> offsetOfLocator(const std::string& locator);
    // The places among the records of those whose fault lies at an entry or at its block.
    std::vector<size_t> recordsAt(const decode::RomEntry& entry) const;
    uint64_t guid() const { return source ? source->guid : 0; }
    const std::vector<uint8_t>& rom() const { return decoded.rom; }
};

} // namespace rombus

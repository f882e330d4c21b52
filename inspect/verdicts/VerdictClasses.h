#pragma once

#include "inspect/rom/RomDecoder.h"
#include "inspect/verdicts/Explanations.h"
#include "libRombus/Message.h"
#include "zul/Api.h"

#include <string>
#include <vector>

namespace rombus {

struct NodeView;

// What a record of the module says of the ROM: a fault (the ROM breaks a rule that no standard
// lifts) or something a named standard defines, which the module's IEEE 1212-2001 rules do not
// know (a unit architecture's own entries, an IEEE 1212-1994 key, a minimal ROM).
enum class RecordClass { Fault, Permitted };

struct RecordVerdict {
    RecordClass recordClass = RecordClass::Fault;
    // The standard that permits it ("IIDC 1.30 (digital camera)", "IEEE 1212-1994"); empty for a
    // fault.
    std::string standard;
};

// "fault", "permitted".
ROMBUS_API const char* className(RecordClass recordClass);

// "class: fault" or "class: permitted: IIDC 1.30 (digital camera) defines it", for people.
ROMBUS_API std::string classText(const RecordVerdict& verdict);

// The class of every record of a node, one per record in the same order, from what each
// explanation found in the ROM.
ROMBUS_API std::vector<RecordVerdict> classifyRecords(const decode::DecodedRom& decoded,
                                                      const libRombus::Messages& records,
                                                      const std::vector<Explanation>& explanations);

// A node as a whole, the worst first: a fault (a record that is one, a ROM that could not be
// read, a reading that ran out of its budget), only records a standard permits, only advisories,
// or nothing at all.
enum class NodeVerdict { Fault, PermittedOnly, AdvisoryOnly, Clean };

ROMBUS_API NodeVerdict verdictOf(const NodeView& node);

// "fault", "permitted only", "advisories only", "clean".
ROMBUS_API const char* verdictName(NodeVerdict verdict);

// Whether a node makes the exit status 1: a fault always; with strict, anything but a clean node.
ROMBUS_API bool nodeFails(const NodeView& node, bool strict);

// "By verdict: 1 with faults, 2 permitted only, 1 advisories only, 3 clean." over the nodes; empty
// when there are none.
ROMBUS_API std::string verdictSummary(const std::vector<NodeView>& nodes);

} // namespace rombus

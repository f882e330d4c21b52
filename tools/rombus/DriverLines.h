#pragma once

#include "UnitLines.h"
#include "inspect/model/NodeView.h"

#include <string>
#include <vector>

namespace rombus {

// The lines below a unit that say what the kernel does with it: the drivers whose entries take
// it, or the entries it misses by one id, what those drivers check when they probe it, and a
// bootloader it is. The unit is the node's i-th decoded unit.
std::vector<UnitLine> driverLines(const NodeView& node, size_t unit);

// "Kernel quirks: NAME: what the kernel does ..." of the node; empty when it has none.
std::vector<std::string> quirkLines(const NodeView& node);

// "DICE GUID: company ..., category ..., product ..., serial ..." of a DICE device, else empty.
std::string diceGuidLine(const NodeView& node);

// "GUID assigned to NAME (MA-S 0050C27D5)": the holder of the longer assignment the GUID falls
// in, else empty.
std::string guidAssignmentLine(const NodeView& node);

// "MA-M" or "MA-S" and the assignment's digits.
std::string assignmentText(const LongAssignment& assignment);

// The drivers a unit's entries name ("snd_bebob, snd_oxfw"); empty when none.
std::string matchingDrivers(const UnitDrivers& unit);

} // namespace rombus

#pragma once

#include "inspect/model/NodeView.h"

#include <string>
#include <vector>

namespace rombus {

// The lines the text report shows of a node's units, one per unit directory wherever it is
// reached from, then below each what SBP-2 defines of it: its name, the textual descriptors
// reachable from it, the driver bound to it, its modalias and the kernel's where that differs.
struct UnitLine {
    unsigned depth; // 0 for a unit, 1 for what is shown below it
    std::string text;
};
std::vector<UnitLine> unitLines(const NodeView& node);

// "Unit 1 at 24h -> 3Ch  NAME": a unit's place among the node's, its entry, its directory and
// its name, as every view that lists units begins its line.
std::string unitHead(size_t index, const UnitView& unit);

// "ROM names: vendor "...", model "..."", from the ROM's own textual descriptors; empty when it
// names neither.
std::string romNamesLine(const NodeView& node);

// "Keywords: ..." of the keyword leaves of the node's ROM; empty when it has none.
std::string keywordsLine(const NodeView& node);

// Quoted for the text report: escaped, a double quote preceded by a backslash.
std::string quoted(const std::string& text, bool asciiOnly);

} // namespace rombus

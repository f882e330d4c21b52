#pragma once

#include "inspect/model/NodeView.h"

#include <string>
#include <vector>

namespace rombus {

// The kind of trouble a node has, the worst first: its ROM could not be read (or is no IEEE 1394
// ROM), an entry breaks the directory rules, only CRCs are wrong, every record is one a named
// standard permits, or the module recorded nothing and the decoder advises. Records a standard
// permits never make a node unreadable or break its rules.
enum class Trouble { Unreadable, EntryRules, CrcOnly, Permitted, Advisories, None };

Trouble troubleOf(const NodeView& node);

// "By kind: 1 unreadable, 2 entry rules, 2 CRC only, 3 advisories only." for the nodes that
// have trouble; empty when none has.
std::string troubleSummary(const std::vector<NodeView>& nodes);

} // namespace rombus

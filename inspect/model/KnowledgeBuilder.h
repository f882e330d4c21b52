#pragma once

#include "inspect/io/RegistryNames.h"
#include "inspect/model/NodeView.h"

namespace rombus {

// Works out, once per node, everything the views show of it beyond the module's records and the
// decoded entries: its units (one name each, their kernel modalias and driver, texts, SBP-2),
// the ROM's own names and keywords, what its entries mean and the cause its wrong CRCs share.
// The node's devices must be attached first: a unit's owner is named by what the module
// published before the registry is read.
void addKnowledge(NodeView& node, RegistryNames& registry);

} // namespace rombus

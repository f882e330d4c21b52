#pragma once

#include "inspect/model/NodeView.h"

#include <string>

namespace rombus {

// The annotated dump of one node's ROM, in the spirit of lspci -x and -v: every quadlet with its
// ROM offset, CSR address, value and meaning (bus information block fields, block headers with
// their CRC "ok" or what it "should be", entries with their names, values, targets and vendor
// names, EUI-64 and text leaves), and beneath a quadlet the module's records and the decoder's
// advisories that concern it. At most width columns.
std::string dumpNode(const NodeView& node, size_t width);

} // namespace rombus

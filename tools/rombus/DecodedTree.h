#pragma once

#include "inspect/model/NodeView.h"

#include <string>

namespace rombus {

// What the decoder read of a ROM the module stopped at, marked as read beyond the module's
// verdict: the entries of the root directory and below, with their keys, values, text leaves and
// targets, then the units with their protocols. Lines indented by indent columns, at most width.
std::string decodedTreeText(const NodeView& node, size_t indent, size_t width);

} // namespace rombus

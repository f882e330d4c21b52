#pragma once

#include "inspect/model/BusView.h"

#include <string>
#include <vector>

namespace rombus {

// The buses as one Graphviz graph, a cluster per bus: a box per PHY (physical id, roles, device
// file, names, speed; dashed without a device file, grey with its link off) and an edge per
// cable, from the parent's port to the child's, labelled with the ports and the path speed.
std::string busDot(const std::vector<BusView>& views);

// The graph drawn as SVG by Graphviz's dot program, run without a shell, the graph on its
// standard input. False, with the reason, when dot cannot be run or fails.
bool drawSvg(const std::string& dot, std::string& svg, std::string& error);

} // namespace rombus

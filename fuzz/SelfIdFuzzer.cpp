// Arbitrary bytes as a local node's topology map (quadlets in bus order) after a mode byte, or
// as a saved bus file: decoded, the tree rebuilt, the health checked and the bus rendered as
// text, JSON and a graph. Nothing may crash, hang or read outside the map, and a tree that is
// accepted must be one: every PHY but the root under exactly one parent.
#include "BusGraph.h"
#include "BusJson.h"
#include "BusText.h"
#include "JsonReport.h"
#include "inspect/io/BusFile.h"
#include "inspect/model/BusView.h"

#include <cstdlib>
#include <string>

namespace {

constexpr uint8_t FileMode = 1;

void checkTree(const rombus::BusView& view) {
    if (!view.treeOk())
        return;
    size_t edges = 0;
    for (const rombus::BusPhy& phy : view.phys)
        edges += phy.children.size();
    if (edges + 1 != view.phys.size() || view.phys.back().parent)
        std::abort();
    for (size_t i = 0; i + 1 < view.phys.size(); ++i)
        if (!view.phys[i].parent || *view.phys[i].parent <= i)
            std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return -1;
    lib1394::BusCapture capture;
    if (data[0] == FileMode) {
        std::string error;
        if (!rombus::parseBusFile(std::string(data + 1, data + size), capture, error))
            return 0;
    } else {
        capture.name = "card 0";
        capture.localNodeId = 0xFFC0 | data[0] % 64;
        capture.rootNodeId = 0xFFC0 | data[0] / 4 % 64;
        for (size_t i = 1; i + 4 <= size; i += 4)
            capture.topology.push_back(uint32_t{data[i]} << 24 | uint32_t{data[i + 1]} << 16 |
                                       uint32_t{data[i + 2]} << 8 | data[i + 3]);
    }
    const rombus::BusView view = rombus::buildBusView(capture, "");
    checkTree(view);
    const std::string text = rombus::busText(view, 100) + rombus::busDot({view}) +
                             rombus::jsonText(rombus::busJson({view}));
    return text.empty() ? -1 : 0;
}

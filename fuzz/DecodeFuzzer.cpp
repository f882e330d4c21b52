// Arbitrary bytes as one node's ROM image, read by the tool as it reads a file: the module's
// enumeration, the decoder beside it, the advisories, the annotated dump at the narrowest and the
// widest layout, the text report and the JSON report. Nothing may crash, read outside the image,
// or print a line wider than its layout.
#include "Dump.h"
#include "JsonReport.h"
#include "TextReport.h"
#include "inspect/model/Inspection.h"
#include "lib1394/ConfigROM.h"

#include <cstdlib>
#include <memory>
#include <sstream>
#include <vector>

namespace {

constexpr uint64_t FuzzReadBudget = 4096;

void checkWidth(const std::string& text, size_t width) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (line.size() > width)
            std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Budget-exhausting inputs stay fast under the sanitizers.
    lib1394::ConfigROMContext::setReadBudget(FuzzReadBudget);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > lib1394::MaxRomSize)
        return -1;
    lib1394::RomNode node;
    node.rom.assign(data, data + size);
    node.guid = lib1394::guidOfRom(node.rom);
    node.accessible = true;
    auto bus =
        std::make_shared<lib1394::RomImageBus>(std::vector<lib1394::RomPort>{{"fuzz", {node}}});
    rombus::Settings settings;
    settings.logLevel = 5;
    const rombus::Inspection scan = rombus::inspect(bus, settings);
    for (size_t width : {60u, 100u}) {
        checkWidth(rombus::dumpNode(scan.nodes.at(0), width), width);
        rombus::Layout layout;
        layout.width = width;
        layout.dump = true;
        checkWidth(rombus::textReport(scan, "", layout), width);
    }
    rombus::jsonText(rombus::jsonReport(scan));
    return 0;
}

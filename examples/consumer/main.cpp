// rombus-consumer: reads ROM image files as the nodes of a bus through the installed Rombus
// libraries and prints, per node, its locator and the number of problems the module recorded.
//   rombus-consumer FILE...
#include "lib1394/ImageFile.h"
#include "libRombus/Declarations.h"
#include "libRombus/Lib1394SysInfo.h"
#include "zul/Log.h"

#include <cstdio>
#include <memory>
#include <vector>

int main(int argc, char** argv) {
    std::vector<lib1394::ImageFile> images;
    for (int i = 1; i < argc; ++i) {
        images.push_back(lib1394::readImageFile(argv[i]));
        if (!images.back().ok()) {
            std::fprintf(stderr, "rombus-consumer: %s\n", images.back().error.c_str());
            return 2;
        }
    }
    libRombus::init();
    // The module's log lines of failures only; its problem records are what this program prints.
    zul::LogFactory::setPriority(zul::LOG_FAILURE);
    lib1394::ConfigROMContext::installBus(std::make_shared<lib1394::ImageFileBus>(images));
    zul::Array<libRombus::lib1394_enum_log> nodes;
    const bool result = libRombus::Lib1394SysInfo::enumerateAll(nodes);
    for (const libRombus::lib1394_enum_log& node : nodes)
        std::printf("%s: %zu problems\n", node.locator.str().c_str(), node.messages.size());
    lib1394::ConfigROMContext::installBus(nullptr);
    return result ? 0 : 1;
}

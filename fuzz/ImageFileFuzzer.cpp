// Arbitrary bytes as a ROM image file: raw in bus order, raw little-endian quadlets, or hex text.
// The first byte chooses the byte order asked for and whether the bytes are read from a file or
// decoded in memory (FuzzInput.h). Whatever the reader makes of them is then enumerated as the
// `rombus check` command does, through the image-file bus.
#include "FuzzInput.h"
#include "FuzzSupport.h"
#include "lib1394/ImageFile.h"
#include "libRombus/Lib1394SysInfo.h"

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace rombus_fuzz;

const TempFile& imageFile() {
    static TempFile file("image");
    return file;
}

lib1394::ByteOrder orderOf(uint8_t mode) {
    switch (mode & 3) {
    case 1:
        return lib1394::ByteOrder::Big;
    case 2:
        return lib1394::ByteOrder::Little;
    default:
        return lib1394::ByteOrder::Detect;
    }
}

// What any image read must hold: a ROM of at most 256 quadlets, or a reason naming the file.
void checkImage(const lib1394::ImageFile& image, const std::string& name,
                lib1394::ByteOrder order) {
    if (image.path != name)
        std::abort();
    if (image.ok()) {
        if (image.rom.empty() || image.rom.size() > lib1394::MaxRomSize)
            std::abort();
        if (order == lib1394::ByteOrder::Little && image.rom.size() % 4 != 0)
            std::abort();
    } else if (image.error.compare(0, name.size(), name) != 0 || !image.rom.empty()) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setUpModuleWithSeedRegistry();
    setParameter(libRombus::declared.CRCMismatchLogLevel, vesk5::Value(uint32_t{2}));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const uint8_t mode = data[0];
    const lib1394::ByteOrder order = orderOf(mode);
    lib1394::ImageFile image;
    std::string name;
    if (mode & ImageFromFile) {
        if (!imageFile().write(data + 1, size - 1))
            std::abort();
        name = imageFile().path();
        image = lib1394::readImageFile(name, order);
    } else {
        name = "fuzz input";
        image = lib1394::decodeImage(name, std::string(data + 1, data + size), order);
    }
    checkImage(image, name, order);

    lib1394::ConfigROMContext::installBus(
        std::make_shared<lib1394::ImageFileBus>(std::vector<lib1394::ImageFile>{image}));
    zul::Array<libRombus::lib1394_enum_log> nodes;
    libRombus::Lib1394SysInfo::enumerateAll(nodes);
    if (nodes.size() != 1)
        std::abort();
    resetFramework();
    return 0;
}

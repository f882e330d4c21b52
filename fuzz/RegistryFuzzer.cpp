// Arbitrary text as the vendor registry file, looked up through Lib1394Util::getRIDString for
// the lowest and the highest identifier, a few in between, and one taken from the input.
#include "FuzzSupport.h"
#include "libRombus/Lib1394Util.h"

#include <cstring>

namespace {

using namespace rombus_fuzz;

// A name is the rest of one registry line: it never holds a line break and never exceeds a line.
void checkName(const zul::String& name) {
    const std::string& text = name.str();
    if (text.size() >= 256 || text.find_first_of("\r\n") != std::string::npos)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setUpModule();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (!registry().write(data, size))
        std::abort();
    const zul::String path(registry().path().c_str());
    unsigned fromInput = 0;
    for (size_t i = 0; i < 3 && i < size; ++i)
        fromInput = fromInput << 8 | data[i];
    const unsigned rids[] = {0, 1, 0x0030E0, 0x7FFFFF, 0xFFFFFF, fromInput};
    for (unsigned rid : rids)
        checkName(libRombus::Lib1394Util::getRIDString(path, rid));
    resetFramework();
    return 0;
}

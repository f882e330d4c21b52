// Two ROMs compared: the first byte says where the data splits into ROM a and ROM b. The diff
// must be empty exactly when the two are equal byte for byte, and a ROM equals itself. Nothing
// may crash or read outside either ROM.
#include "inspect/lifecycle/RomDiff.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const size_t split = std::min<size_t>(size - 1, 4 * size_t{data[0]});
    const std::vector<uint8_t> a(data + 1, data + 1 + split), b(data + 1 + split, data + size);
    const rombus::decode::DecodedRom first = rombus::decode::decodeRom(a);
    const rombus::decode::DecodedRom second = rombus::decode::decodeRom(b);
    if (rombus::diffRoms(first, second, false).empty() != (a == b))
        std::abort();
    if (!rombus::diffRoms(first, first, true).empty())
        std::abort();
    return 0;
}

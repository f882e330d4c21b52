#pragma once

#include "zul/Api.h"

#include <cstddef>
#include <string>

namespace lib1394 {

// Reads a regular file of at most limit bytes. What is not a regular file (a folder, a FIFO, a
// device, a socket) is refused without being read, so that nothing blocks on a FIFO or grows
// without bound on a device. A larger file is refused, or with truncate set read to its first
// limit bytes and told by truncated. On failure error says why, in words that follow the path.
struct RegularFile {
    std::string content;
    std::string error;
    bool truncated = false;

    bool ok() const { return error.empty(); }
};

ROMBUS_API RegularFile readRegularFile(const std::string& path, size_t limit,
                                       bool truncate = false);

// Why a path cannot be read as a regular file ("is a FIFO, not a regular file"), or empty when it
// is one that can be opened.
ROMBUS_API std::string notRegularFile(const std::string& path);

} // namespace lib1394

#pragma once

#include "libRombus/csr/Entry.h"

namespace libRombus {

// An entry that points at a block of its own: a leaf or a directory.
class Node : public Entry {
public:
    // The block lies at entryOffset + 4 * value of the entry, in 32-bit arithmetic.
    Node(unsigned entryOffset, const lib1394::cr_key_value_t& key, const AccessorHandle& accessor,
         DeviceHandle parentDevice);
    ~Node() override;

    zul::String getHwLocator() const;
    // Reads the block's header and body and verifies the body's CRC-16.
    bool verifyCRC();

    uint32_t getOffset() const { return offset; }

protected:
    // Hands the node's device, when it has one, to the framework.
    void publishDevice();

    uint32_t offset;
    DeviceHandle device;
};

} // namespace libRombus

#pragma once

#include "libRombus/csr/Entry.h"

namespace libRombus {

// An entry that carries its datum in its own 24-bit value.
class Immediate : public Entry {
public:
    Immediate(unsigned entryOffset, const lib1394::cr_key_value_t& entry,
              const AccessorHandle& accessor, DeviceHandle parentDevice);
    ~Immediate() override;

    zul::String getHwLocator() const;
    // Publishes the entry's device with its value and, for company ids, the vendor's name.
    bool parse(bool checkCRC) override;

private:
    uint32_t keyId;
    uint32_t value;
    uint32_t offset;
    DeviceHandle device;
};

} // namespace libRombus

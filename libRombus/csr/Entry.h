#pragma once

#include "lib1394/ConfigROM.h"
#include "libRombus/Handles.h"
#include "libRombus/Message.h"
#include "zul/String.h"

#include <cstdint>

namespace libRombus {

// One entry of a Configuration ROM directory. A directory constructs it, parses it, takes its
// records and destroys it; no tree of entries outlives a parse.
class Entry {
public:
    Entry(const lib1394::cr_key_value_t& key, const AccessorHandle& accessor,
          DeviceHandle parentDevice);
    virtual ~Entry();
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

    // True when the entry and everything below it were read and accepted.
    virtual bool parse(bool checkCRC) = 0;
    // The entry's name, such as "Leaf - Descriptor".
    virtual zul::String getName() const;

    const Messages& getMessages() const { return messages; }

protected:
    // The locator text of a device of this node: port, GUID, the word, and the CSR address.
    zul::String locatorAt(const char* word, uint32_t romOffset) const;
    // Creates this entry's device under the parent device, naming the parent's locator.
    DeviceHandle createDevice(const zul::String& locator) const;

    Messages messages;
    lib1394::cr_key_value_t key;
    AccessorHandle accessor;
    DeviceHandle parentDevice;
    uint64_t guid;
};

} // namespace libRombus

#pragma once

#include "zul/Api.h"

#include "lib1394/ConfigROM.h"

#include <cstdint>
#include <string>
#include <vector>

namespace lib1394 {

// The byte order of the quadlets of a ROM image as stored: as found (Detect), most significant
// byte first (Big, the bus order) or least significant byte first (Little).
enum class ByteOrder { Detect, Big, Little };

// Exchanges the bytes of every whole quadlet; bytes after the last whole quadlet stay as they are.
ROMBUS_API void swapQuadlets(std::vector<uint8_t>& bytes);

// One node whose Configuration ROM was read ahead into memory, bytes in ROM (bus) order.
struct RomNode {
    std::vector<uint8_t> rom;
    uint64_t guid = 0;
    bool accessible = true;
    // Where the node came from (a sysfs device name, a file path), for the host program's output.
    std::string label;
    // What the bus could not take as it stood (a file that is not regular, a ROM cut short).
    std::vector<std::string> notes;
    // What the operating system says of the node beside its ROM, where it says it: its vendor and
    // model names, per unit (fwN.M, by M) the driver bound to it, empty when none is, and the
    // modalias the kernel gave it, empty when it shows none; and whether the node is this
    // machine's own controller (sysfs is_local).
    std::string vendorName;
    std::string modelName;
    std::vector<std::string> unitDrivers;
    std::vector<std::string> unitModaliases;
    bool local = false;
    // The kernel's cached copy of the ROM, in bus order, where the bus read the device itself
    // (LiveBus); empty otherwise. It shows what the kernel kept of the device's ROM.
    std::vector<uint8_t> kernelRom;
};

struct RomPort {
    // What the port is (a controller's folder, "image files"); reported as the port's text.
    std::string text;
    std::vector<RomNode> nodes;
};

// A bus made of ports whose node ROMs are already read. Node ids take the form FFC0h | node
// number (local bus, physical id in the low six bits); node id 0 stands for the port itself.
class ROMBUS_API RomImageBus : public Bus {
public:
    // skipped: how many of the notes tell of a node of the bus that was not read.
    explicit RomImageBus(std::vector<RomPort> ports, std::vector<std::string> notes = {},
                         size_t skipped = 0);

    const std::vector<RomPort>& ports() const { return ports_; }
    // What the bus skipped or could not take as it stood, and what it tells of its cards, beyond
    // its nodes' own notes.
    const std::vector<std::string>& notes() const { return notes_; }
    // The nodes the bus knows of but did not read (a link that leads nowhere, a port already
    // full, a node the kernel made no device file for). Notes of any other kind tell of a card
    // or the bus, never of a node that failed.
    size_t skippedNodes() const { return skipped_; }
    ConfigROMAccessor* createAccessor(unsigned port, unsigned nodeId) override;

private:
    std::vector<RomPort> ports_;
    std::vector<std::string> notes_;
    size_t skipped_;
};

// Reads one ROM image held in memory. A read never leaves the image: it gives the bytes from
// the offset up to the image's end, and nothing at or past the end.
class ROMBUS_API RomImageAccessor : public ConfigROMAccessor {
public:
    RomImageAccessor(unsigned port, const RomNode& node);
    unsigned readBlock(unsigned offset, unsigned length, void* buffer) override;

private:
    std::vector<uint8_t> rom_;
};

// The accessor of the port list (port FFFFFFFFh): reports every port with its nodes' ids.
class ROMBUS_API PortListAccessor : public ConfigROMAccessor {
public:
    explicit PortListAccessor(const std::vector<RomPort>& ports);
    bool getPortInfo(zul::Array<port_info_t>& ports) override;

private:
    zul::Array<port_info_t> ports_;
};

// The unique id stored in a ROM's bus information block (bytes 12 to 19), 0 when it is shorter.
ROMBUS_API uint64_t guidOfRom(const std::vector<uint8_t>& rom);

} // namespace lib1394

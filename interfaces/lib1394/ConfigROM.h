#pragma once

#include "zul/Api.h"

#include "zul/Array.h"
#include "zul/PointerStorage.h"
#include "zul/SharedResource.h"
#include "zul/String.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace lib1394 {

// One directory entry exactly as it stands in the ROM: the key byte, then the 24-bit value,
// most significant byte first.
struct cr_key_value_t {
    uint8_t key;
    uint8_t value[3];
};
static_assert(sizeof(cr_key_value_t) == 4, "a directory entry is one quadlet");

// What a bus reports of one port: a text, the node count and the unique ids known per node.
struct port_info_t {
    zul::String text;
    uint32_t nodeCount = 0;
    zul::Array<uint64_t> nodeGuids;
};

// The largest Configuration ROM a node can have: 256 quadlets.
constexpr unsigned MaxRomSize = 1024;

// Reads one node's Configuration ROM, bytes in ROM (bus) order. A bus derives from it.
class ROMBUS_API ConfigROMAccessor {
public:
    ConfigROMAccessor(unsigned port, uint64_t guid, bool accessible);
    virtual ~ConfigROMAccessor();
    ConfigROMAccessor(const ConfigROMAccessor&) = delete;
    ConfigROMAccessor& operator=(const ConfigROMAccessor&) = delete;

    bool isAccessible() const { return accessible_; }
    // The node's unique id. Every entry object of a node asks for it once, when it is made.
    virtual uint64_t getGuid() const { return guid_; }
    unsigned getPort() const { return port_; }

    // Reads exactly length bytes at a ROM offset; false when any of them cannot be read.
    bool readStructure(unsigned offset, void* buffer, unsigned length);
    // Reads up to length bytes at a ROM offset and answers how many were read.
    virtual unsigned readBlock(unsigned offset, unsigned length, void* buffer);
    // Lists the ports of the machine in port-index order; false when they cannot be listed.
    virtual bool getPortInfo(zul::Array<port_info_t>& ports);

    // Number of accessors alive in the process.
    static size_t liveCount();

private:
    unsigned port_;
    uint64_t guid_;
    bool accessible_;
};

using AccessorHandle = zul::SharedResource<zul::PointerStorage<ConfigROMAccessor, 0, 3>, 0>;

// A source of ROM accessors: the machine's buses, a set of image files, or memory.
class ROMBUS_API Bus {
public:
    virtual ~Bus() = default;
    // The accessor for a node id on a port, for a port (node id 0) or for the port list
    // (port FFFFFFFFh). Never null: an unknown node gives an accessor that is not accessible.
    virtual ConfigROMAccessor* createAccessor(unsigned port, unsigned nodeId) = 0;
};

// What a node's reading ran out of: reads, entries made from its ROM, or vendor lookups.
enum class Budget { Reads, Entries, Lookups };

// A node whose reading ran out of its budget.
struct exhausted_node_t {
    unsigned port;
    unsigned nodeId;
    Budget spent;
};

// Hands out the installed bus's accessors. Like a real bus with its transaction limits, it bounds
// what one node's reading may cost, so that no ROM, however its blocks refer to each other, can
// keep a reader busy or fill the machine with devices:
// - reads: every accessor may make a fixed number of reads;
// - entries: every entry object of a node is made from the node's accessor and asks it for the
//   node's GUID when it is made, before it makes its device, so the accessor counts the entries
//   of the node. A ROM of 256 quadlets whose directories are each reached once holds at most 251
//   entries, so the default of 256 reads every such ROM in full;
// - lookups: every reading of the module's IEEEVendorRegistryFile parameter, which comes just
//   before the registry is read through for a vendor or specifier id, is charged to the node whose
//   accessor was handed out last. A device names a handful of such ids, and a ROM of 256 quadlets
//   can hold some 250; the default of 64 reads every ROM a device could ship whole, and keeps a
//   ROM of hundreds of ids from reading the whole registry hundreds of times.
// Once any is spent, the accessor's reads fail and the framework refuses entry devices (class
// Firmware) until the next accessor is handed out: the entries still made from the block in hand
// publish nothing and look no vendor up.
class ROMBUS_API ConfigROMContext {
public:
    static constexpr unsigned AllPorts = 0xFFFFFFFFu;
    static constexpr uint64_t DefaultReadBudget = 65536;
    static constexpr uint64_t DefaultEntryBudget = MaxRomSize / 4;
    static constexpr uint64_t DefaultLookupBudget = 64;
    // The parameter whose every reading is a vendor lookup.
    static constexpr const char* RegistryParameter = "IEEEVendorRegistryFile";

    // The accessor of the installed bus; without a bus, an accessor that reads nothing.
    static AccessorHandle getConfigROMAccessor(unsigned port, unsigned nodeId, bool flag);
    static void installBus(std::shared_ptr<Bus> bus);
    static std::shared_ptr<Bus> installedBus();

    // The reads each accessor handed out from now on may make.
    static void setReadBudget(uint64_t reads);
    static uint64_t readBudget();
    // The entries each node's accessor handed out from now on may count.
    static void setEntryBudget(uint64_t entries);
    static uint64_t entryBudget();
    // The vendor lookups each node may make from now on.
    static void setLookupBudget(uint64_t lookups);
    static uint64_t lookupBudget();
    // The limit of a budget.
    static uint64_t budgetOf(Budget budget);
    // Charges one vendor lookup to the node whose accessor was handed out last.
    static void chargeLookup();
    // The nodes whose accessors ran out of budget, in the order they did, until cleared.
    static const std::vector<exhausted_node_t>& exhaustedNodes();
    static void clearExhaustedNodes();
};

} // namespace lib1394

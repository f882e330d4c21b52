#include "libRombus/csr/Directory.h"

#include "libRombus/Declarations.h"
#include "libRombus/Lib1394Util.h"
#include "libRombus/Log.h"
#include "libRombus/csr/DescriptorLeaf.h"
#include "libRombus/csr/Immediate.h"
#include "zul/Buffer.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace libRombus {
namespace {

LoggerSlot logger{"libRombus.csr.Directory"};

const char* const sourceFile = "csr/Directory";

enum KeyType : unsigned { ImmediateKey = 0, CsrOffsetKey = 1, LeafKey = 2, DirectoryKey = 3 };
enum KeyTypeBit : uint32_t { ImmediateBit = 0x1, CsrOffsetBit = 0x2, LeafBit = 0x4, DirBit = 0x8 };

constexpr unsigned DescriptorKeyId = 0x01;
constexpr unsigned LastRuledKeyId = 0x20;
constexpr uint32_t NoKey = 0xFF;

// Which key types of a key id a directory of each kind may hold.
struct PermittedEntry {
    uint32_t keyId;
    uint32_t typeMask;
    uint32_t kindMask;
};

const PermittedEntry permittedEntries[LastRuledKeyId + 1] = {
    {NoKey, 0, KindNone},                                            // 00 Root
    {0x01, LeafBit | DirBit, KindAny},                               // 01 Descriptor
    {0x02, ImmediateBit | LeafBit | DirBit, KindRoot},               // 02 Bus Dependent Info
    {0x03, ImmediateBit | LeafBit | DirBit, KindAny},                // 03 Vendor
    {0x04, ImmediateBit, KindAny},                                   // 04 Hardware Version
    {NoKey, 0, KindNone},                                            // 05
    {NoKey, 0, KindNone},                                            // 06
    {0x07, LeafBit | DirBit, KindRoot},                              // 07 Module
    {NoKey, 0, KindNone},                                            // 08
    {NoKey, 0, KindNone},                                            // 09
    {NoKey, 0, KindNone},                                            // 0A
    {NoKey, 0, KindNone},                                            // 0B
    {0x0C, ImmediateBit, KindRoot},                                  // 0C Node Capabilities
    {0x0D, LeafBit, KindAny},                                        // 0D EUI 64
    {NoKey, 0, KindNone},                                            // 0E
    {NoKey, 0, KindNone},                                            // 0F
    {NoKey, 0, KindNone},                                            // 10
    {0x11, DirBit, KindRoot | KindInstance},                         // 11 Unit
    {0x12, ImmediateBit, KindAny},                                   // 12 Specifier ID
    {0x13, ImmediateBit, KindAny},                                   // 13 Version
    {0x14, ImmediateBit | CsrOffsetBit | LeafBit | DirBit, KindAny}, // 14 Dependent Info
    {0x15, LeafBit, KindUnit},                                       // 15 Unit Location
    {NoKey, 0, KindNone},                                            // 16
    {0x17, ImmediateBit, KindAny},                                   // 17 Model
    {0x18, DirBit, KindRoot | KindInstance},                         // 18 Instance
    {0x19, LeafBit, KindRoot | KindInstance},                        // 19 Keyword
    {0x1A, DirBit, KindUnit | KindInstance},                         // 1A Feature
    {0x1B, LeafBit, KindRoot},                                       // 1B Extended ROM
    {0x1C, ImmediateBit, KindAny},                                   // 1C Ext. Key Specifier
    {0x1D, ImmediateBit, KindAny},                                   // 1D Extended Key
    {0x1E, ImmediateBit | CsrOffsetBit | LeafBit | DirBit, KindAny}, // 1E Extended Data
    {0x1F, LeafBit, KindAny},                                        // 1F Modifiable Descr.
    {0x20, LeafBit, KindInstance},                                   // 20 Directory Id
};

// The immediate entries (whole key bytes) a directory of a kind must hold.
struct RequiredEntries {
    uint32_t kind;
    uint8_t keys[2];
    unsigned count;
};

const RequiredEntries requiredEntries[] = {
    {KindRoot, {0x03, 0x00}, 1},
    {KindUnit, {0x12, 0x13}, 2},
    {KindFeature, {0x12, 0x13}, 2},
};

// The kind of directory each directory key id points at.
struct KindOfKey {
    unsigned keyId;
    uint32_t kind;
};

const KindOfKey directoryKinds[] = {
    {0x11, KindUnit},
    {0x18, KindInstance},
    {0x1A, KindFeature},
    {0x01, KindDescriptor},
    {0x02, KindBusDependentInformation},
    {0x03, KindVendor},
    {0x07, KindModule},
    {0x14, KindDependentInformation},
    {0x1E, KindExtendedData},
};

std::vector<uint8_t> requiredKeysOf(uint32_t kind) {
    for (const RequiredEntries& row : requiredEntries)
        if (row.kind == kind)
            return std::vector<uint8_t>(row.keys, row.keys + row.count);
    return {};
}

void removeFirst(std::vector<uint8_t>& keys, uint8_t key) {
    auto found = std::find(keys.begin(), keys.end(), key);
    if (found != keys.end())
        keys.erase(found);
}

bool isPermitted(uint32_t keyId, unsigned type, uint32_t kind) {
    for (const PermittedEntry& row : permittedEntries)
        if (row.keyId == keyId && (row.typeMask >> type & 1) && (row.kindMask & kind))
            return true;
    return false;
}

} // namespace

uint32_t Directory::kindOfKeyId(unsigned keyId) {
    for (const KindOfKey& row : directoryKinds)
        if (row.keyId == keyId)
            return row.kind;
    return KindNone;
}

bool Directory::parse(bool checkCRC) {
    if (checkCRC && !verifyCRC()) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "Directory::parse - CRC check failed, exiting");
        return false;
    }
    publishDevice();
    return parseBody(checkCRC);
}

bool Directory::parseBody(bool checkCRC) {
    unsigned char header[4];
    if (!accessor->readStructure(offset, header, sizeof header))
        return false;
    unsigned length = ((header[0] << 8) | header[1]) * 4u;
    if (length == 0) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "Malformed directory, length == 0");
        return false;
    }
    zul::Buffer<unsigned char> body(length);
    if (accessor->readBlock(offset + 4, length, body.data()) != length) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "unable to read directory body");
        return false;
    }
    std::vector<uint8_t> required = requiredKeysOf(kind);
    bool ok = true;
    for (unsigned at = 0; at < length; at += 4) {
        lib1394::cr_key_value_t entry;
        std::copy_n(body.data() + at, sizeof entry, reinterpret_cast<unsigned char*>(&entry));
        removeFirst(required, entry.key);
        if (ok)
            ok = verifyEntry(entry);
        ok = parseEntry(offset + 4 + at, entry, checkCRC, ok) && ok;
    }
    for (uint8_t key : required)
        reportEntry(declared.RequiredDirectoryEntryNotFound, {key, {0, 0, 0}}, __LINE__);
    return ok && required.empty();
}

// Makes the entry's child, if it has one, parses it when parseIt is set and takes its records.
// False only when a parsed child failed.
bool Directory::parseEntry(unsigned entryOffset, const lib1394::cr_key_value_t& entry,
                           bool checkCRC, bool parseIt) {
    std::unique_ptr<Entry> child;
    unsigned keyId = entry.key & 0x3Fu;
    switch (entry.key >> 6) {
    case ImmediateKey:
        child = std::make_unique<Immediate>(entryOffset, entry, accessor, device.copy());
        break;
    case LeafKey:
        if (keyId == DescriptorKeyId)
            child = std::make_unique<DescriptorLeaf>(entryOffset, entry, accessor, device.copy());
        else
            child = std::make_unique<Leaf>(entryOffset, entry, accessor, device.copy());
        break;
    case DirectoryKey:
        if (uint32_t childKind = kindOfKeyId(keyId)) {
            auto directory =
                std::make_unique<Directory>(entryOffset, entry, accessor, device.copy());
            directory->setKind(childKind);
            child = std::move(directory);
        }
        break;
    }
    if (!child)
        return true;
    bool ok = !parseIt || child->parse(checkCRC);
    appendMessages(messages, child->getMessages());
    return ok;
}

bool Directory::verifyEntry(const lib1394::cr_key_value_t& entry) {
    unsigned keyId = entry.key & 0x3Fu;
    unsigned type = entry.key >> 6;
    if (keyId > LastRuledKeyId) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "For \"", getName(),
                   "\" : Entry to verify is vendor or directory specific - type ", hex(type),
                   " - key : ", hex(keyId), "; not being verified at this time...");
        return true;
    }
    if (isPermitted(keyId, type, kind))
        return true;
    reportEntry(declared.DirectoryEntryNotPermitted, entry, __LINE__);
    return false;
}

// Records a problem with an entry of this directory, naming the entry and the directory, and
// raises it when this directory has no device to carry it.
void Directory::reportEntry(const Problem& problem, const lib1394::cr_key_value_t& entry,
                            int line) {
    lib1394_log record(problem.message, LevelError);
    setEventVariable(problem.event, record, "entry_type", Lib1394Util::getEntryString(entry));
    setEventVariable(problem.event, record, "dir_name", getHwLocator());
    raiseLog(problem.event, record, device.get(), sourceFile, line);
    messages.append(record);
}

} // namespace libRombus

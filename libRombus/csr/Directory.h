#pragma once

#include "libRombus/Declarations.h"
#include "libRombus/csr/Node.h"

namespace libRombus {

// The kinds of directory, one bit each, as the entry rules name them.
enum DirectoryKind : uint32_t {
    KindNone = 0x000,
    KindRoot = 0x001,
    KindUnit = 0x002,
    KindInstance = 0x004,
    KindFeature = 0x008,
    KindDescriptor = 0x010,
    KindBusDependentInformation = 0x020,
    KindVendor = 0x040,
    KindModule = 0x080,
    KindDependentInformation = 0x100,
    KindExtendedData = 0x200,
    KindAny = 0xFFF,
};

// A directory: checks its entries against the rules of its kind and parses each of them.
class Directory : public Node {
public:
    using Node::Node;

    void setKind(uint32_t directoryKind) { kind = directoryKind; }
    uint32_t getKind() const { return kind; }

    bool parse(bool checkCRC) override;
    bool parseBody(bool checkCRC);
    bool verifyEntry(const lib1394::cr_key_value_t& entry);

    // The kind of directory an entry of this key id points at; KindNone when it makes none.
    static uint32_t kindOfKeyId(unsigned keyId);

private:
    bool parseEntry(unsigned entryOffset, const lib1394::cr_key_value_t& entry, bool checkCRC,
                    bool parseIt);
    void reportEntry(const Problem& problem, const lib1394::cr_key_value_t& entry, int line);

    uint32_t kind = KindNone;
};

} // namespace libRombus

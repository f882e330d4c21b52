#include "inspect/verdicts/Explanations.h"

#include "inspect/io/Format.h"
#include "inspect/rom/Names.h"
#include "inspect/rom/Records.h"
#include "inspect/verdicts/EntryMeanings.h"

#include <cstdlib>
#include <map>

namespace rombus {
namespace {

using decode::DecodedRom;
using decode::RomBlock;
using decode::RomEntry;

constexpr uint32_t BusNameOffset = 4;
// The block kinds as JSON names them, in the order of decode::BlockKind.
const char* const blockIds[] = {"bus-info", "directory", "leaf"};

std::string variable(const libRombus::lib1394_log& record, const char* name) {
    if (record.message.isEmpty())
        return std::string();
    const vesk5::Value* value = record.message->variables().find(name);
    return value ? value->text().str() : std::string();
}

const RomBlock* blockAt(const DecodedRom& decoded, uint32_t offset) {
    for (const RomBlock& block : decoded.blocks)
        if (block.offset == offset)
            return &block;
    return nullptr;
}

// The entries of the directory whose header is at an offset, if the decoder reached it.
const std::vector<RomEntry>* directoryAt(const std::vector<RomEntry>& entries, uint32_t offset) {
    for (const RomEntry& entry : entries) {
        if (entry.target == offset && !entry.repeated)
            return &entry.children;
        if (const auto* found = directoryAt(entry.children, offset))
            return found;
    }
    return nullptr;
}

// The causes every wrong CRC of the ROM shares, when there are two or more of them.
std::vector<std::string> sharedCauses(const DecodedRom& decoded) {
    std::vector<std::string> shared;
    size_t wrong = 0;
    for (const RomBlock& block : decoded.blocks) {
        if (!block.complete() || block.crcOk())
            continue;
        const CrcCause cause = crcCauseOf(decoded, block);
        if (!cause.known() || (wrong > 0 && cause.ids != shared))
            return {};
        shared = cause.ids;
        ++wrong;
    }
    return wrong >= 2 ? shared : std::vector<std::string>();
}

Explanation crcExplanation(const DecodedRom& decoded, const libRombus::lib1394_log& record,
                           const std::vector<std::string>& shared) {
    Explanation out;
    out.kind = "crc";
    const auto offset = concernedOffset(record);
    const RomBlock* block = offset ? blockAt(decoded, *offset) : nullptr;
    if (!block) {
        out.note = "the ROM holds no block at the offset the record names";
        return out;
    }
    out.offset = block->offset;
    out.block = blockIds[static_cast<int>(block->kind)];
    out.storedCrc = block->storedCrc;
    out.correctCrc = block->crc;
    out.note = format("%s at %Xh stores CRC %04Xh; its CRC is %04Xh", blockName(*block),
                      block->offset, block->storedCrc, block->crc);
    if (!block->complete()) {
        out.note += format(" over the %u of its %u quadlets the ROM holds", block->available,
                           block->declared);
        return out;
    }
    out.fix = fixedHeader(decoded, *block);
    out.note += format(": store %08Xh at %Xh", *out.fix, block->offset);
    const CrcCause cause = crcCauseOf(decoded, *block);
    out.causes = cause.ids;
    out.causeOfEveryBadCrc = cause.known() && cause.ids == shared;
    if (out.causeOfEveryBadCrc)
        out.note += ".";
    else
        out.note += ". " + (cause.known() ? "Cause: " + cause.text : "No known cause") + ".";
    return out;
}

// The key of an entry name as the module writes it ("Immediate - Unknown" stands for several).
std::vector<uint8_t> keysNamed(const std::string& name) {
    std::vector<uint8_t> keys;
    for (unsigned key = 0; key < 256; ++key)
        if (entryName(static_cast<uint8_t>(key)) == name)
            keys.push_back(static_cast<uint8_t>(key));
    return keys;
}

// The nth entry of a directory that has the module's name.
const RomEntry* entryNamed(const std::vector<RomEntry>& entries, const std::string& name,
                           size_t nth) {
    for (const RomEntry& entry : entries)
        if (entryName(entry.key) == name && nth-- == 0)
            return &entry;
    return nullptr;
}

void explainKey(const DecodedRom& decoded, uint32_t directory, uint8_t key, Explanation& out) {
    if (const auto meaning = architectureMeaning(decoded, directory, key)) {
        out.definedBy = meaning->architecture;
        out.note += ". The unit's architecture, " + meaning->architecture +
                    ", defines it: " + meaning->name +
                    "; the module's rules are IEEE 1212's, which do not know the unit's own "
                    "entries";
    }
    const std::string former = formerMeaning(key);
    if (!former.empty())
        out.note += format(". Key %02Xh was ", key) + former;
    out.note += ".";
}

Explanation entryExplanation(const DecodedRom& decoded, const libRombus::lib1394_log& record,
                             size_t earlier) {
    Explanation out;
    out.kind = "entry";
    const std::string name = variable(record, "entry_type");
    const auto directory = recordOffset(record, "dir_name");
    const std::vector<uint8_t> keys = keysNamed(name);
    if (!directory) {
        out.note = "the record names no directory of the ROM";
        return out;
    }
    const std::vector<RomEntry>* entries = *directory == decode::RootDirectoryOffset
                                               ? &decoded.root
                                               : directoryAt(decoded.root, *directory);
    const RomEntry* entry = entries ? entryNamed(*entries, name, earlier) : nullptr;
    if (recordId(record) == "RequiredDirectoryEntryNotFound" || !entry) {
        out.offset = *directory;
        if (keys.size() == 1)
            out.key = keys[0];
        out.note = format("the directory at %Xh has no \"%s\" entry", *directory, name.c_str()) +
                   (keys.size() == 1 ? format(" (key %02Xh)", keys[0]) : std::string());
        out.note += ".";
        return out;
    }
    out.offset = entry->offset;
    out.key = entry->key;
    out.note = format("the entry at %Xh, key %02Xh (%s), in the directory at %Xh", entry->offset,
                      entry->key, name.c_str(), *directory);
    explainKey(decoded, *directory, entry->key, out);
    return out;
}

std::string quadletText(uint32_t quadlet) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char c = static_cast<char>(quadlet >> shift);
        text += c >= 0x20 && c < 0x7F ? c : '.';
    }
    return text;
}

// "; info_length 1 makes it a minimal ROM..." for a ROM whose first byte says so, else empty.
std::string minimalRomText(const DecodedRom& decoded) {
    return !decoded.rom.empty() && decoded.rom[0] == 1
               ? "; info_length 1 makes it a minimal ROM, whose only quadlet is its vendor id"
               : std::string();
}

Explanation signatureExplanation(const DecodedRom& decoded) {
    Explanation out;
    out.kind = "signature";
    out.offset = BusNameOffset;
    const auto name = decode::quadletAt(decoded.rom, BusNameOffset);
    out.note = name ? format("quadlet 1 holds %08Xh (\"%s\"); every IEEE 1394 ROM holds "
                             "31333934h (\"1394\") there, after the bus information block's "
                             "first quadlet",
                             *name, quadletText(*name).c_str())
                    : std::string("the ROM does not hold quadlet 1");
    out.note += minimalRomText(decoded) + ".";
    return out;
}

Explanation readExplanation(const DecodedRom& decoded, const libRombus::lib1394_log& record,
                            bool kernelCopy) {
    Explanation out;
    out.kind = "read";
    out.offset = recordOffset(record, "offset");
    const unsigned long length = std::strtoul(variable(record, "length").c_str(), nullptr, 10);
    const uint64_t end = uint64_t{out.offset.value_or(0)} + length;
    out.note = format("the module read %lu bytes at %Xh, up to byte %llXh; the ROM holds %zu bytes "
                      "(%u %s)",
                      length, out.offset.value_or(0), static_cast<unsigned long long>(end),
                      decoded.rom.size(), decoded.quadlets(),
                      decoded.quadlets() == 1 ? "quadlet" : "quadlets") +
               minimalRomText(decoded);
    if (!decoded.blocks.empty() && out.offset == 4u)
        out.note += format(", its bus information block's crc_length %u asking for quadlets 1 "
                           "to %u",
                           decoded.blocks[0].declared, decoded.blocks[0].declared);
    if (kernelCopy && end > decoded.rom.size())
        out.note += format(". The kernel's copy ends at quadlet %u; the device's own ROM may hold "
                           "the rest",
                           decoded.quadlets() > 0 ? decoded.quadlets() - 1 : 0);
    out.note += ".";
    return out;
}

} // namespace

std::vector<Explanation> explainRecords(const DecodedRom& decoded,
                                        const libRombus::Messages& records, bool kernelCopy) {
    const std::vector<std::string> shared = sharedCauses(decoded);
    std::map<std::string, size_t> seen; // entry records by directory and entry name
    std::vector<Explanation> out;
    for (const auto& record : records) {
        const std::string id = recordId(record);
        if (id == "CRCCheckFailed") {
            out.push_back(crcExplanation(decoded, record, shared));
        } else if (id == "DirectoryEntryNotPermitted" || id == "RequiredDirectoryEntryNotFound") {
            const std::string place =
                id + variable(record, "dir_name") + "|" + variable(record, "entry_type");
            out.push_back(entryExplanation(decoded, record, seen[place]++));
        } else if (id == "SignatureCheckFailed") {
            out.push_back(signatureExplanation(decoded));
        } else if (id == "ReadFailed") {
            out.push_back(readExplanation(decoded, record, kernelCopy));
        } else {
            Explanation other;
            other.kind = "other";
            out.push_back(other);
        }
    }
    return out;
}

std::string sharedCrcCause(const DecodedRom& decoded) {
    const std::vector<std::string> shared = sharedCauses(decoded);
    if (shared.empty())
        return std::string();
    for (const RomBlock& block : decoded.blocks)
        if (block.complete() && !block.crcOk())
            return "Every wrong CRC of this ROM has one cause: " + crcCauseOf(decoded, block).text +
                   ".";
    return std::string();
}

bool stoppedAtBusInfo(const libRombus::Messages& records) {
    for (const auto& record : records) {
        const std::string id = recordId(record);
        const auto offset = recordOffset(record, "offset");
        if (id == "SignatureCheckFailed" ||
            (id == "ReadFailed" && offset && *offset < decode::RootDirectoryOffset) ||
            (id == "CRCCheckFailed" && offset == BusNameOffset &&
             record.level >= libRombus::LevelError))
            return true;
    }
    return false;
}

bool isKernelCopy(const lib1394::RomNode& node) {
    const std::string& label = node.label;
    return label.size() > 2 && label.compare(0, 2, "fw") == 0 &&
           label.find_first_not_of("0123456789", 2) == std::string::npos;
}

} // namespace rombus

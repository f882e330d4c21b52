#include "inspect/lifecycle/RomDescription.h"

#include "inspect/io/Format.h"
#include "inspect/rom/KeyNames.h"
#include "inspect/rom/Names.h"

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <map>
#include <optional>
#include <stdexcept>

namespace rombus {
namespace {

using decode::RomEntry;

constexpr unsigned ImmediateType = 0, CsrOffsetType = 1, LeafType = 2, DirectoryType = 3;
constexpr uint32_t BusInfoQuadlets = 5;
constexpr uint32_t InfoLength = 4;
constexpr uint32_t MinimalInfoLength = 1;
constexpr uint32_t MaxValue = 0xFFFFFF;
constexpr uint32_t MaxQuadlets = 256;
constexpr uint32_t MaxRomBytes = 4 * MaxQuadlets;

// The fields of the bus options quadlet: name, lowest bit, width.
struct BusField {
    const char* name;
    unsigned shift, width;
};
constexpr BusField busFields[] = {
    {"irmc", 31, 1},      {"cmc", 30, 1},         {"isc", 29, 1},     {"bmc", 28, 1},
    {"pmc", 27, 1},       {"cyc_clk_acc", 16, 8}, {"max_rec", 12, 4}, {"max_rom", 8, 2},
    {"generation", 4, 4}, {"link_spd", 0, 3},
};
// The bits of the bus options that no field holds, set only by "reserved".
constexpr uint32_t ReservedBusOptions = 0x07000C08;
constexpr uint32_t BusName1394 = 0x31333934;

// ---- building

// An error at a place of the description.
struct DescriptionError : std::runtime_error {
    DescriptionError(const YAML::Node& node, const std::string& what)
        : std::runtime_error(format("line %d: ", node.Mark().line + 1) + what) {}
};

uint64_t numberOf(const YAML::Node& node, uint64_t max, const std::string& what) {
    if (!node.IsScalar())
        throw DescriptionError(node, what + " must be a number");
    const std::string text = node.Scalar();
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    size_t end = 0;
    uint64_t value = 0;
    try {
        value = std::stoull(text.substr(hex ? 2 : 0), &end, hex ? 16 : 10);
    } catch (const std::exception&) {
        end = std::string::npos;
    }
    if (text.empty() || text[0] == '-' || end != text.size() - (hex ? 2 : 0))
        throw DescriptionError(node, what + ": \"" + text + "\" is not a number");
    if (value > max)
        throw DescriptionError(node, what + format(": %s is more than %llXh", text.c_str(),
                                                   static_cast<unsigned long long>(max)));
    return value;
}

// A textual descriptor in minimal ASCII: the two quadlets of zeros, then the text padded with
// zero bytes to a whole quadlet.
std::vector<uint32_t> textLeaf(const std::string& text) {
    std::vector<uint32_t> body = {0, 0};
    for (size_t i = 0; i < text.size(); i += 4) {
        uint32_t quadlet = 0;
        for (size_t j = 0; j < 4; ++j)
            quadlet = quadlet << 8 | (i + j < text.size() ? static_cast<uint8_t>(text[i + j]) : 0);
        body.push_back(quadlet);
    }
    return body;
}

// An entry of the description: its key and value, a leaf's quadlets or a directory's entries.
struct Entry {
    uint8_t key = 0;
    uint32_t value = 0;
    std::vector<uint32_t> leaf;
    std::vector<Entry> children;
    std::optional<uint16_t> crc; // a block's CRC as given, in place of the one computed
    std::optional<uint32_t> at;  // a block's ROM offset as given, in place of the next free one
    std::optional<uint32_t> raw; // a leaf or directory entry's value as given: no block of its own
    int line = 0;

    unsigned type() const { return key >> 6; }
    uint32_t blockLength() const {
        return static_cast<uint32_t>(type() == DirectoryType ? children.size() : leaf.size());
    }
};

// The quadlets the entries read so far take: a ROM holds 256 at most, so that neither aliases
// that refer to themselves nor directories nested without end can take the reader further.
struct Budget {
    size_t spent = 0;

    void spend(const YAML::Node& node, size_t quadlets) {
        spent += quadlets;
        if (spent > MaxQuadlets)
            throw DescriptionError(node, "the ROM would hold more than 256 quadlets");
    }
};

std::vector<Entry> entriesOf(const YAML::Node& list, Budget& budget);

std::vector<uint32_t> leafOf(const YAML::Node& value) {
    if (value.IsScalar())
        return textLeaf(value.Scalar());
    if (!value.IsSequence())
        throw DescriptionError(value, "a leaf is a text or a list of quadlets");
    if (value.size() > MaxQuadlets)
        throw DescriptionError(value, "the ROM would hold more than 256 quadlets");
    std::vector<uint32_t> body;
    for (const YAML::Node& quadlet : value)
        body.push_back(static_cast<uint32_t>(numberOf(quadlet, 0xFFFFFFFF, "a leaf quadlet")));
    return body;
}

std::optional<uint16_t> crcOf(const YAML::Node& node) {
    if (!node)
        return std::nullopt;
    return static_cast<uint16_t>(numberOf(node, 0xFFFF, "crc"));
}

// A block written out as a map: where it stands, its crc, and its entries, text or quadlets;
// or, as {value: N}, an entry that refers to a block described elsewhere or outside the ROM.
void blockOf(const YAML::Node& block, Entry& entry, Budget& budget) {
    for (const auto& item : block) {
        const std::string name = item.first.Scalar();
        if (name != "at" && name != "crc" && name != "entries" && name != "text" &&
            name != "quadlets" && name != "value")
            throw DescriptionError(
                item.first, "\"" + name + "\" is not at, crc, entries, text, quadlets or value");
    }
    if (block["value"]) {
        entry.raw = static_cast<uint32_t>(numberOf(block["value"], MaxValue, "value"));
        return;
    }
    if (block["at"])
        entry.at = static_cast<uint32_t>(numberOf(block["at"], MaxRomBytes - 4, "at"));
    if (entry.at && *entry.at % 4 != 0)
        throw DescriptionError(block["at"],
                               format("at %Xh is not the offset of a quadlet", *entry.at));
    entry.crc = crcOf(block["crc"]);
    if (entry.type() == DirectoryType)
        entry.children = entriesOf(
            block["entries"] ? block["entries"] : YAML::Node(YAML::NodeType::Sequence), budget);
    else
        entry.leaf = leafOf(block["text"]       ? block["text"]
                            : block["quadlets"] ? block["quadlets"]
                                                : YAML::Node(YAML::NodeType::Sequence));
}

// An entry is a map of one key to its value: "vendor: 0x00A02D".
Entry entryOf(const YAML::Node& node, Budget& budget) {
    if (!node.IsMap() || node.size() != 1)
        throw DescriptionError(node, "an entry is one key and its value, \"vendor: 0x00A02D\"");
    const auto item = *node.begin();
    const auto key = keyOfToken(item.first.Scalar());
    if (!key)
        throw DescriptionError(item.first, "\"" + item.first.Scalar() +
                                               "\" is neither a key name nor a key 0xKK");
    Entry entry;
    entry.key = *key;
    entry.line = node.Mark().line + 1;
    if (entry.type() >= LeafType && item.second.IsMap())
        blockOf(item.second, entry, budget);
    else if (entry.type() == DirectoryType)
        entry.children = entriesOf(item.second, budget);
    else if (entry.type() == LeafType)
        entry.leaf = leafOf(item.second);
    else
        entry.value = static_cast<uint32_t>(numberOf(item.second, MaxValue, keyToken(*key)));
    if (entry.type() == LeafType && !entry.raw)
        budget.spend(item.second, 1 + entry.leaf.size());
    return entry;
}

// A directory's entries, its header and entries spent from the budget as they are read.
std::vector<Entry> entriesOf(const YAML::Node& list, Budget& budget) {
    if (!list.IsSequence())
        throw DescriptionError(list, "a directory is a list of entries");
    budget.spend(list, 1);
    std::vector<Entry> entries;
    for (const YAML::Node& node : list) {
        budget.spend(node, 1);
        entries.push_back(entryOf(node, budget));
    }
    return entries;
}

// A block in the ROM being built: a directory's entries or a leaf's quadlets, at a quadlet.
struct Placed {
    const std::vector<Entry>* entries = nullptr;
    const std::vector<uint32_t>* leaf = nullptr;
    uint32_t at = 0;
    std::optional<uint16_t> crc;
};

class Builder {
public:
    explicit Builder(const YAML::Node& document) : document_(document) {}

    std::vector<uint32_t> build() {
        checkNames();
        if (const YAML::Node minimal = document_["minimal_vendor_id"])
            return {MinimalInfoLength << 24 |
                    static_cast<uint32_t>(numberOf(minimal, MaxValue, "minimal_vendor_id"))};
        rom_.assign(BusInfoQuadlets, 0);
        busInfo();
        if (!document_["root"])
            throw DescriptionError(document_, "the description has no root directory");
        Budget budget{BusInfoQuadlets};
        const std::vector<Entry> root = entriesOf(document_["root"], budget);
        layOut(root);
        uint32_t crcLength = InfoLength;
        const YAML::Node given = busInfoNode()["crc_length"];
        if (given)
            crcLength = static_cast<uint32_t>(numberOf(given, 0xFF, "crc_length"));
        // A CRC over quadlets the ROM does not hold cannot be computed, only given.
        const std::optional<uint16_t> crc = crcOf(busInfoNode()["crc"]);
        if (crcLength >= rom_.size() && !crc)
            throw DescriptionError(given, format("crc_length %u runs past the ROM's %zu quadlets",
                                                 crcLength, rom_.size()));
        rom_[0] = InfoLength << 24 | crcLength << 16 |
                  (crc ? *crc : decode::crc16({rom_.begin() + 1, rom_.begin() + 1 + crcLength}));
        return rom_;
    }

private:
    void checkNames() const {
        if (!document_.IsMap())
            throw DescriptionError(document_, "a description is a map of bus_info, guid and root");
        for (const auto& item : document_) {
            const std::string name = item.first.Scalar();
            if (name != "bus_info" && name != "guid" && name != "root" && name != "root_crc" &&
                name != "unreferenced" && name != "minimal_vendor_id")
                throw DescriptionError(item.first, "\"" + name +
                                                       "\" is not bus_info, guid, root, root_crc, "
                                                       "unreferenced or minimal_vendor_id");
        }
    }

    // The bus_info map, or an empty one when it is left out (every field 0, bus_name "1394").
    YAML::Node busInfoNode() const {
        const YAML::Node info = document_["bus_info"];
        if (info && !info.IsMap())
            throw DescriptionError(info, "bus_info is a map of fields, \"max_rec: 8\"");
        return info ? info : YAML::Node(YAML::NodeType::Map);
    }

    // The bus name: up to four characters, or its quadlet as a number ("0x31333934").
    static uint32_t busName(const YAML::Node& node) {
        const std::string name = node.Scalar();
        if (node.Tag() == "?" && name.rfind("0x", 0) == 0)
            return static_cast<uint32_t>(numberOf(node, 0xFFFFFFFF, "bus_name"));
        if (name.size() > 4)
            throw DescriptionError(node, "bus_name has at most 4 characters");
        uint32_t quadlet = 0;
        for (size_t i = 0; i < 4; ++i)
            quadlet = quadlet << 8 | (i < name.size() ? static_cast<uint8_t>(name[i]) : 0);
        return quadlet;
    }

    static uint32_t reservedBits(const YAML::Node& node) {
        const auto bits = static_cast<uint32_t>(numberOf(node, 0xFFFFFFFF, "reserved"));
        if (bits & ~ReservedBusOptions)
            throw DescriptionError(node, format("reserved: %08Xh holds bits of named fields; the "
                                                "reserved bits are %08Xh",
                                                bits, ReservedBusOptions));
        return bits;
    }

    void busInfo() {
        rom_[1] = BusName1394;
        uint32_t options = 0;
        for (const auto& item : busInfoNode()) {
            const std::string field = item.first.Scalar();
            if (field == "bus_name")
                rom_[1] = busName(item.second);
            if (field == "reserved")
                options |= reservedBits(item.second);
            if (field == "bus_name" || field == "reserved" || field == "crc_length" ||
                field == "crc")
                continue;
            const BusField* known = nullptr;
            for (const BusField& busField : busFields)
                if (field == busField.name)
                    known = &busField;
            if (!known)
                throw DescriptionError(item.first, "\"" + field + "\" is not a bus_info field");
            options |= static_cast<uint32_t>(numberOf(item.second, (1u << known->width) - 1, field))
                       << known->shift;
        }
        rom_[2] = options;
        if (!document_["guid"])
            throw DescriptionError(document_, "the description has no guid");
        const uint64_t guid = numberOf(document_["guid"], ~uint64_t{0}, "guid");
        rom_[3] = static_cast<uint32_t>(guid >> 32);
        rom_[4] = static_cast<uint32_t>(guid);
    }

    // Places the blocks breadth first, each where it is told or right after the furthest one
    // before, writes each, then the quadlets no entry reaches.
    void layOut(const std::vector<Entry>& root) {
        std::vector<Placed> blocks = {
            {&root, nullptr, BusInfoQuadlets, crcOf(document_["root_crc"])}};
        std::map<const Entry*, uint32_t> targets;
        uint32_t end = BusInfoQuadlets + 1 + static_cast<uint32_t>(root.size());
        for (size_t i = 0; i < blocks.size(); ++i) {
            if (!blocks[i].entries)
                continue;
            for (const Entry& entry : *blocks[i].entries) {
                if (entry.type() < LeafType || entry.raw)
                    continue;
                const uint32_t at = entry.at ? *entry.at / 4 : end;
                targets[&entry] = at;
                const bool directory = entry.type() == DirectoryType;
                blocks.push_back({directory ? &entry.children : nullptr,
                                  directory ? nullptr : &entry.leaf, at, entry.crc});
                end = std::max(end, at + 1 + entry.blockLength());
            }
        }
        const std::map<uint32_t, std::vector<uint32_t>> unreferenced = unreferencedQuadlets();
        for (const auto& [at, quadlets] : unreferenced)
            end = std::max(end, static_cast<uint32_t>(at + quadlets.size()));
        if (end > MaxQuadlets)
            throw DescriptionError(document_["root"],
                                   format("the ROM would hold %u quadlets, more than 256", end));
        rom_.resize(end);
        for (const Placed& block : blocks)
            write(block, targets);
        for (const auto& [at, quadlets] : unreferenced)
            std::copy(quadlets.begin(), quadlets.end(), rom_.begin() + at);
    }

    // The quadlets of "unreferenced", by the quadlet they begin at.
    std::map<uint32_t, std::vector<uint32_t>> unreferencedQuadlets() const {
        std::map<uint32_t, std::vector<uint32_t>> runs;
        const YAML::Node given = document_["unreferenced"];
        if (given && !given.IsMap())
            throw DescriptionError(given, "unreferenced is a map of offsets to lists of quadlets");
        for (const auto& item : given) {
            const auto at =
                static_cast<uint32_t>(numberOf(item.first, MaxRomBytes - 4, "an offset"));
            if (at % 4 != 0)
                throw DescriptionError(item.first,
                                       format("%Xh is not the offset of a quadlet", at));
            runs[at / 4] = leafOf(item.second);
        }
        return runs;
    }

    void write(const Placed& block, const std::map<const Entry*, uint32_t>& targets) {
        std::vector<uint32_t> body;
        if (block.leaf)
            body = *block.leaf;
        for (size_t i = 0; block.entries && i < block.entries->size(); ++i) {
            const Entry& entry = (*block.entries)[i];
            const uint32_t self = block.at + 1 + static_cast<uint32_t>(i);
            const uint32_t field = entry.raw                 ? *entry.raw
                                   : entry.type() < LeafType ? entry.value
                                                             : referenceTo(entry, targets, self);
            body.push_back(uint32_t{entry.key} << 24 | field);
        }
        rom_[block.at] =
            static_cast<uint32_t>(body.size()) << 16 | block.crc.value_or(decode::crc16(body));
        std::copy(body.begin(), body.end(), rom_.begin() + block.at + 1);
    }

    // An entry's value refers forward, in quadlets from the entry.
    static uint32_t referenceTo(const Entry& entry, const std::map<const Entry*, uint32_t>& targets,
                                uint32_t self) {
        const uint32_t target = targets.at(&entry);
        if (target <= self)
            throw std::runtime_error(format("line %d: the block at %Xh is not after its entry at "
                                            "%Xh; an entry refers only forward",
                                            entry.line, 4 * target, 4 * self));
        return target - self;
    }

    const YAML::Node& document_;
    std::vector<uint32_t> rom_;
};

// ---- describing

std::string quoted(const std::string& text) {
    YAML::Emitter out;
    out << YAML::DoubleQuoted << text;
    return out.c_str();
}

// Quadlets as a YAML list in hexadecimal, "[0x00000000, 0x4578616D]".
std::string quadletList(const std::vector<uint32_t>& quadlets) {
    std::string list = "[";
    for (size_t i = 0; i < quadlets.size(); ++i)
        list += format(i ? ", 0x%08X" : "0x%08X", quadlets[i]);
    return list + "]";
}

bool printable(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
}

class Describer {
public:
    // With explicitLayout, every block says where it stands.
    Describer(const decode::DecodedRom& rom, bool explicitLayout)
        : rom_(rom), explicitLayout_(explicitLayout) {
        for (const decode::RomBlock& block : rom.blocks)
            blocks_.emplace(block.offset, &block);
    }

    std::string text() {
        out_ = "# Configuration ROM: 'rombus build' makes the image, computing every offset,\n"
               "# length and CRC.\n";
        const uint32_t first = *decode::quadletAt(rom_.rom, 0);
        if (first >> 24 == MinimalInfoLength)
            return out_ + format("minimal_vendor_id: 0x%06X\n", first & MaxValue);
        busInfo(first);
        if (const std::string crc = wrongCrc(decode::RootDirectoryOffset); !crc.empty())
            out_ += "root_crc: " + crc + "\n";
        out_ += rom_.root.empty() ? "root: []\n" : "root:\n";
        entries(rom_.root, 2);
        unreferenced();
        return out_;
    }

private:
    void busInfo(uint32_t first) {
        out_ += "bus_info:\n";
        const std::string name(rom_.rom.begin() + 4,
                               rom_.rom.begin() + std::min<size_t>(8, rom_.rom.size()));
        out_ += "  bus_name: " +
                (printable(name) ? quoted(name)
                                 : format("0x%08X", decode::quadletAt(rom_.rom, 4).value_or(0))) +
                "\n";
        const uint32_t options = decode::quadletAt(rom_.rom, 8).value_or(0);
        for (const BusField& field : busFields)
            out_ += format("  %s: %u\n", field.name,
                           options >> field.shift & ((1u << field.width) - 1));
        if (options & ReservedBusOptions)
            out_ += format("  reserved: 0x%08X\n", options & ReservedBusOptions);
        if ((first >> 16 & 0xFF) != InfoLength)
            out_ += format("  crc_length: %u\n", first >> 16 & 0xFF);
        if (const std::string crc = wrongCrc(0); !crc.empty())
            out_ += "  crc: " + crc + "\n";
        out_ += format("guid: 0x%08X%08X\n", decode::quadletAt(rom_.rom, 12).value_or(0),
                       decode::quadletAt(rom_.rom, 16).value_or(0));
    }

    void entries(const std::vector<RomEntry>& list, size_t indent) {
        for (const RomEntry& entry : list) {
            const std::string token = keyToken(entry.key);
            const std::string pad(indent, ' ');
            out_ += pad + "- " + token + ":";
            if (entry.type() < LeafType) {
                out_ += format(" 0x%06X", entry.value) + comment(entry, token);
                continue;
            }
            const auto block =
                entry.target && !entry.repeated ? blocks_.find(*entry.target) : blocks_.end();
            if (block == blocks_.end()) {
                out_ += format(" {value: 0x%06X}", entry.value) + comment(entry, token);
                continue;
            }
            std::vector<std::string> attributes;
            if (explicitLayout_)
                attributes.push_back(format("at: 0x%X", block->second->offset));
            if (!block->second->crcOk())
                attributes.push_back(format("crc: 0x%04X", block->second->storedCrc));
            if (entry.type() == DirectoryType)
                directory(entry, token, attributes, indent);
            else
                leaf(entry, token, attributes);
        }
    }

    void directory(const RomEntry& entry, const std::string& token,
                   const std::vector<std::string>& attributes, size_t indent) {
        const std::string empty = entry.children.empty() ? " []" : "";
        if (attributes.empty()) {
            out_ += empty + comment(entry, token);
            entries(entry.children, indent + 4);
            return;
        }
        const std::string pad(indent + 4, ' ');
        out_ += comment(entry, token);
        for (const std::string& attribute : attributes)
            out_ += pad + attribute + "\n";
        out_ += pad + "entries:" + empty + "\n";
        entries(entry.children, indent + 6);
    }

    void leaf(const RomEntry& entry, const std::string& token,
              const std::vector<std::string>& attributes) {
        const std::string value = valueOf(entry);
        if (attributes.empty()) {
            out_ += " " + value + comment(entry, token);
            return;
        }
        out_ += " {";
        for (const std::string& attribute : attributes)
            out_ += attribute + ", ";
        out_ += (value[0] == '"' ? "text: " : "quadlets: ") + value + "}" + comment(entry, token);
    }

    // The quadlets no block holds, in runs: "unreferenced: {0x60: [...]}".
    void unreferenced() {
        std::vector<bool> held(rom_.quadlets(), false);
        const auto hold = [&held](uint32_t first, uint32_t count) {
            for (uint32_t q = first; q < first + count && q < held.size(); ++q)
                held[q] = true;
        };
        hold(0, BusInfoQuadlets);
        for (const decode::RomBlock& block : rom_.blocks)
            hold(block.offset / 4, 1 + block.available);
        std::string runs;
        for (uint32_t q = 0; q < held.size();) {
            if (held[q]) {
                ++q;
                continue;
            }
            std::vector<uint32_t> run;
            const uint32_t first = q;
            for (; q < held.size() && !held[q]; ++q)
                run.push_back(*decode::quadletAt(rom_.rom, 4 * q));
            runs += format("  0x%X: ", 4 * first) + quadletList(run) + "\n";
        }
        if (!runs.empty())
            out_ += "unreferenced:\n" + runs;
    }

    // The stored CRC of a block whose CRC is not right, with the right one in a comment; empty
    // for a right one.
    std::string wrongCrc(uint32_t offset) const {
        const auto block = blocks_.find(offset);
        if (block == blocks_.end() || block->second->crcOk())
            return {};
        return format("0x%04X", block->second->storedCrc) +
               (block->second->complete()
                    ? format("  # not the block's CRC, %04Xh", block->second->crc)
                    : std::string());
    }

    // A key without a name of its own is told by the module's name of it.
    static std::string comment(const RomEntry& entry, const std::string& token) {
        return token.rfind("0x", 0) == 0 ? "  # " + entryName(entry.key) + "\n" : "\n";
    }

    std::string valueOf(const RomEntry& entry) const {
        if (entry.type() == ImmediateType || entry.type() == CsrOffsetType)
            return format("0x%06X", entry.value);
        const std::vector<uint32_t> body = leafBody(*entry.target);
        if (entry.text && printable(*entry.text) && textLeaf(*entry.text) == body)
            return quoted(*entry.text);
        return quadletList(body);
    }

    std::vector<uint32_t> leafBody(uint32_t offset) const {
        std::vector<uint32_t> body;
        const uint32_t length = decode::quadletAt(rom_.rom, offset).value_or(0) >> 16;
        for (uint32_t i = 0; i < length; ++i)
            if (const auto quadlet = decode::quadletAt(rom_.rom, offset + 4 + 4 * i))
                body.push_back(*quadlet);
        return body;
    }

    const decode::DecodedRom& rom_;
    bool explicitLayout_;
    std::map<uint32_t, const decode::RomBlock*> blocks_;
    std::string out_;
};

// Why a ROM's description does not build it.
std::string whyNotFaithful(const decode::DecodedRom& rom, const std::vector<uint8_t>& built) {
    if (rom.rom.size() % 4 != 0)
        return format("its %zu bytes are not a whole number of quadlets", rom.rom.size());
    for (const decode::RomBlock& block : rom.blocks)
        if (!block.complete() && block.kind != decode::BlockKind::BusInfo)
            return format("the block at %Xh runs past the end of the ROM", block.offset);
    for (size_t at = 0; at + 4 <= std::min(built.size(), rom.rom.size()); at += 4)
        if (decode::quadletAt(built, at) != decode::quadletAt(rom.rom, at))
            return format("at %zXh it holds %08X where its description puts %08X (blocks that "
                          "overlap, or a bus information block of another length)",
                          at, *decode::quadletAt(rom.rom, at), *decode::quadletAt(built, at));
    return format("its description runs to %zXh, past its end", built.size());
}

} // namespace

std::vector<uint8_t> buildRom(const std::string& description, std::string& error) {
    std::vector<uint32_t> quadlets;
    try {
        const YAML::Node document = YAML::Load(description);
        quadlets = Builder(document).build();
    } catch (const YAML::Exception& failure) {
        error = format("line %d: ", failure.mark.line + 1) + failure.msg;
        return {};
    } catch (const std::runtime_error& failure) {
        error = failure.what();
        return {};
    }
    std::vector<uint8_t> rom;
    for (uint32_t quadlet : quadlets)
        for (int shift = 24; shift >= 0; shift -= 8)
            rom.push_back(static_cast<uint8_t>(quadlet >> shift));
    return rom;
}

std::string describeRom(const decode::DecodedRom& rom, std::string& refusal) {
    if (!decode::quadletAt(rom.rom, 0)) {
        refusal = "the ROM holds no quadlet";
        return {};
    }
    // In canonical layout if it is, else with every block where it stands.
    std::string error;
    std::vector<uint8_t> built;
    for (const bool explicitLayout : {false, true}) {
        const std::string text = Describer(rom, explicitLayout).text();
        error.clear();
        built = buildRom(text, error);
        if (built == rom.rom)
            return text;
    }
    refusal = "its description would not build the same bytes: " +
              (error.empty() ? whyNotFaithful(rom, built) : error);
    return {};
}

} // namespace rombus

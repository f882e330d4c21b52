#include "inspect/lifecycle/RomDescription.h"

#include "inspect/lifecycle/DescriptionEntries.h"
#include "inspect/lifecycle/DescriptionSize.h"

#include <algorithm>
#include <map>

namespace rombus {
namespace {

using namespace description;

// A block in the ROM being built: a directory's entries or a leaf's quadlets, at a quadlet.
struct Placed {
    const std::vector<Entry>* entries = nullptr;
    const std::vector<uint32_t>* leaf = nullptr;
    uint32_t at = 0;
    std::optional<uint16_t> crc;
    int line = 0; // of the entry that refers to it, or of root
};

// The line a node of the description stands on.
int lineOf(const YAML::Node& node) {
    return node.Mark().line + 1;
}

class DescriptionReader {
public:
    explicit DescriptionReader(const YAML::Node& document) : document_(document) {}

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
        checkKeys(document_,
                  {"bus_info", "guid", "root", "root_crc", "unreferenced", "minimal_vendor_id"},
                  "bus_info, guid, root, root_crc, unreferenced or minimal_vendor_id");
        if (document_["minimal_vendor_id"] && document_.size() != 1)
            throw DescriptionError(document_["minimal_vendor_id"],
                                   "a minimal ROM is its vendor alone: minimal_vendor_id stands "
                                   "alone");
    }

    // The bus_info map, or an empty one when it is left out (every field 0, bus_name "1394").
    YAML::Node busInfoNode() const {
        const YAML::Node info = document_["bus_info"];
        if (info && !info.IsMap())
            throw DescriptionError(info, "bus_info is a map of fields, \"max_rec: 8\"");
        if (info)
            checkKeys(info, busInfoNames(),
                      "a bus_info field: bus_name, the bus options, reserved, crc_length or crc");
        return info ? info : YAML::Node(YAML::NodeType::Map);
    }

    static std::vector<std::string> busInfoNames() {
        std::vector<std::string> names = {"bus_name", "reserved", "crc_length", "crc"};
        for (const BusField& field : busFields)
            names.push_back(field.name);
        return names;
    }

    // The bus name: up to four characters, or its quadlet as a number ("0x31333934").
    static uint32_t busName(const YAML::Node& node) {
        if (!node.IsScalar())
            throw DescriptionError(node, "bus_name is a text of up to 4 characters or a number");
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
        std::vector<Placed> blocks = {{&root, nullptr, BusInfoQuadlets,
                                       crcOf(document_["root_crc"]), lineOf(document_["root"])}};
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
                                  directory ? nullptr : &entry.leaf, at, entry.crc, entry.line});
                end = std::max(end, at + 1 + entry.blockLength());
            }
        }
        const std::map<uint32_t, Run> unreferenced = unreferencedQuadlets();
        for (const auto& [at, run] : unreferenced)
            end = std::max(end, static_cast<uint32_t>(at + run.quadlets.size()));
        if (end > MaxQuadlets)
            throw DescriptionError(document_["root"],
                                   format("the ROM would hold %u quadlets, more than 256", end));
        rom_.resize(end);
        writers_.assign(end, 0);
        std::fill(writers_.begin(), writers_.begin() + BusInfoQuadlets,
                  std::max(1, lineOf(busInfoNode())));
        for (const Placed& block : blocks)
            write(block, targets);
        for (const auto& [at, run] : unreferenced)
            for (size_t i = 0; i < run.quadlets.size(); ++i)
                put(at + static_cast<uint32_t>(i), run.quadlets[i], run.line);
    }

    // Puts a quadlet in the ROM for the given line. Two places of the description that put
    // different quadlets at one offset (blocks that overlap, a block over the bus information
    // block or the root directory, unreferenced quadlets over a block) cannot both be built:
    // refused. The bus information block's first quadlet, its CRC known only at the end, is
    // no other's.
    void put(uint32_t at, uint32_t quadlet, int line) {
        const bool clash = writers_[at] != 0 && (at == 0 || rom_[at] != quadlet);
        if (clash)
            throw std::runtime_error(format("line %d: puts %08X at %Xh, where line %d puts %s; "
                                            "what overlaps must agree",
                                            line, quadlet, 4 * at, writers_[at],
                                            at == 0 ? "the bus information block's first quadlet"
                                                    : format("%08X", rom_[at]).c_str()));
        rom_[at] = quadlet;
        writers_[at] = line;
    }

    // Quadlets no entry reaches, as "unreferenced" gives them from the line of their offset.
    struct Run {
        std::vector<uint32_t> quadlets;
        int line = 0;
    };

    // The quadlets of "unreferenced", by the quadlet they begin at.
    std::map<uint32_t, Run> unreferencedQuadlets() const {
        std::map<uint32_t, Run> runs;
        const YAML::Node given = document_["unreferenced"];
        if (given && !given.IsMap())
            throw DescriptionError(given, "unreferenced is a map of offsets to lists of quadlets");
        for (const auto& item : given) {
            const auto at =
                static_cast<uint32_t>(numberOf(item.first, MaxRomBytes - 4, "an offset"));
            if (at % 4 != 0)
                throw DescriptionError(item.first,
                                       format("%Xh is not the offset of a quadlet", at));
            if (!item.second.IsSequence())
                throw DescriptionError(item.second, "unreferenced quadlets are a list");
            const auto [run, added] =
                runs.emplace(at / 4, Run{leafOf(item.second), lineOf(item.first)});
            if (!added)
                throw DescriptionError(item.first, format("%Xh is given again; line %d gives it",
                                                          at, run->second.line));
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
        put(block.at,
            static_cast<uint32_t>(body.size()) << 16 | block.crc.value_or(decode::crc16(body)),
            block.line);
        for (size_t i = 0; i < body.size(); ++i)
            put(block.at + 1 + static_cast<uint32_t>(i), body[i], block.line);
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
    std::vector<int> writers_; // per quadlet, the line that put it; 0 for none
};

} // namespace

std::vector<uint8_t> buildRom(const std::string& description, std::string& error) {
    std::vector<uint32_t> quadlets;
    try {
        checkDescriptionSize(description);
        const YAML::Node document = YAML::Load(description);
        quadlets = DescriptionReader(document).build();
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

} // namespace rombus

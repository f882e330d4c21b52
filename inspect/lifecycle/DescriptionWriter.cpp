#include "inspect/lifecycle/RomDescription.h"

#include "inspect/io/Format.h"
#include "inspect/lifecycle/DescriptionFormat.h"
#include "inspect/rom/KeyNames.h"
#include "inspect/rom/Names.h"

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <map>

namespace rombus {
namespace {

using namespace description;
using decode::RomEntry;

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

class DescriptionWriter {
public:
    // With explicitLayout, every block says where it stands.
    DescriptionWriter(const decode::DecodedRom& rom, bool explicitLayout)
        : rom_(rom), explicitLayout_(explicitLayout) {
        for (const decode::RomBlock& block : rom.blocks)
            blocks_.emplace(block.offset, &block);
        // The bus information block holds its fields alone; the quadlets its CRC covers beyond
        // them are other blocks' or unreferenced.
        std::fill(held_.begin(), held_.begin() + std::min(held_.size(), size_t{BusInfoQuadlets}),
                  true);
    }

    std::string text() {
        out_ = "# Configuration ROM: 'rombus build' makes the image, computing every offset,\n"
               "# length and CRC.\n";
        const uint32_t first = *decode::quadletAt(rom_.rom, 0);
        if (first >> 24 == MinimalInfoLength)
            return out_ + format("minimal_vendor_id: 0x%06X\n", first & MaxValue);
        busInfo(first);
        if (const auto root = blocks_.find(decode::RootDirectoryOffset); root != blocks_.end())
            hold(*root->second);
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
            if (block == blocks_.end() || !hold(*block->second)) {
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

    // Takes the block's quadlets as described, unless a block described before holds one of
    // them: blocks that overlap are described once, the first written in full, the others by
    // their entry's value, so that no quadlet is described, counted or built twice.
    bool hold(const decode::RomBlock& block) {
        const auto first = held_.begin() + block.offset / 4;
        const auto last = first + 1 + block.available;
        if (std::find(first, last, true) != last)
            return false;
        std::fill(first, last, true);
        return true;
    }

    // The quadlets no block described holds, in runs: "unreferenced: {0x60: [...]}".
    void unreferenced() {
        std::string runs;
        for (uint32_t q = 0; q < held_.size();) {
            if (held_[q]) {
                ++q;
                continue;
            }
            std::vector<uint32_t> run;
            const uint32_t first = q;
            for (; q < held_.size() && !held_[q]; ++q)
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
    std::vector<bool> held_ = std::vector<bool>(rom_.quadlets(), false); // quadlets described
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

std::string describeRom(const decode::DecodedRom& rom, std::string& refusal) {
    if (!decode::quadletAt(rom.rom, 0)) {
        refusal = "the ROM holds no quadlet";
        return {};
    }
    // In canonical layout if it is, else with every block where it stands.
    std::string error;
    std::vector<uint8_t> built;
    for (const bool explicitLayout : {false, true}) {
        const std::string text = DescriptionWriter(rom, explicitLayout).text();
        error.clear();
        built = buildRom(text, error);
        if (built == rom.rom)
            return text;
    }
    // The description is the tool's own, never seen: its lines mean nothing to the user.
    const size_t lineEnd = error.rfind("line ", 0) == 0 ? error.find(": ") : std::string::npos;
    refusal = "its description would not build the same bytes: " +
              (error.empty()                  ? whyNotFaithful(rom, built)
               : lineEnd != std::string::npos ? error.substr(lineEnd + 2)
                                              : error);
    return {};
}

} // namespace rombus

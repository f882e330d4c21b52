#include "Dump.h"

#include "Text.h"
#include "inspect/model/Model.h"

#include <map>

namespace rombus {
namespace {

using decode::BlockKind;
using decode::RomBlock;
using decode::RomEntry;

constexpr uint64_t CsrBase = 0xFFFFF0000000ull;
// The CSR address of the ROM's first quadlet.
constexpr uint64_t RomBase = CsrBase + 0x400;
// "OOO  AAAAAAAAAAAA  VVVVVVVV  ": where the meaning begins.
constexpr size_t MeaningColumn = 29;
constexpr uint8_t Eui64KeyId = 0x0D;
constexpr uint8_t DescriptorKeyId = 0x01;
const char* const linkSpeeds[] = {"S100", "S200", "S400", "S800", "S1600", "S3200"};

std::string crcVerdict(const RomBlock& block) {
    std::string text = format("CRC %04Xh", block.storedCrc);
    if (!block.complete())
        return text + format(", not known: the ROM holds %u of %u quadlets", block.available,
                             block.declared);
    if (block.crcOk())
        return text + ": CRC ok";
    return text + format(": should be %04Xh", block.crc);
}

class Dumper {
public:
    Dumper(const NodeView& node, size_t width)
        : node_(node), decoded_(node.decoded), width_(width), devices_(node.devices),
          meanings_(decoded_.quadlets()) {
        describeBusInfo();
        for (const RomBlock& block : decoded_.blocks)
            if (block.kind != BlockKind::BusInfo)
                describeBlock(block);
        describeEntries(decoded_.root);
        for (const auto& [offset, text] : node.knowledge.meanings)
            if (offset / 4 < meanings_.size())
                set(offset, meanings_[offset / 4] + "; " + text);
        for (size_t i = 0; i < node.records.size(); ++i) {
            const auto& record = node.records[i];
            attach(concernedOffset(record),
                   std::string(levelName(record.level)) + ": " + recordText(record));
            if (i < node.explanations.size() && !node.explanations[i].note.empty())
                attach(node.explanations[i].offset ? node.explanations[i].offset
                                                   : concernedOffset(record),
                       "means: " + node.explanations[i].note);
        }
        if (!node.knowledge.crcCause.empty())
            unplaced_.push_back(node.knowledge.crcCause);
        for (const Advisory& advisory : node.advisories)
            attach(advisory.offset,
                   std::string(severityName(advisory.severity)) + ": " + advisory.text);
    }

    std::string text() const {
        std::string out;
        for (const std::string& note : unplaced_)
            out += wrapped(note, 2, MeaningColumn, width_);
        for (uint32_t q = 0; q < decoded_.quadlets(); ++q) {
            const uint32_t offset = 4 * q;
            const std::string head = format("%03X  %012llX  %08X  ", offset,
                                            static_cast<unsigned long long>(RomBase + offset),
                                            *decode::quadletAt(decoded_.rom, offset));
            const std::string meaning =
                meanings_[q].empty() ? "not reached from the root directory" : meanings_[q];
            out += wrapped(head + escaped(meaning, false), 0, MeaningColumn, width_);
            const auto notes = notes_.find(offset);
            if (notes != notes_.end())
                for (const std::string& note : notes->second)
                    out += wrapped("^ " + escaped(note, false), MeaningColumn - 2, MeaningColumn,
                                   width_);
        }
        return out;
    }

private:
    void set(uint32_t offset, const std::string& meaning) {
        if (offset / 4 < meanings_.size())
            meanings_[offset / 4] = meaning;
    }

    // A meaning of a block's quadlet: where blocks overlap, a quadlet keeps every one.
    void add(uint32_t offset, const std::string& meaning) {
        if (offset / 4 >= meanings_.size())
            return;
        std::string& kept = meanings_[offset / 4];
        kept = kept.empty() ? meaning : kept + "; also " + meaning;
    }

    void attach(std::optional<uint32_t> offset, const std::string& note) {
        if (offset && *offset / 4 < meanings_.size())
            notes_[*offset / 4 * 4].push_back(note);
        else
            unplaced_.push_back(note);
    }

    void describeBusInfo() {
        if (meanings_.empty())
            return;
        const uint32_t first = *decode::quadletAt(decoded_.rom, 0);
        if (decoded_.blocks.empty() || decoded_.blocks[0].kind != BlockKind::BusInfo) {
            set(0, format("minimal ROM: info_length %u, vendor_id %06Xh", first >> 24,
                          first & 0xFFFFFF));
            return;
        }
        const RomBlock& bus = decoded_.blocks[0];
        set(0, format("bus information block: info_length %u, crc_length %u (the ROM holds %u), ",
                      first >> 24, bus.declared, decoded_.quadlets() - 1) +
                   crcVerdict(bus));
        for (uint32_t q = 1; q <= (first >> 24) && q < decoded_.quadlets(); ++q)
            set(4 * q, "bus information block");
        describeBusName();
        describeBusOptions();
        if (const auto high = decode::quadletAt(decoded_.rom, 12))
            set(12,
                format("GUID: node_vendor_id %06Xh, chip_id_hi %02Xh", *high >> 8, *high & 0xFF));
        if (const auto low = decode::quadletAt(decoded_.rom, 16))
            set(16, format("GUID: chip_id_lo %08Xh", *low));
    }

    void describeBusName() {
        if (decoded_.rom.size() < 8)
            return;
        const std::string name(decoded_.rom.begin() + 4, decoded_.rom.begin() + 8);
        set(4, "bus_name \"" + name + "\"" + (name == "1394" ? "" : ", not \"1394\""));
    }

    void describeBusOptions() {
        const auto options = decode::busOptionsOf(decoded_.rom);
        if (!options)
            return;
        set(8, format("bus options: irmc %u cmc %u isc %u bmc %u pmc %u, cyc_clk_acc %u ppm, "
                      "max_rec %u (%u bytes), max_ROM %u, generation %u, link_spd %u (%s)",
                      options->irmc, options->cmc, options->isc, options->bmc, options->pmc,
                      options->cycClkAcc, options->maxRec, 2u << options->maxRec, options->maxRom,
                      options->generation, options->linkSpeed,
                      options->linkSpeed < 6 ? linkSpeeds[options->linkSpeed] : "reserved"));
    }

    void describeBlock(const RomBlock& block) {
        const std::string what = block.kind == BlockKind::Directory ? "directory" : "leaf";
        add(block.offset, format("%s \"%s\"%s, length %u, ", what.c_str(),
                                 block.key == 0xC0 ? "Root" : entryName(block.key).c_str(),
                                 protocolOf(block).c_str(), block.declared) +
                              crcVerdict(block));
        if (block.kind == BlockKind::Directory)
            return;
        const uint8_t keyId = block.key & 0x3F;
        for (uint32_t i = 0; i < block.available; ++i)
            add(block.offset + 4 + 4 * i, leafMeaning(block, keyId, i));
    }

    // " (SBP-2 (storage))" for a unit directory, else nothing.
    std::string protocolOf(const RomBlock& block) const {
        const UnitView* unit =
            block.kind == BlockKind::Directory ? node_.unitAt(block.offset) : nullptr;
        return unit ? " (" + unit->name + ")" : std::string();
    }

    std::string leafMeaning(const RomBlock& block, uint8_t keyId, uint32_t index) const {
        const uint32_t value = *decode::quadletAt(decoded_.rom, block.offset + 4 + 4 * index);
        if (keyId == Eui64KeyId && index == 0)
            return format("EUI-64: company id %06Xh, chip id high %02Xh", value >> 8, value & 0xFF);
        if (keyId == Eui64KeyId && index == 1)
            return format("EUI-64: chip id low %08Xh", value);
        if (keyId != DescriptorKeyId)
            return "leaf data";
        if (index == 0)
            return format("descriptor_type %u, specifier_ID %06Xh", value >> 24, value & 0xFFFFFF);
        if (index == 1)
            return format("width %u, character_set %u, language %u", value >> 28,
                          value >> 16 & 0xFFF, value & 0xFFFF);
        std::string text = "text \"";
        for (int shift = 24; shift >= 0; shift -= 8)
            if (const char c = static_cast<char>(value >> shift))
                text += c;
        return text + "\"";
    }

    void describeEntries(const std::vector<RomEntry>& entries) {
        for (const RomEntry& entry : entries) {
            add(entry.offset, entryMeaning(entry));
            describeEntries(entry.children);
        }
    }

    std::string entryMeaning(const RomEntry& entry) const {
        std::string text =
            format("key %02Xh: %s, id %02Xh \"%s\" ", entry.key, keyTypeName(entry.type()),
                   entry.keyId(), entryName(entry.key).c_str());
        if (entry.type() == 0) {
            text += format("= %06Xh", entry.value);
            if (const auto vendor = devices_.property("IMMEDIATE", entry.offset, "VendorName"))
                text += " \"" + *vendor + "\"";
            return text;
        }
        if (entry.type() == 1)
            return text + format("= %06Xh: CSR address %012llX", entry.value,
                                 static_cast<unsigned long long>(CsrBase + 4ull * entry.value));
        text += format("-> %Xh", *entry.target);
        if (uint64_t{*entry.target} + 4 > decoded_.rom.size())
            return text + ", outside the ROM";
        if (entry.target == entry.offset)
            return text + ", itself";
        return text + (entry.repeated ? ", shown before" : "");
    }

    const NodeView& node_;
    const decode::DecodedRom& decoded_;
    size_t width_;
    const NodeDevices& devices_;
    std::vector<std::string> meanings_;
    std::map<uint32_t, std::vector<std::string>> notes_;
    std::vector<std::string> unplaced_;
};

} // namespace

std::string dumpNode(const NodeView& node, size_t width) {
    return Dumper(node, width).text();
}

} // namespace rombus

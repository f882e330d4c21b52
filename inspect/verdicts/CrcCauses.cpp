#include "inspect/verdicts/CrcCauses.h"

#include "inspect/io/Format.h"

#include <algorithm>

namespace rombus {
namespace {

using decode::BlockKind;
using decode::DecodedRom;
using decode::RomBlock;

// How far from its declared length a CRC's span is looked for: firmware that counts one or two
// quadlets too few or too many, not any length at all.
constexpr uint32_t LengthSlack = 4;
constexpr uint16_t Placeholders[] = {0xFFFF, 0x0000};

// The quadlets a CRC was computed over: a run of the ROM after the block's header, and the
// header first (its CRC half zero) when firmware included it.
struct Span {
    const char* id; // nullptr for the declared span
    std::string text;
    uint32_t count;
    bool withHeader;
};

uint32_t reversed(uint32_t quadlet) {
    return quadlet >> 24 | (quadlet >> 8 & 0xFF00) | (quadlet << 8 & 0xFF0000) | quadlet << 24;
}

uint16_t swapped(uint16_t crc) {
    return static_cast<uint16_t>(crc << 8 | crc >> 8);
}

uint32_t header(const DecodedRom& decoded, const RomBlock& block) {
    return *decode::quadletAt(decoded.rom, block.offset);
}

uint16_t crcOver(const DecodedRom& decoded, const RomBlock& block, const Span& span,
                 bool littleEndian) {
    std::vector<uint32_t> quadlets;
    if (span.withHeader)
        quadlets.push_back(header(decoded, block) & 0xFFFF0000);
    for (uint32_t i = 0; i < span.count; ++i)
        quadlets.push_back(*decode::quadletAt(decoded.rom, block.offset + 4 + 4 * i));
    if (littleEndian)
        std::transform(quadlets.begin(), quadlets.end(), quadlets.begin(), reversed);
    return decode::crc16(quadlets);
}

// "crc_length (5)" or "the 5 quadlets its header declares".
std::string declaredText(const RomBlock& block) {
    return block.kind == BlockKind::BusInfo
               ? format("crc_length (%u)", block.declared)
               : format("the %u quadlets its header declares", block.declared);
}

// The spans to try, the declared one first, then other lengths by name, then the header included.
std::vector<Span> spansOf(const DecodedRom& decoded, const RomBlock& block) {
    const uint32_t after = decoded.quadlets() - block.offset / 4 - 1;
    const std::string instead = " instead of " + declaredText(block);
    std::vector<Span> spans = {{nullptr, std::string(), block.declared, false}};
    const auto add = [&](const char* id, const std::string& text, uint32_t count) {
        const bool known = std::any_of(spans.begin(), spans.end(), [count](const Span& span) {
            return !span.withHeader && span.count == count;
        });
        if (count > 0 && count <= after && !known)
            spans.push_back({id, text + instead, count, false});
    };
    if (block.kind == BlockKind::BusInfo) {
        add("length-whole-rom", format("computed over the whole ROM (%u quadlets)", after), after);
        const uint32_t infoLength = header(decoded, block) >> 24;
        add("length-info", format("computed over info_length (%u quadlets)", infoLength),
            infoLength);
    }
    for (uint32_t count = block.declared > LengthSlack ? block.declared - LengthSlack : 1;
         count <= block.declared + LengthSlack; ++count)
        add("length-quadlets", format("computed over %u quadlets", count), count);
    spans.push_back(
        {"header-included", "computed with its header quadlet included", block.declared, true});
    return spans;
}

CrcCause placeholder(const RomBlock& block) {
    return {{"placeholder"},
            format("%04Xh is a placeholder: the CRC was never computed", block.storedCrc)};
}

// "the CRC was computed over ..., over little-endian quadlets, and stored with its two bytes
// swapped".
CrcCause combined(const Span& span, bool littleEndian, bool swap) {
    CrcCause cause;
    std::vector<std::string> parts;
    if (span.id) {
        cause.ids.push_back(span.id);
        parts.push_back(span.text);
    }
    if (littleEndian) {
        cause.ids.push_back("little-endian");
        parts.push_back("computed over little-endian quadlets (each quadlet's bytes reversed)");
    }
    if (swap) {
        cause.ids.push_back("bytes-swapped");
        parts.push_back("stored with its two bytes swapped");
    }
    cause.text = "the CRC was ";
    for (size_t i = 0; i < parts.size(); ++i)
        cause.text += (i == 0 ? "" : i + 1 == parts.size() ? " and " : ", ") + parts[i];
    return cause;
}

} // namespace

const char* blockName(const RomBlock& block) {
    switch (block.kind) {
    case BlockKind::BusInfo:
        return "the bus information block";
    case BlockKind::Directory:
        return "the directory";
    default:
        return "the leaf";
    }
}

uint32_t fixedHeader(const DecodedRom& decoded, const RomBlock& block) {
    return (header(decoded, block) & 0xFFFF0000) | block.crc;
}

CrcCause crcCauseOf(const DecodedRom& decoded, const RomBlock& block) {
    if (!block.complete() || block.crcOk())
        return {};
    if (std::find(std::begin(Placeholders), std::end(Placeholders), block.storedCrc) !=
        std::end(Placeholders))
        return placeholder(block);
    const std::vector<Span> spans = spansOf(decoded, block);
    // Transformations of the quadlets and of the result, in the order their causes are named.
    const std::pair<bool, bool> transforms[] = {
        {false, false}, {true, false}, {false, true}, {true, true}};
    for (int causes = 1; causes <= 3; ++causes)
        for (const auto& [littleEndian, swap] : transforms)
            for (const Span& span : spans) {
                if ((span.id != nullptr) + littleEndian + swap != causes)
                    continue;
                const uint16_t crc = crcOver(decoded, block, span, littleEndian);
                if ((swap ? swapped(crc) : crc) == block.storedCrc)
                    return combined(span, littleEndian, swap);
            }
    return {};
}

} // namespace rombus

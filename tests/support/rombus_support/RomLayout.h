#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace rombus_test {

// The IEEE 1212 CRC-16 computed bit by bit, as an oracle independent of the module's nibble form.
inline uint16_t crc16(const std::vector<uint32_t>& quadlets, size_t first, size_t count) {
    uint16_t crc = 0;
    for (size_t i = first; i < first + count; ++i)
        for (int bit = 31; bit >= 0; --bit) {
            bool feedback = ((crc >> 15) ^ (quadlets[i] >> bit)) & 1;
            crc = static_cast<uint16_t>(crc << 1) ^ (feedback ? 0x1021 : 0);
        }
    return crc;
}

// Quadlets as bytes in bus order, most significant byte first.
inline std::vector<uint8_t> busOrderBytes(const std::vector<uint32_t>& quadlets) {
    std::vector<uint8_t> bytes;
    for (uint32_t q : quadlets)
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<uint8_t>(q >> shift));
    return bytes;
}

// A small ROM typed byte for byte, in bus order: a bus information block whose CRC is left as
// 1234h, then a root directory of one vendor entry (28 bytes).
inline const std::vector<uint8_t> smallRomBytes = {
    0x04, 0x04, 0x12, 0x34, '1',  '3',  '9',  '4',  0xE0, 0x64, 0x80, 0x02, 0x00, 0x30,
    0xE0, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x01, 0xAB, 0xCD, 0x03, 0x00, 0x30, 0xE0};

// Quadlets as hex text, one a line: the tool's own hex image form.
inline std::string hexLines(const std::vector<uint32_t>& quadlets) {
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    for (uint32_t q : quadlets) {
        for (int shift = 28; shift >= 0; shift -= 4)
            text += digits[(q >> shift) & 0xF];
        text += '\n';
    }
    return text;
}

// The fields of a bus information block: bus name, bus options and GUID.
struct BusInfo {
    uint64_t guid = 0x0001020304050607ull;
    uint8_t capabilities = 0xE0; // irmc, cmc, isc, bmc, pmc and three reserved bits
    uint8_t cycleClockAccuracy = 0;
    uint8_t maxRec = 8;
    uint8_t linkSpeed = 0;
    std::string busName = "1394";

    uint32_t busNameQuadlet() const {
        uint32_t q = 0;
        for (size_t i = 0; i < 4; ++i)
            q = q << 8 | (i < busName.size() ? uint8_t(busName[i]) : 0);
        return q;
    }
    uint32_t busOptions() const {
        return uint32_t{capabilities} << 24 | uint32_t{cycleClockAccuracy} << 16 |
               uint32_t{maxRec} << 12 | (linkSpeed & 7u);
    }
};

// Lays out a Configuration ROM: the bus information block, then blocks in the order they are
// declared (the first directory is the root, at offset 20). Directory entries refer to blocks by
// id; offsets and CRCs are filled in when the image is made.
class RomLayout {
public:
    struct Item {
        uint8_t key;
        uint32_t value;
        int target = -1; // block id, or -1 for an immediate value
    };

    explicit RomLayout(const BusInfo& info) : info_(info) {}
    explicit RomLayout(uint64_t guid = 0x0001020304050607ull, uint8_t capabilities = 0xE0,
                       uint8_t maxRec = 8)
        : info_{guid, capabilities, 0, maxRec} {}

    static Item immediate(uint8_t key, uint32_t value) { return {key, value}; }
    static Item ref(uint8_t key, int block) { return {key, 0, block}; }

    int directory(std::vector<Item> items) {
        blocks_.push_back({std::move(items), {}});
        return static_cast<int>(blocks_.size()) - 1;
    }
    int leaf(std::vector<uint32_t> body) {
        blocks_.push_back({{}, std::move(body)});
        return static_cast<int>(blocks_.size()) - 1;
    }
    // A textual descriptor leaf: the specifier and type quadlet (0, minimal ASCII), the width,
    // character set and language quadlet, then the text padded with zero bytes.
    int textLeaf(const std::string& text, uint32_t widthCharsetLanguage = 0) {
        std::vector<uint32_t> body = {0, widthCharsetLanguage};
        for (size_t i = 0; i < text.size(); i += 4) {
            uint32_t q = 0;
            for (size_t j = 0; j < 4; ++j)
                q = q << 8 | (i + j < text.size() ? uint8_t(text[i + j]) : 0);
            body.push_back(q);
        }
        return leaf(body);
    }

    // ROM offset of a block's header.
    uint32_t offsetOf(int block) const {
        uint32_t offset = 20;
        for (int i = 0; i < block; ++i)
            offset += 4 * (1 + bodySize(blocks_[i]));
        return offset;
    }

    std::vector<uint32_t> quadlets() const {
        std::vector<uint32_t> rom = {0, info_.busNameQuadlet(), info_.busOptions(),
                                     static_cast<uint32_t>(info_.guid >> 32),
                                     static_cast<uint32_t>(info_.guid)};
        for (const Block& block : blocks_)
            place(rom, block);
        rom[0] = 0x04000000u | 4u << 16 | crc16(rom, 1, 4);
        return rom;
    }

    std::vector<uint8_t> image() const { return busOrderBytes(quadlets()); }

private:
    struct Block {
        std::vector<Item> items;
        std::vector<uint32_t> body;
    };

    static size_t bodySize(const Block& block) {
        return block.items.empty() ? block.body.size() : block.items.size();
    }

    void place(std::vector<uint32_t>& rom, const Block& block) const {
        size_t header = rom.size();
        rom.push_back(0);
        if (block.items.empty())
            rom.insert(rom.end(), block.body.begin(), block.body.end());
        for (const Item& item : block.items) {
            uint32_t value = item.value;
            if (item.target >= 0) {
                const uint32_t self = 4 * static_cast<uint32_t>(rom.size());
                // The offset of an entry's target is unsigned: it can only point forward.
                if (offsetOf(item.target) <= self)
                    throw std::logic_error("a ROM entry can only refer to a later block");
                value = (offsetOf(item.target) - self) / 4;
            }
            rom.push_back(uint32_t{item.key} << 24 | (value & 0xFFFFFF));
        }
        size_t length = rom.size() - header - 1;
        rom[header] = static_cast<uint32_t>(length) << 16 | crc16(rom, header + 1, length);
    }

    BusInfo info_;
    std::vector<Block> blocks_;
};

} // namespace rombus_test

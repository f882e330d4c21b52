#include "lib1394/DumpText.h"

#include "lib1394/ConfigROM.h"
#include "zul/Digits.h"

#include <cctype>
#include <map>
#include <optional>
#include <sstream>

namespace lib1394 {
namespace {

constexpr uint64_t RegisterBase = 0x400;
constexpr uint64_t CsrRomBase = 0xFFFFF0000400ull;
constexpr size_t QuadletDigits = 8;
constexpr size_t CsrAddressDigits = 12;

struct QuadletLine {
    uint64_t address = 0;
    uint32_t value = 0;
    std::optional<uint64_t> csrAddress; // rombus's own dump: the CSR address column
};

// A hexadecimal number of at most maxDigits digits, with an optional 0x and a trailing ':'.
std::optional<uint64_t> hexNumber(std::string token, size_t maxDigits) {
    if (!token.empty() && token.back() == ':')
        token.pop_back();
    if (token.size() > 2 && token[0] == '0' && (token[1] == 'x' || token[1] == 'X'))
        token.erase(0, 2);
    return zul::parseHex(token, maxDigits);
}

bool isQuadlet(const std::string& token) {
    return token.size() == QuadletDigits && hexNumber(token, QuadletDigits);
}

std::vector<std::string> tokens(const std::string& line, size_t count) {
    std::istringstream in(line);
    std::vector<std::string> words;
    std::string word;
    while (words.size() < count && in >> word)
        words.push_back(word);
    return words;
}

// An address, then the quadlet: eight digits, or after a CSR address of twelve. An address of
// eight digits must end with ':', or the line is plain hex text.
std::optional<QuadletLine> quadletLine(const std::string& line) {
    if (line.empty() || std::isspace(static_cast<unsigned char>(line[0])) || line[0] == '^')
        return std::nullopt;
    const std::vector<std::string> words = tokens(line, 3);
    if (words.size() < 2 || (words[0].size() == QuadletDigits && words[0].back() != ':'))
        return std::nullopt;
    const std::optional<uint64_t> address = hexNumber(words[0], CsrAddressDigits);
    if (!address)
        return std::nullopt;
    if (isQuadlet(words[1]))
        return QuadletLine{*address, static_cast<uint32_t>(*hexNumber(words[1], QuadletDigits)),
                           std::nullopt};
    if (words.size() == 3 && words[1].size() == CsrAddressDigits && isQuadlet(words[2]))
        if (const auto csr = hexNumber(words[1], CsrAddressDigits))
            return QuadletLine{*address, static_cast<uint32_t>(*hexNumber(words[2], QuadletDigits)),
                               csr};
    return std::nullopt;
}

// A line that begins as a quadlet line does, an address with its ':' then a hexadecimal number,
// but whose number is no quadlet of eight digits: a dump edited by hand, which would otherwise
// leave the ROM a quadlet short.
// Answers that number.
std::optional<std::string> malformedQuadlet(const std::string& line) {
    if (line.empty() || std::isspace(static_cast<unsigned char>(line[0])) || line[0] == '^')
        return std::nullopt;
    const std::vector<std::string> words = tokens(line, 3);
    if (words.size() < 2 || words[0].back() != ':' || !hexNumber(words[0], CsrAddressDigits))
        return std::nullopt;
    const bool csr = words.size() == 3 && words[1].size() == CsrAddressDigits;
    const std::string& number = csr ? words[2] : words[1];
    if (isQuadlet(number) || !hexNumber(number, 2 * QuadletDigits) ||
        (!csr && number.size() == CsrAddressDigits))
        return std::nullopt;
    return number;
}

// A line of plain hex text: quadlets only, up to its comment.
bool isPlainHex(const std::string& line) {
    const std::vector<std::string> words = tokens(line.substr(0, line.find('#')), 64);
    if (words.empty())
        return false;
    for (const std::string& word : words)
        if (!hexNumber(word, QuadletDigits))
            return false;
    return true;
}

// Calls visit(lineNumber, line) for every line, without its carriage return; stops when visit
// returns false.
template <typename Visit> void forEachLine(const std::string& content, Visit visit) {
    size_t start = 0;
    for (unsigned number = 1; start < content.size(); ++number) {
        size_t end = content.find('\n', start);
        if (end == std::string::npos)
            end = content.size();
        std::string line = content.substr(start, end - start);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        start = end + 1;
        if (!visit(number, line))
            return;
    }
}

std::string hex(uint64_t value) {
    std::ostringstream out;
    out << std::uppercase << std::hex << value << 'h';
    return out.str();
}

// The address of ROM offset 0 in a dump whose first quadlet line gives this address: the CSR
// address of the ROM, its register offset, or offset 0.
uint64_t baseOf(uint64_t firstAddress) {
    return firstAddress >= CsrRomBase     ? CsrRomBase
           : firstAddress >= RegisterBase ? RegisterBase
                                          : 0;
}

} // namespace

bool isDumpText(const std::string& content) {
    bool dump = false;
    forEachLine(content, [&dump](unsigned, const std::string& line) {
        if (const auto quadlet = quadletLine(line)) {
            dump = quadlet->address == baseOf(quadlet->address) || !isPlainHex(line);
            return false;
        }
        return !isPlainHex(line);
    });
    return dump;
}

namespace {

// The quadlets of the dump in bus order; none, with the reason, when it is malformed.
std::vector<uint8_t> dumpQuadlets(const std::string& content, std::string& error) {
    std::map<uint32_t, std::pair<uint32_t, unsigned>> quadlets; // offset: value, line
    std::optional<uint64_t> base;
    forEachLine(content, [&](unsigned number, const std::string& line) {
        const auto quadlet = quadletLine(line);
        const std::string where = "line " + std::to_string(number) + ": ";
        if (const auto number = quadlet ? std::nullopt : malformedQuadlet(line)) {
            error = where + "\"" + *number + "\" is not a quadlet of eight hexadecimal digits";
            return false;
        }
        if (!quadlet)
            return true;
        if (!base)
            base = baseOf(quadlet->address);
        const uint64_t offset = quadlet->address - *base;
        if (quadlet->address < *base || offset % 4 != 0 || offset >= MaxRomSize) {
            error = where + "address " + hex(quadlet->address) + " is not a quadlet of the ROM";
            return false;
        }
        if (quadlet->csrAddress && *quadlet->csrAddress != CsrRomBase + offset) {
            error = where + "CSR address " + hex(*quadlet->csrAddress) + " is not that of offset " +
                    hex(offset);
            return false;
        }
        const auto [at, placed] = quadlets.emplace(offset, std::make_pair(quadlet->value, number));
        if (!placed)
            error = where + "offset " + hex(offset) + " was already given on line " +
                    std::to_string(at->second.second);
        return placed;
    });
    if (!error.empty())
        return {};
    std::vector<uint8_t> rom;
    for (const auto& [offset, quadlet] : quadlets) {
        if (offset != rom.size()) {
            error = "line " + std::to_string(quadlet.second) + ": offset " + hex(offset) +
                    " follows a gap; the quadlets from " + hex(rom.size()) + " are missing";
            return {};
        }
        for (int shift = 24; shift >= 0; shift -= 8)
            rom.push_back(static_cast<uint8_t>(quadlet.first >> shift));
    }
    return rom;
}

} // namespace

ImageFile decodeDumpText(const std::string& name, const std::string& content) {
    ImageFile image;
    image.path = name;
    std::string error;
    image.rom = dumpQuadlets(content, error);
    if (!error.empty())
        image.error = name + ": " + error;
    return image;
}

} // namespace lib1394

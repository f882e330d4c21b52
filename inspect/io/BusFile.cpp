#include "inspect/io/BusFile.h"

#include "inspect/io/AtomicFile.h"
#include "zul/Digits.h"

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <sstream>

namespace rombus {
namespace {

constexpr const char* Magic = "rombus-bus";
constexpr unsigned Version = 1;
constexpr unsigned PerLine = 8;
constexpr unsigned MaxPhyId = 62;
constexpr size_t MaxRomQuadlets = 256;

std::string hexOf(uint64_t value, int digits) {
    char text[24];
    std::snprintf(text, sizeof text, "%0*llx", digits, static_cast<unsigned long long>(value));
    return text;
}

void quadletLines(std::string& out, const std::string& head, const std::vector<uint32_t>& values) {
    for (size_t i = 0; i < values.size(); i += PerLine) {
        out += head;
        for (size_t k = i; k < values.size() && k < i + PerLine; ++k)
            out += " " + hexOf(values[k], 8);
        out += "\n";
    }
}

std::vector<uint32_t> quadletsOf(const std::vector<uint8_t>& bytes) {
    std::vector<uint32_t> quadlets;
    for (size_t i = 0; i + 4 <= bytes.size(); i += 4)
        quadlets.push_back(uint32_t{bytes[i]} << 24 | uint32_t{bytes[i + 1]} << 16 |
                           uint32_t{bytes[i + 2]} << 8 | bytes[i + 3]);
    return quadlets;
}

bool hexWord(const std::string& word, size_t maxDigits, uint64_t& value) {
    const std::optional<uint64_t> digits = zul::parseHex(word, maxDigits);
    if (!digits)
        return false;
    value = *digits;
    return true;
}

// Reads one line's words into the capture, or says what is wrong with them.
class LineReader {
public:
    explicit LineReader(lib1394::BusCapture& capture) : capture_(capture) {}

    std::string take(const std::vector<std::string>& words);
    bool sawMagic() const { return magic_; }

private:
    std::string takeNodes(const std::vector<std::string>& words);
    std::string takePhy(const std::vector<std::string>& words);
    std::string appendQuadlets(const std::vector<std::string>& words, size_t from,
                               std::vector<uint32_t>& to, size_t limit);

    lib1394::BusCapture& capture_;
    bool magic_ = false;
};

std::string LineReader::take(const std::vector<std::string>& words) {
    const std::string& key = words[0];
    if (!magic_) {
        if (key != Magic || words.size() != 2 || words[1] != std::to_string(Version))
            return "not a bus file: it must begin with '" + std::string(Magic) + " " +
                   std::to_string(Version) + "'";
        magic_ = true;
        return "";
    }
    uint64_t value = 0;
    if (key == "name") {
        capture_.name.clear();
        for (size_t i = 1; i < words.size(); ++i)
            capture_.name += (i > 1 ? " " : "") + words[i];
        return "";
    }
    if (key == "generation") {
        if (words.size() != 2 || !hexWord(words[1], 8, value))
            return "'generation' takes one number of at most 8 hex digits";
        capture_.generation = static_cast<uint32_t>(value);
        return "";
    }
    if (key == "nodes")
        return takeNodes(words);
    if (key == "files") {
        capture_.filesKnown = words.size() == 2 && words[1] == "listed";
        return words.size() == 2 && (words[1] == "listed" || words[1] == "unknown")
                   ? ""
                   : "'files' takes 'listed' or 'unknown'";
    }
    if (key == "topology")
        return appendQuadlets(words, 1, capture_.topology, MaxBusFileQuadlets);
    if (key == "phy")
        return takePhy(words);
    return "unknown line '" + key + "'";
}

std::string LineReader::takeNodes(const std::vector<std::string>& words) {
    if (words.size() != 9)
        return "'nodes' takes local, root, irm and bm, each with a node id";
    uint32_t* const slots[] = {&capture_.localNodeId, &capture_.rootNodeId, &capture_.irmNodeId,
                               &capture_.bmNodeId};
    const char* const names[] = {"local", "root", "irm", "bm"};
    for (size_t i = 0; i < 4; ++i) {
        uint64_t value = 0;
        if (words[1 + 2 * i] != names[i] || !hexWord(words[2 + 2 * i], 4, value))
            return std::string("'nodes' expects '") + names[i] +
                   "' and a node id of at most 4 hex digits";
        *slots[i] = static_cast<uint32_t>(value);
    }
    return "";
}

std::string LineReader::takePhy(const std::vector<std::string>& words) {
    const bool digits = words.size() >= 3 && !words[1].empty() && words[1].size() <= 2 &&
                        words[1].find_first_not_of("0123456789") == std::string::npos;
    if (!digits || std::stoul(words[1]) > MaxPhyId)
        return "'phy' takes a physical id from 0 to 62 and what is known of it";
    lib1394::PhyFacts& phy = capture_.phys[static_cast<unsigned>(std::stoul(words[1]))];
    const std::string& what = words[2];
    uint64_t value = 0;
    if (what == "file" && words.size() == 6 && words[4] == "guid" && hexWord(words[5], 16, value)) {
        phy.deviceFile = words[3];
        phy.guid = value;
        return "";
    }
    if (what == "rom") {
        std::vector<uint32_t> quadlets = quadletsOf(phy.rom);
        const std::string trouble = appendQuadlets(words, 3, quadlets, MaxRomQuadlets);
        phy.rom.clear();
        for (uint32_t quadlet : quadlets)
            for (int shift = 24; shift >= 0; shift -= 8)
                phy.rom.push_back(static_cast<uint8_t>(quadlet >> shift));
        return trouble;
    }
    uint64_t product = 0;
    if (what == "ids" && words.size() == 5 && hexWord(words[3], 6, value) &&
        hexWord(words[4], 6, product)) {
        phy.identity = {true, true, static_cast<uint32_t>(value), static_cast<uint32_t>(product),
                        ""};
        return "";
    }
    if (what == "ids" && words.size() >= 4 && words[3] == "none") {
        phy.identity = {true, false, 0, 0, ""};
        for (size_t i = 4; i < words.size(); ++i)
            phy.identity.trouble += (i > 4 ? " " : "") + words[i];
        return "";
    }
    return "'phy " + words[1] +
           "' takes 'file PATH guid HEX', 'rom QUADLETS', 'ids VENDOR PRODUCT' or 'ids none "
           "REASON'";
}

std::string LineReader::appendQuadlets(const std::vector<std::string>& words, size_t from,
                                       std::vector<uint32_t>& to, size_t limit) {
    for (size_t i = from; i < words.size(); ++i) {
        uint64_t value = 0;
        if (!hexWord(words[i], 8, value))
            return "'" + words[i] + "' is not a quadlet of at most 8 hex digits";
        if (to.size() == limit)
            return "more than " + std::to_string(limit) + " quadlets";
        to.push_back(static_cast<uint32_t>(value));
    }
    return "";
}

} // namespace

std::string formatBusFile(const lib1394::BusCapture& capture) {
    std::string out = "# A FireWire bus as rombus read it: 'rombus topology FILE' shows it.\n";
    out += std::string(Magic) + " " + std::to_string(Version) + "\n";
    out += "name " + capture.name + "\n";
    out += "generation " + hexOf(capture.generation, 1) + "\n";
    out += "nodes local " + hexOf(capture.localNodeId, 4) + " root " +
           hexOf(capture.rootNodeId, 4) + " irm " + hexOf(capture.irmNodeId, 4) + " bm " +
           hexOf(capture.bmNodeId, 4) + "\n";
    out += std::string("files ") + (capture.filesKnown ? "listed" : "unknown") + "\n";
    if (!capture.topologyTrouble.empty())
        out += "# the topology map was not read: " + capture.topologyTrouble + "\n";
    quadletLines(out, "topology", capture.topology);
    for (const auto& [id, phy] : capture.phys) {
        const std::string head = "phy " + std::to_string(id);
        if (!phy.deviceFile.empty())
            out += head + " file " + phy.deviceFile + " guid " + hexOf(phy.guid, 16) + "\n";
        if (phy.identity.answered)
            out += head + " ids " + hexOf(phy.identity.vendorId, 6) + " " +
                   hexOf(phy.identity.productId, 6) + "\n";
        else if (phy.identity.asked)
            out += head + " ids none " + phy.identity.trouble + "\n";
        quadletLines(out, head + " rom", quadletsOf(phy.rom));
    }
    return out;
}

bool parseBusFile(const std::string& text, lib1394::BusCapture& capture, std::string& error) {
    capture = lib1394::BusCapture();
    LineReader reader(capture);
    std::istringstream lines(text);
    std::string line;
    for (unsigned number = 1; std::getline(lines, line); ++number) {
        line = line.substr(0, line.find('#'));
        std::istringstream in(line);
        std::vector<std::string> words;
        for (std::string word; in >> word;)
            words.push_back(word);
        if (words.empty())
            continue;
        const std::string trouble = reader.take(words);
        if (!trouble.empty()) {
            error = "line " + std::to_string(number) + ": " + trouble;
            return false;
        }
    }
    if (!reader.sawMagic()) {
        error = std::string("not a bus file: no '") + Magic + "' line";
        return false;
    }
    return true;
}

std::vector<std::string> saveBusFiles(const std::vector<lib1394::BusCapture>& captures,
                                      const std::string& folder, bool overwrite) {
    std::vector<std::string> problems;
    for (const lib1394::BusCapture& capture : captures) {
        std::string name;
        for (char c : capture.name)
            if (std::isalnum(static_cast<unsigned char>(c)))
                name += c;
        const std::string path =
            (std::filesystem::path(folder) / ((name.empty() ? "bus" : name) + ".bus")).string();
        const FileWrite write = writeWholeFile(path, formatBusFile(capture), {overwrite});
        if (!write.ok())
            problems.push_back(
                path + ": " + write.reason +
                (write.outcome == WriteOutcome::Kept ? " (--overwrite replaces it)" : ""));
    }
    return problems;
}

} // namespace rombus

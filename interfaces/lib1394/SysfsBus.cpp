#include "lib1394/SysfsBus.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

namespace lib1394 {
namespace {

namespace fs = std::filesystem;

struct FoundNode {
    unsigned number; // N of fwN
    fs::path folder; // the device folder the link leads to
};

// N when the name is fwN with N decimal digits only; unit devices (fwN.M) and others are not.
bool nodeNumber(const std::string& name, unsigned& number) {
    if (name.size() < 3 || name.size() > 12 || name.compare(0, 2, "fw") != 0)
        return false;
    if (!std::all_of(name.begin() + 2, name.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return false;
    number = static_cast<unsigned>(std::strtoul(name.c_str() + 2, nullptr, 10));
    return true;
}

std::vector<FoundNode> findNodes(const fs::path& devices) {
    std::vector<FoundNode> nodes;
    std::error_code error;
    for (fs::directory_iterator it(devices, error), end; !error && it != end; it.increment(error)) {
        unsigned number = 0;
        if (!nodeNumber(it->path().filename().string(), number))
            continue;
        std::error_code resolveError;
        fs::path folder = fs::canonical(it->path(), resolveError);
        nodes.push_back({number, resolveError ? it->path() : folder});
    }
    std::sort(nodes.begin(), nodes.end(),
              [](const FoundNode& a, const FoundNode& b) { return a.number < b.number; });
    return nodes;
}

// Reads at most limit bytes of a file; false when it cannot be opened or read.
bool readFile(const fs::path& path, std::string& content, size_t limit) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    content.assign(limit, '\0');
    in.read(content.data(), static_cast<std::streamsize>(limit));
    if (in.bad())
        return false;
    content.resize(static_cast<size_t>(in.gcount()));
    return true;
}

uint64_t readGuid(const fs::path& folder) {
    std::string text;
    if (!readFile(folder / "guid", text, 64))
        return 0;
    char* end = nullptr;
    const unsigned long long guid = std::strtoull(text.c_str(), &end, 16);
    return end != text.c_str() ? guid : 0;
}

RomNode readNode(const FoundNode& found, ByteOrder order) {
    RomNode node;
    node.label = "fw" + std::to_string(found.number);
    node.guid = readGuid(found.folder);
    std::string content;
    if (!readFile(found.folder / "config_rom", content, MaxRomSize)) {
        node.accessible = false;
        return node;
    }
    // Only whole quadlets are kept: the kernel never shows a part of one.
    content.resize(content.size() / 4 * 4);
    node.rom.assign(content.begin(), content.end());
    node.accessible = !node.rom.empty();
    const bool little = order == ByteOrder::Little ||
                        (order == ByteOrder::Detect && std::endian::native == std::endian::little);
    if (little)
        swapQuadlets(node.rom);
    return node;
}

} // namespace

SysfsBus::SysfsBus(const std::string& root, ByteOrder order)
    : RomImageBus(readPorts(root, order)) {}

std::vector<RomPort> SysfsBus::readPorts(const std::string& root, ByteOrder order) {
    const fs::path base(root);
    // Ports keyed by their controller's folder, in the order of their lowest node number.
    std::vector<RomPort> ports;
    std::map<fs::path, size_t> portOfFolder;
    for (const FoundNode& found : findNodes(base / "bus" / "firewire" / "devices")) {
        const fs::path controller = found.folder.parent_path();
        auto [it, added] = portOfFolder.try_emplace(controller, ports.size());
        if (added) {
            RomPort port;
            std::error_code error;
            fs::path relative = fs::relative(controller, fs::weakly_canonical(base, error), error);
            port.text = (error || relative.empty() ? controller : relative).string();
            ports.push_back(std::move(port));
        }
        ports[it->second].nodes.push_back(readNode(found, order));
    }
    return ports;
}

} // namespace lib1394

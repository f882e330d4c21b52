#include "lib1394/SysfsBus.h"

#include "lib1394/NodeNames.h"
#include "lib1394/RegularFile.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>

namespace lib1394 {
namespace {

namespace fs = std::filesystem;

struct FoundNode {
    std::string name; // fwN, as the kernel named it
    fs::path folder;  // the device folder the link leads to
};

bool byNumber(const FoundNode& a, const FoundNode& b) {
    return byNodeNumber(a.name, b.name);
}

// Why an entry of bus/firewire/devices is no device folder, or empty when it is one.
std::string notADevice(const fs::directory_entry& entry) {
    std::error_code error;
    if (fs::is_directory(entry.path(), error))
        return std::string();
    if (fs::is_symlink(entry.symlink_status(error)))
        return "a link that leads to no device folder";
    return "not a link to a device folder";
}

// The node links of bus/firewire/devices in the order of their numbers; a link that leads to
// no folder is noted and skipped.
std::vector<FoundNode> findNodes(const fs::path& devices, std::vector<std::string>& notes) {
    std::vector<FoundNode> links;
    std::error_code error;
    for (fs::directory_iterator it(devices, error), end; !error && it != end; it.increment(error))
        if (!nodeDigits(it->path().filename().string()).empty())
            links.push_back({it->path().filename().string(), it->path()});
    std::sort(links.begin(), links.end(), byNumber);
    std::vector<FoundNode> nodes;
    for (const FoundNode& link : links) {
        const std::string reason = notADevice(fs::directory_entry(link.folder, error));
        if (!reason.empty()) {
            notes.push_back(link.name + ": " + reason + " in bus/firewire/devices; skipped");
            continue;
        }
        std::error_code resolveError;
        const fs::path folder = fs::canonical(link.folder, resolveError);
        nodes.push_back({link.name, resolveError ? link.folder : folder});
    }
    return nodes;
}

// The GUID the guid file holds; nothing when there is no such file, or when it cannot be read
// or holds no GUID (noted): the ROM's GUID is used then.
std::optional<uint64_t> readGuid(const fs::path& folder, RomNode& node) {
    const fs::path path = folder / "guid";
    std::error_code error;
    if (!fs::exists(path, error))
        return std::nullopt;
    const RegularFile file = readRegularFile(path.string(), 64);
    if (!file.ok()) {
        node.notes.push_back("guid " + file.error);
        return std::nullopt;
    }
    std::string text = file.content;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.pop_back();
    const size_t digits = text.rfind("0x", 0) == 0 ? 2 : 0;
    const bool hex = text.size() > digits && text.size() - digits <= 16 &&
                     text.find_first_not_of("0123456789abcdefABCDEF", digits) == std::string::npos;
    if (!hex) {
        node.notes.push_back("guid \"" + text +
                             "\" is not a unique id in hexadecimal; the ROM's is used");
        return std::nullopt;
    }
    return std::strtoull(text.c_str() + digits, nullptr, 16);
}

// A short text attribute of a device folder, without its line break; empty when it is missing
// or not a regular file.
std::string readAttribute(const fs::path& file) {
    std::string text = readRegularFile(file.string(), 256, true).content;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.pop_back();
    return text;
}

// What the kernel says of the unit devices fwN.M of a node, by M: the name of the folder its
// driver link leads to, and its modalias.
void readUnits(const FoundNode& found, RomNode& node) {
    const std::string prefix = found.name + ".";
    std::error_code error;
    for (fs::directory_iterator it(found.folder, error), end; !error && it != end;
         it.increment(error)) {
        const std::string name = it->path().filename().string();
        const std::string digits = name.rfind(prefix, 0) == 0 ? name.substr(prefix.size()) : "";
        if (digits.empty() || digits.size() > 3 ||
            digits.find_first_not_of("0123456789") != std::string::npos)
            continue;
        const size_t unit = std::stoul(digits);
        std::error_code linkError;
        const fs::path driver = fs::read_symlink(it->path() / "driver", linkError);
        if (node.unitDrivers.size() <= unit) {
            node.unitDrivers.resize(unit + 1);
            node.unitModaliases.resize(unit + 1);
        }
        node.unitDrivers[unit] = linkError ? std::string() : driver.filename().string();
        node.unitModaliases[unit] = readAttribute(it->path() / "modalias");
    }
}

RomNode readNode(const FoundNode& found, ByteOrder order) {
    RomNode node;
    node.label = found.name;
    const std::optional<uint64_t> guid = readGuid(found.folder, node);
    node.vendorName = readAttribute(found.folder / "vendor_name");
    node.modelName = readAttribute(found.folder / "model_name");
    node.local = readAttribute(found.folder / "is_local") == "1";
    readUnits(found, node);
    const RegularFile file =
        readRegularFile((found.folder / "config_rom").string(), MaxRomSize, true);
    node.guid = guid.value_or(0);
    if (!file.ok()) {
        node.notes.push_back("config_rom " + file.error);
        node.accessible = false;
        return node;
    }
    if (file.truncated)
        node.notes.push_back("config_rom holds more than " + std::to_string(MaxRomSize) +
                             " bytes, the most a Configuration ROM has; its first " +
                             std::to_string(MaxRomSize) + " were read");
    // Only whole quadlets are kept: the kernel never shows a part of one.
    if (const size_t extra = file.content.size() % 4)
        node.notes.push_back("config_rom ends with " + std::to_string(extra) +
                             " bytes after its last whole quadlet; they were left out");
    node.rom.assign(file.content.begin(), file.content.begin() + file.content.size() / 4 * 4);
    node.accessible = !node.rom.empty();
    const bool little = order == ByteOrder::Little ||
                        (order == ByteOrder::Detect && std::endian::native == std::endian::little);
    if (little)
        swapQuadlets(node.rom);
    node.guid = guid ? *guid : guidOfRom(node.rom);
    return node;
}

} // namespace

SysfsBus::SysfsBus(const std::string& root, ByteOrder order)
    : RomImageBus([&] {
          SysfsView view = read(root, order);
          return RomImageBus(std::move(view.ports), std::move(view.notes), view.skipped);
      }()) {}

SysfsView SysfsBus::read(const std::string& root, ByteOrder order) {
    const fs::path base(root);
    SysfsView view;
    // Ports keyed by their controller's folder, in the order of their lowest node number.
    std::map<fs::path, size_t> portOfFolder;
    // Every note findNodes makes is of a link it skipped.
    const std::vector<FoundNode> nodes =
        findNodes(base / "bus" / "firewire" / "devices", view.notes);
    view.skipped = view.notes.size();
    for (const FoundNode& found : nodes) {
        const fs::path controller = found.folder.parent_path();
        auto [it, added] = portOfFolder.try_emplace(controller, view.ports.size());
        if (added) {
            RomPort port;
            std::error_code error;
            fs::path relative = fs::relative(controller, fs::weakly_canonical(base, error), error);
            port.text = (error || relative.empty() ? controller : relative).string();
            view.ports.push_back(std::move(port));
        }
        RomPort& port = view.ports[it->second];
        if (port.nodes.size() == MaxNodes) {
            view.notes.push_back(found.name + ": not read; port " + std::to_string(it->second) +
                                 " (" + port.text + ") already holds " + std::to_string(MaxNodes) +
                                 " nodes, the most a port has");
            ++view.skipped;
            continue;
        }
        port.nodes.push_back(readNode(found, order));
    }
    return view;
}

} // namespace lib1394

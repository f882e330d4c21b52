#pragma once

// Writes a sysfs-shaped tree as Linux shows FireWire devices: each device fwN (a node) or fwN.M
// (a unit) is a folder below its controller's folder under devices/, linked from
// bus/firewire/devices/ by a relative symbolic link.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace rombus_test {

class SysfsTree {
public:
    explicit SysfsTree(std::filesystem::path root) : root_(std::move(root)) {
        std::filesystem::create_directories(root_ / "bus/firewire/devices");
    }

    const std::filesystem::path& root() const { return root_; }

    // Makes the folder of a device below a controller folder (relative to devices/) and its
    // link, and answers the folder.
    std::filesystem::path add(const std::string& controller, const std::string& name) const {
        const std::filesystem::path folder = root_ / "devices" / controller / name;
        std::filesystem::create_directories(folder);
        const std::filesystem::path link = root_ / "bus/firewire/devices" / name;
        std::error_code ignored;
        std::filesystem::remove(link, ignored);
        std::filesystem::create_directory_symlink(
            std::filesystem::path("../../../devices") / controller / name, link);
        return folder;
    }

    // Adds a node with its config_rom (bytes in bus order, stored as a little-endian host
    // shows them) and its guid file.
    std::filesystem::path addNode(const std::string& controller, const std::string& name,
                                  const std::vector<uint8_t>& rom, uint64_t guid) const {
        const std::filesystem::path folder = add(controller, name);
        write(folder / "config_rom", littleEndian(rom));
        write(folder / "guid", hexGuid(guid));
        return folder;
    }

    // Adds the unit device fwN.M of a node folder made by addNode, with the modalias the kernel
    // gave it, and answers its folder.
    std::filesystem::path addUnit(const std::filesystem::path& node, unsigned index,
                                  const std::string& modalias) const {
        const std::filesystem::path controller =
            node.parent_path().lexically_relative(root_ / "devices");
        const std::filesystem::path unit =
            add((controller / node.filename()).string(),
                node.filename().string() + "." + std::to_string(index));
        write(unit / "modalias", modalias + "\n");
        return unit;
    }

    static void write(const std::filesystem::path& file, const std::string& content) {
        std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
    }

    // A ROM in bus order as a little-endian machine's config_rom holds it: each quadlet reversed.
    static std::string littleEndian(const std::vector<uint8_t>& rom) {
        std::string bytes(rom.begin(), rom.end());
        for (size_t i = 0; i + 4 <= bytes.size(); i += 4) {
            std::swap(bytes[i], bytes[i + 3]);
            std::swap(bytes[i + 1], bytes[i + 2]);
        }
        return bytes;
    }

    static std::string hexGuid(uint64_t guid) {
        static const char digits[] = "0123456789abcdef";
        std::string text = "0x";
        for (int shift = 60; shift >= 0; shift -= 4)
            text += digits[(guid >> shift) & 0xF];
        return text + "\n";
    }

private:
    std::filesystem::path root_;
};

} // namespace rombus_test

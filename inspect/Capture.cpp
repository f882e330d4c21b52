#include "inspect/Capture.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

namespace rombus {
namespace {

namespace fs = std::filesystem;

std::string fileName(uint64_t guid, std::map<uint64_t, unsigned>& seen) {
    char name[40];
    const unsigned count = ++seen[guid];
    if (count == 1)
        std::snprintf(name, sizeof name, "%016llx.rom", static_cast<unsigned long long>(guid));
    else
        std::snprintf(name, sizeof name, "%016llx-%u.rom", static_cast<unsigned long long>(guid),
                      count);
    return name;
}

// Writes a file anew, or only when it does not exist yet; empty on success, else why not.
std::string writeFile(const fs::path& path, const std::vector<uint8_t>& bytes, bool overwrite) {
    std::error_code error;
    if (!overwrite && fs::symlink_status(path, error).type() != fs::file_type::not_found)
        return path.string() + ": exists; kept (--overwrite replaces it)";
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out)
        return path.string() + ": cannot be written: " + std::strerror(errno);
    return std::string();
}

} // namespace

std::vector<std::string> saveRoms(const std::vector<lib1394::RomPort>& ports,
                                  const std::string& folder, bool overwrite) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (!fs::is_directory(folder, error))
        return {folder + ": cannot be made a folder for the ROMs"};
    std::vector<std::string> problems;
    std::map<uint64_t, unsigned> seen;
    for (const lib1394::RomPort& port : ports)
        for (const lib1394::RomNode& node : port.nodes) {
            if (!node.accessible || node.rom.empty())
                continue;
            const uint64_t guid = node.guid ? node.guid : lib1394::guidOfRom(node.rom);
            const std::string problem =
                writeFile(fs::path(folder) / fileName(guid, seen), node.rom, overwrite);
            if (!problem.empty())
                problems.push_back(problem);
        }
    return problems;
}

} // namespace rombus

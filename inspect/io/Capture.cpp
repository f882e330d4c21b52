#include "inspect/io/Capture.h"

#include "inspect/io/AtomicFile.h"

#include <cstdio>
#include <filesystem>
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

// Writes a file whole, or leaves what is there; empty on success (or when the file holds the
// bytes already), else why not.
std::string writeFile(const fs::path& path, const std::vector<uint8_t>& bytes, bool overwrite) {
    const FileWrite write =
        writeWholeFile(path.string(), std::string(bytes.begin(), bytes.end()), {overwrite});
    if (write.ok())
        return std::string();
    const char* const hint =
        write.outcome == WriteOutcome::Kept ? " (--overwrite replaces it)" : "";
    return path.string() + ": " + write.reason + hint;
}

} // namespace

std::vector<std::string> saveRoms(const std::vector<lib1394::RomPort>& ports,
                                  const std::string& folder, bool overwrite) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (!error && !fs::is_directory(folder, error))
        error = std::make_error_code(std::errc::not_a_directory);
    if (error)
        return {folder + ": cannot be made a folder for the ROMs: " + error.message()};
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

// rombus: reads the Configuration ROMs of IEEE 1394 nodes, from the machine's buses or from image
// files, through the libRombus module, and prints the device tree and the problems found.
#include "Enumeration.h"
#include "JsonReport.h"
#include "Options.h"
#include "Registry.h"
#include "TextReport.h"
#include "lib1394/ImageFile.h"
#include "lib1394/SysfsBus.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace {

namespace fs = std::filesystem;
using namespace rombus;

// A message of the tool's own on standard error; the paths it names are shown escaped.
void complain(const std::string& text) {
    std::fprintf(stderr, "rombus: %s\n", escaped(text, false).c_str());
}

// The registry to read: the one given, which must be readable, or the one built with the tool.
bool chooseRegistry(const Options& options, std::string& path) {
    std::error_code error;
    if (!options.registry.empty()) {
        path = options.registry;
        if (fs::is_directory(path, error) || !std::ifstream(path)) {
            complain(path + ": the vendor registry cannot be read");
            return false;
        }
        return true;
    }
    path = defaultRegistryPath();
    if (!fs::exists(path, error))
        complain("no vendor registry at " + path +
                 "; vendor names are left out (give --registry, or build it with "
                 "'rombus registry import -o " +
                 path + "')");
    return true;
}

int report(const Scan& scan, const Options& options, const std::string& emptyText) {
    if (options.format == Format::Json)
        std::cout << jsonText(jsonReport(scan));
    else
        std::cout << textReport(scan, emptyText);
    std::cout.flush();
    return hasProblems(scan) ? ExitProblems : ExitClean;
}

Settings settingsOf(const Options& options, const std::string& registry) {
    Settings settings;
    settings.registry = registry;
    settings.crcLevel = options.crcLevel;
    settings.logLevel = options.logLevel;
    return settings;
}

int runScan(const Options& options) {
    std::string registry;
    if (!chooseRegistry(options, registry))
        return ExitUsage;
    std::error_code error;
    if (!fs::is_directory(options.sysfsRoot, error)) {
        complain(options.sysfsRoot + ": no such folder (--sysfs names the root of a sysfs tree)");
        return ExitUsage;
    }
    auto bus = std::make_shared<lib1394::SysfsBus>(options.sysfsRoot, options.byteOrder);
    const Scan scan = enumerate(bus, settingsOf(options, registry));
    return report(scan, options,
                  "No FireWire devices under " + options.sysfsRoot +
                      " (bus/firewire/devices lists no node).");
}

int runCheck(const Options& options) {
    std::string registry;
    if (!chooseRegistry(options, registry))
        return ExitUsage;
    std::vector<lib1394::ImageFile> images;
    bool inputError = false;
    for (const std::string& path : options.files) {
        lib1394::ImageFile image = lib1394::readImageFile(path, options.byteOrder);
        if (image.ok()) {
            images.push_back(std::move(image));
        } else {
            complain(image.error);
            inputError = true;
        }
    }
    if (images.empty())
        return ExitUsage;
    auto bus = std::make_shared<lib1394::ImageFileBus>(images);
    const int status = report(enumerate(bus, settingsOf(options, registry)), options, "");
    return inputError ? ExitUsage : status;
}

int runImport(const Options& options) {
    const std::string source =
        options.importFrom.empty() ? defaultImportSource() : options.importFrom;
    std::vector<RegistryEntry> entries;
    std::string error;
    if (!readIeeeRegistry(source, entries, error)) {
        complain(error);
        return ExitUsage;
    }
    const std::string registry = formatRegistry(std::move(entries));
    if (options.importTo.empty()) {
        std::cout << registry;
        return std::cout.flush() ? ExitClean : ExitUsage;
    }
    std::error_code fsError;
    const fs::path parent = fs::path(options.importTo).parent_path();
    if (!parent.empty())
        fs::create_directories(parent, fsError);
    std::ofstream out(options.importTo, std::ios::binary | std::ios::trunc);
    out << registry;
    out.close();
    if (!out) {
        complain(options.importTo + ": cannot be written");
        return ExitUsage;
    }
    return ExitClean;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    const int status = parseOptions(argc, argv, options);
    if (status >= 0)
        return status;
    switch (options.command) {
    case Command::RegistryImport:
        return runImport(options);
    case Command::Check:
        return runCheck(options);
    default:
        return runScan(options);
    }
}

// rombus: reads the Configuration ROMs of IEEE 1394 nodes, from the machine's buses or from image
// files, through the libRombus module, and prints the device tree and the problems found.
#include "CommandIo.h"
#include "Drivers.h"
#include "JsonReport.h"
#include "Listing.h"
#include "Options.h"
#include "Selection.h"
#include "Terminal.h"
#include "Text.h"
#include "TextReport.h"
#include "inspect/io/BusFile.h"
#include "inspect/io/Capture.h"
#include "inspect/io/Registry.h"
#include "inspect/model/Inspection.h"
#include "lib1394/ImageFile.h"
#include "lib1394/LiveBus.h"
#include "lib1394/RegularFile.h"
#include "lib1394/SysfsBus.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace {

namespace fs = std::filesystem;
using namespace rombus;

// Why a machine shows no FireWire bus at all, said alike by scan and scan --live.
constexpr const char* NoStack = "The kernel's FireWire stack (the firewire-ohci and firewire-core "
                                "modules) is not loaded, or the machine has no FireWire "
                                "controller.";

// The registry to read: the one given, which must be readable, or the one built with the tool.
bool chooseRegistry(const Options& options, std::string& path) {
    std::error_code error;
    if (!options.registry.empty()) {
        path = options.registry;
        // The module opens the registry for every lookup: a FIFO or a device would block it.
        const std::string reason = lib1394::notRegularFile(path);
        if (!reason.empty()) {
            complain(path + ": the vendor registry " + reason);
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

int report(Inspection inspection, const Options& options, const std::string& emptyText) {
    Layout layout = layoutOf(options.color);
    layout.dump = options.dump;
    const bool found = !inspection.nodes.empty();
    layout.hidden = keepSelected(inspection, options);
    if (found && inspection.nodes.empty()) {
        complain("no node matches" + (options.slot.empty() ? "" : " -s " + options.slot) +
                 (options.ids.empty() ? "" : " -d " + options.ids));
        return ExitNoNode;
    }
    if (options.dump && options.format == Format::Json)
        complain("--dump is not part of the JSON report; the entries are, under \"entries\"");
    const std::string text =
        options.format == Format::Json ? jsonText(jsonReport(inspection, layout.hidden))
        : options.brief ? listing(inspection, emptyText, options.numeric, options.kernelDrivers)
                        : textReport(inspection, emptyText, layout);
    if (!writeOut(text))
        return ExitUsage;
    if (hasProblems(inspection))
        return ExitProblems;
    return inspection.nodes.empty() ? ExitNoNode : ExitClean;
}

Settings settingsOf(const Options& options, const std::string& registry,
                    std::shared_ptr<const DriverTable> drivers) {
    Settings settings;
    settings.registry = registry;
    settings.crcLevel = options.crcLevel;
    settings.logLevel = options.logLevel;
    settings.strict = options.strict;
    settings.drivers = std::move(drivers);
    const std::string assignments = longAssignmentsPath(registry);
    std::error_code error;
    std::vector<std::string> problems;
    if (fs::exists(assignments, error))
        settings.assignments = std::make_shared<const std::vector<LongAssignment>>(
            readLongAssignments({assignments}, problems));
    for (const std::string& problem : problems)
        complain(problem);
    return settings;
}

int runScan(const Options& options) {
    std::string registry;
    std::shared_ptr<const DriverTable> drivers;
    if (!chooseRegistry(options, registry) || !chooseDrivers(options, drivers))
        return ExitUsage;
    std::error_code error;
    std::shared_ptr<lib1394::RomImageBus> bus;
    std::vector<lib1394::BusCapture> buses;
    std::string emptyText;
    if (options.live) {
        lib1394::LiveSetup setup;
        setup.folder = options.devFolder;
        auto live = std::make_shared<lib1394::LiveBus>(setup);
        if (live->deviceFiles() == 0) {
            for (const std::string& note : live->notes())
                complain(note);
            complain(options.devFolder +
                     ": no FireWire device files (fw*); --dev names the folder that holds them");
        }
        buses = live->buses();
        emptyText =
            "No FireWire devices in " + options.devFolder + ": no fw* device file. " + NoStack;
        bus = live;
    } else if (!fs::is_directory(options.sysfsRoot, error)) {
        complain(options.sysfsRoot + ": no such folder (--sysfs names the root of a sysfs tree)");
        return ExitUsage;
    } else {
        bus = std::make_shared<lib1394::SysfsBus>(options.sysfsRoot, options.byteOrder);
        emptyText = "No FireWire devices under " + options.sysfsRoot + ": " +
                    (fs::is_directory(fs::path(options.sysfsRoot) / "bus/firewire", error)
                         ? std::string("bus/firewire/devices lists no node.")
                         : "there is no bus/firewire. " + std::string(NoStack));
    }
    const int status =
        report(inspect(bus, settingsOf(options, registry, drivers)), options, emptyText);
    if (options.saveRoms.empty())
        return status;
    std::vector<std::string> problems = saveRoms(bus->ports(), options.saveRoms, options.overwrite);
    for (std::string& problem : saveBusFiles(buses, options.saveRoms, options.overwrite))
        problems.push_back(std::move(problem));
    for (const std::string& problem : problems)
        complain(problem);
    return problems.empty() ? status : ExitUsage;
}

int runCheck(const Options& options) {
    std::string registry;
    std::shared_ptr<const DriverTable> drivers;
    if (!chooseRegistry(options, registry) || !chooseDrivers(options, drivers))
        return ExitUsage;
    std::vector<lib1394::ImageFile> images;
    bool inputError = false;
    for (const std::string& path : options.files) {
        lib1394::ImageFile image = readImage(path, options.byteOrder, options.form);
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
    const int status = report(inspect(bus, settingsOf(options, registry, drivers)), options, "");
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
    if (options.importTo.empty())
        return writeOut(registry) ? ExitClean : ExitUsage;
    std::error_code fsError;
    const fs::path parent = fs::path(options.importTo).parent_path();
    if (!parent.empty())
        fs::create_directories(parent, fsError);
    // The MA-M, MA-S and IAB assignments go beside it, for the tool alone: the module's registry
    // holds 24-bit company ids only.
    std::vector<std::string> problems;
    const std::string longer =
        formatLongAssignments(readLongAssignments(longAssignmentSources(), problems));
    for (const std::string& problem : problems)
        complain(problem);
    const bool written = writeFile(options.importTo, registry) &&
                         writeFile(longAssignmentsPath(options.importTo), longer);
    return written && problems.empty() ? ExitClean : ExitUsage;
}

} // namespace

int main(int argc, char** argv) {
    // A reader that has gone ends the tool quietly, as it ends the other tools of a pipeline,
    // whatever the disposition the tool was started with.
    std::signal(SIGPIPE, SIG_DFL);
    Options options;
    const int status = parseOptions(argc, argv, options);
    // Help and the version must arrive as well as a report.
    if (status == ExitClean)
        return writeOut(options.printed) ? ExitClean : ExitUsage;
    if (status >= 0)
        return status;
    if (options.run)
        return options.run(options);
    switch (options.command) {
    case Command::RegistryImport:
        return runImport(options);
    case Command::Check:
        return runCheck(options);
    default:
        return runScan(options);
    }
}

// rombus hwdb FILE...: systemd hwdb entries for the units of ROM images, merged and sorted, as
// systemd's ieee1394 unit-function database lays them out.
#include "CommandIo.h"
#include "Drivers.h"
#include "RomCommands.h"
#include "inspect/io/Registry.h"
#include "inspect/model/HwdbEntries.h"
#include "inspect/model/Inspection.h"
#include "lib1394/ImageFile.h"

namespace rombus {
namespace {

const char* const hwdbFooter =
    "Writes systemd hwdb entries for the units of ROM images (read as 'rombus check' reads\n"
    "them): per unit the node key (ieee1394:node:ven0x...mo0x...units0x...:0x..., lower-case)\n"
    "and the unit's modalias, then ID_VENDOR_FROM_DATABASE and ID_MODEL_FROM_DATABASE (the\n"
    "ROM's names, else the registry's vendor) and IEEE1394_UNIT_FUNCTION_AUDIO, _MIDI and\n"
    "_VIDEO where the drivers that take the unit or its architecture tell them. Entries of\n"
    "all the files are merged (the same ids once, the same properties under one block of\n"
    "keys) and sorted by modalias. Exit status: 0 written, 2 an input could not be read.\n";

int runHwdb(const Options& options) {
    std::shared_ptr<const DriverTable> drivers;
    if (!chooseDrivers(options, drivers))
        return ExitUsage;
    std::vector<lib1394::ImageFile> images;
    bool inputError = false;
    for (const std::string& path : options.files) {
        lib1394::ImageFile image = readImage(path, options.byteOrder, options.form);
        inputError = inputError || !image.ok();
        if (image.ok())
            images.push_back(std::move(image));
        else
            complain(image.error);
    }
    if (images.empty())
        return ExitUsage;
    Settings settings;
    settings.registry = options.registry.empty() ? defaultRegistryPath() : options.registry;
    settings.logLevel = options.logLevel;
    settings.drivers = drivers;
    const Inspection inspection =
        inspect(std::make_shared<lib1394::ImageFileBus>(images), settings);
    std::vector<HwdbEntry> entries;
    for (const NodeView& node : inspection.nodes)
        for (HwdbEntry& entry : hwdbEntriesOf(node))
            entries.push_back(std::move(entry));
    std::vector<std::string> conflicts;
    const std::string text = formatHwdb(mergeHwdb(entries, conflicts));
    for (const std::string& conflict : conflicts)
        complain(conflict);
    if (!writeOut(text))
        return ExitUsage;
    return inputError ? ExitUsage : ExitClean;
}

} // namespace

void addHwdb(CLI::App& app, Options& options) {
    CLI::App* hwdb = app.add_subcommand("hwdb", "Write systemd hwdb entries for ROM images");
    hwdb->add_option("FILE", options.files, "ROM image files; - for standard input")->required();
    hwdb->footer(hwdbFooter);
    hwdb->callback([&options] { options.run = runHwdb; });
}

} // namespace rombus

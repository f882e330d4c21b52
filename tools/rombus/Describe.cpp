// rombus describe ROM: a ROM as the YAML description 'rombus build' turns back into it.
#include "CommandIo.h"
#include "RomCommands.h"
#include "inspect/lifecycle/RomDescription.h"

namespace rombus {
namespace {

const char* const describeFooter =
    "Writes a ROM image as a description in YAML, the form 'rombus build' reads: bus_info\n"
    "fields, guid, and the root directory as a list of entries, in canonical layout when the\n"
    "ROM is in it; otherwise blocks at their offsets (at), shared or overlapping blocks and\n"
    "targets outside the ROM by value (each quadlet is described once), wrong CRCs (crc,\n"
    "root_crc) and data no entry reaches (unreferenced) as they stand. A ROM no description\n"
    "builds again byte for byte (a block past the end, an info_length other than 4) is\n"
    "refused with the reason. Exit status: 0 described, 1 refused, 2 the input cannot be\n"
    "read.\n";

int runDescribe(const Options& options) {
    const lib1394::ImageFile image = readImage(options.files[0], options.byteOrder);
    if (!image.ok()) {
        complain(image.error);
        return ExitUsage;
    }
    std::string refusal;
    const std::string description = describeRom(decode::decodeRom(image.rom), refusal);
    if (description.empty()) {
        complain(image.path + ": cannot be described: " + refusal);
        return ExitProblems;
    }
    return writeOut(description) ? ExitClean : ExitUsage;
}

} // namespace

void addDescribe(CLI::App& app, Options& options) {
    CLI::App* describe = app.add_subcommand("describe", "Write a ROM as a YAML description");
    describe->add_option("FILE", options.files, "ROM image; - for standard input")
        ->required()
        ->expected(1);
    describe->footer(describeFooter);
    describe->callback([&options] { options.run = runDescribe; });
}

} // namespace rombus

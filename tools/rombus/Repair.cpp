// rombus repair IN -o OUT: a copy of a ROM with every CRC corrected.
#include "CommandIo.h"
#include "RomCommands.h"
#include "inspect/lifecycle/RomRepair.h"

#include <filesystem>

namespace rombus {
namespace {

const char* const repairFooter =
    "Writes a copy of a ROM image with the CRC of the bus information block and of every\n"
    "directory and leaf reached from the root directory corrected, one line for each\n"
    "change (on standard error when the copy goes to standard output). The input is only\n"
    "written over with --in-place. Exit status: 0 written, 1 written but a CRC could not be\n"
    "known (a block runs past the end of the ROM), 2 an input or output error.\n";

// The file to write, or empty, with a message, when the options do not name one it may write.
std::string outputOf(const Options& options) {
    const std::string& input = options.files[0];
    if (options.inPlace) {
        if (input == "-" || !options.output.empty())
            complain("--in-place writes over the input file: give a file, and no -o");
        return input == "-" || !options.output.empty() ? "" : input;
    }
    std::error_code error;
    if (options.output.empty())
        complain("repair needs -o OUT, or --in-place to write over " + input);
    else if (input != "-" && std::filesystem::equivalent(input, options.output, error))
        complain(options.output + " is the input; give --in-place to write over it");
    else
        return options.output;
    return "";
}

int runRepair(const Options& options) {
    const std::string output = outputOf(options);
    if (output.empty() || !formFitsName(output, options.outputForm))
        return ExitUsage;
    const lib1394::ImageFile image = readImage(options.files[0], options.byteOrder);
    if (!image.ok()) {
        complain(image.error);
        return ExitUsage;
    }
    const RomRepair repair = repairRom(image.rom, options.fixCrcLength);
    if (!writeRom(output, romInForm(repair.rom, options.outputForm)))
        return ExitUsage;
    std::FILE* told = output == "-" ? stderr : stdout;
    for (const std::string& change : repair.changes)
        std::fprintf(told, "%s: %s\n", image.path.c_str(), change.c_str());
    if (repair.changes.empty())
        std::fprintf(told, "%s: every CRC is right; the copy is the same\n", image.path.c_str());
    for (const std::string& left : repair.left)
        complain(image.path + ": " + left);
    return repair.left.empty() ? ExitClean : ExitProblems;
}

} // namespace

void addRepair(CLI::App& app, Options& options) {
    CLI::App* repair =
        app.add_subcommand("repair", "Write a copy of a ROM with its CRCs corrected");
    repair->add_option("FILE", options.files, "ROM image; - for standard input")
        ->required()
        ->expected(1);
    addOutputOptions(*repair, options, false);
    repair->add_flag("--in-place", options.inPlace, "Write the copy over the input file");
    repair->add_flag("--fix-crc-length", options.fixCrcLength,
                     "Also set crc_length to cover the whole ROM");
    repair->footer(repairFooter);
    repair->callback([&options] { options.run = runRepair; });
}

} // namespace rombus

// rombus repair IN -o OUT: a copy of a ROM with every CRC corrected.
#include "CommandIo.h"
#include "RomCommands.h"
#include "Text.h"
#include "inspect/lifecycle/RomRepair.h"
#include "lib1394/RegularFile.h"

#include <filesystem>

namespace rombus {
namespace {

const char* const repairFooter =
    "Writes a copy of a ROM image with the CRC of the bus information block and of every\n"
    "directory and leaf reached from the root directory corrected, one line for each\n"
    "change (on standard error when the copy goes to standard output). The input is only\n"
    "written over with --in-place, in its own form unless --output-form says otherwise,\n"
    "keeping its mode and owner, and not at all when every CRC is right already. Exit\n"
    "status: 0 written, 1 written but a CRC could not be made right (a block runs past the\n"
    "end of the ROM), 2 an input or output error.\n";

// The largest hex text of a ROM in the tool's own form: 256 lines of nine characters.
constexpr size_t MaxHexTextSize = 256 * 9;

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

// Whether a hex text file holds the ROM exactly as --output-form hex writes it: one quadlet a
// line and nothing else, so that writing over it loses nothing.
bool ownHexText(const lib1394::ImageFile& image) {
    const lib1394::RegularFile file = lib1394::readRegularFile(image.path, MaxHexTextSize);
    return file.ok() && file.content == romInForm(image.rom, "hex");
}

// The form of the copy: the one asked for, else with --in-place the input's own. Empty, with a
// message, for a text written over whose notes or layout no form keeps.
std::string formOf(const Options& options, const lib1394::ImageFile& image) {
    if (!options.outputForm.empty() || !options.inPlace)
        return options.outputForm.empty() ? "be" : options.outputForm;
    switch (image.stored) {
    case lib1394::StoredForm::LittleEndian:
        return "le";
    case lib1394::StoredForm::HexText:
        if (ownHexText(image))
            return "hex";
        complain(image.path + ": is hex text with comments or a layout of its own, which a "
                              "repaired copy cannot keep; give --output-form to write over it "
                              "in that form, or -o");
        return "";
    case lib1394::StoredForm::DumpText:
        complain(image.path + ": is an annotated dump, whose annotations a repaired copy cannot "
                              "keep; give --output-form to write over it in that form, or -o");
        return "";
    default:
        return "be";
    }
}

// Writes the repaired ROM; false, with a message, when it cannot.
bool writeRepaired(const Options& options, const std::string& output,
                   const lib1394::ImageFile& image, const RomRepair& repair) {
    const std::string form = formOf(options, image);
    if (form.empty())
        return false;
    if (const std::string problem = formProblem(repair.rom, form); !problem.empty()) {
        complain(image.path + ": " + problem);
        return false;
    }
    return writeRom(output, romInForm(repair.rom, form),
                    {.replace = true, .keepLinks = options.keepLinks});
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
    const bool untouched = options.inPlace && repair.changes.empty();
    if (!untouched && !writeRepaired(options, output, image, repair))
        return ExitUsage;
    std::FILE* told = output == "-" ? stderr : stdout;
    const std::string path = escaped(image.path, false);
    for (const std::string& change : repair.changes)
        std::fprintf(told, "%s: %s\n", path.c_str(), escaped(change, false).c_str());
    if (repair.changes.empty())
        std::fprintf(told, "%s: every CRC is right; %s\n", path.c_str(),
                     untouched ? "the file is left as it is" : "the copy is the same");
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
    repair->add_flag("--keep-links", options.keepLinks,
                     "With --in-place, write into a file that has other hard links, so that\n"
                     "they see the copy too (not atomic); without it such a file is refused");
    repair->add_flag("--fix-crc-length", options.fixCrcLength,
                     "Also set crc_length to cover the whole ROM");
    repair->footer(repairFooter);
    repair->callback([&options] { options.run = runRepair; });
}

} // namespace rombus

// rombus build DESC [-o ROM]: a ROM image from its YAML description.
#include "CommandIo.h"
#include "RomCommands.h"
#include "inspect/lifecycle/RomDescription.h"
#include "lib1394/RegularFile.h"
#include "lib1394/Utf8Text.h"

#include <filesystem>

#include <unistd.h>

namespace rombus {
namespace {

const char* const buildFooter =
    "Builds a ROM image from a description in YAML (see 'rombus describe' and the README):\n"
    "every offset, length and CRC is computed, the blocks laid out breadth first after\n"
    "the root directory. Without -o the ROM goes to standard output (not to a terminal,\n"
    "unless as hex text). Exit status: 0 built, 2 the description cannot be read or built.\n";

// Descriptions are small: a ROM of 256 quadlets with a comment on each.
constexpr size_t MaxDescriptionSize = 1 << 20;

int runBuild(const Options& options) {
    const std::string& path = options.files[0];
    // Without -o the ROM goes to standard output, as describe's text does; not raw bytes to a
    // terminal.
    const std::string output = options.output.empty() ? "-" : options.output;
    if (output == "-" && options.outputForm != "hex" && ::isatty(STDOUT_FILENO)) {
        complain("standard output is a terminal: give -o ROM, or --output-form hex");
        return ExitUsage;
    }
    if (!formFitsName(output, options.outputForm))
        return ExitUsage;
    std::error_code error;
    if (output != "-" && std::filesystem::equivalent(path, output, error)) {
        complain(output + " is the description; give the ROM another name");
        return ExitUsage;
    }
    const lib1394::RegularFile file = lib1394::readRegularFile(path, MaxDescriptionSize);
    if (!file.ok()) {
        complain(path + ": " + file.error);
        return ExitUsage;
    }
    if (const std::string fault = lib1394::textFault(file.content); !fault.empty()) {
        complain(path + ": is not text (" + fault + "); a description is YAML in UTF-8");
        return ExitUsage;
    }
    std::string mistake;
    const std::vector<uint8_t> rom = buildRom(file.content, mistake);
    if (rom.empty()) {
        complain(path + ": " + mistake);
        return ExitUsage;
    }
    return writeRom(output, romInForm(rom, options.outputForm)) ? ExitClean : ExitUsage;
}

} // namespace

void addBuild(CLI::App& app, Options& options) {
    CLI::App* build = app.add_subcommand("build", "Build a ROM image from a YAML description");
    build->add_option("FILE", options.files, "The description")->required()->expected(1);
    addOutputOptions(*build, options, false);
    build->footer(buildFooter);
    build->callback([&options] { options.run = runBuild; });
}

} // namespace rombus

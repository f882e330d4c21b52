#include "Options.h"

#include "RomCommands.h"
#include "Selection.h"
#include "inspect/io/Registry.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <sstream>
#include <string_view>

namespace rombus {
namespace {

// The JSON Schema of the report, installed beside the vendor registry.
constexpr const char* ReportSchema = "rombus-report.schema.json";

std::string mainFooter() {
    return "Run 'rombus COMMAND --help' for the options of one command.\n"
           "\n"
           "Vendor registry: without --registry the tool reads\n"
           "  " +
           defaultRegistryPath() +
           "\n"
           "\n"
           "JSON: --format json writes one object described by the JSON Schema\n"
           "  " +
           (std::filesystem::path(dataFolder()) / ReportSchema).string() +
           "\n"
           "\n"
           "Exit status:\n"
           "  0  every node was read without a problem record\n"
           "  1  a node has a problem record, a node's ROM could not be read, or the bus\n"
           "     skipped a node (a link that leads nowhere, a port past 63 nodes)\n"
           "  2  usage error, bad input (an unreadable, empty, oversized or malformed file),\n"
           "     or a report or file that could not be written\n"
           "  3  no FireWire bus, or no node on it: nothing was read\n"
           "A reader that goes away (rombus ... | head) ends the tool by SIGPIPE.\n";
}

const char* const scanFooter =
    "Reads every node of the machine's FireWire buses as Linux shows them under\n"
    "ROOT/bus/firewire/devices: each node's ROM, and per unit the driver bound to it.\n"
    "--save-roms writes each node's ROM to FOLDER/<GUID>.rom, raw binary in bus order,\n"
    "for 'rombus check' to read back; an existing file is kept unless --overwrite.\n"
    "--live reads each node's ROM from the device itself through DIR/fw* (--dev, /dev by\n"
    "default), quadlet by quadlet as the kernel does, up to 256 quadlets, the kernel's\n"
    "copy kept beside it; it needs root or the group owning the files. No fw* file\n"
    "there is a usage error. With --live, --save-roms also saves each card's bus as\n"
    "FOLDER/cardN.bus for 'rombus topology' to read back.\n";

const char* const checkFooter =
    "Reads ROM image files, each one node, 63 to a port, in the order given; '-' reads\n"
    "an image from standard input. A file named *.rom is raw binary in bus order, as\n"
    "--save-roms writes it. Any other is found by its bytes, unless --form names its\n"
    "form: raw binary in bus order; raw binary in little-endian quadlets (a copy of a\n"
    "sysfs config_rom, found by its signature or named with --byte-order le); hex text\n"
    "of 32-bit quadlets separated by blanks or commas, optional 0x, comments from # or\n"
    "// to the end of the line; an annotated dump (the output of -x, or lines of an offset\n"
    "or CSR address, then a quadlet). At most 1024 bytes (256 quadlets) each.\n";

std::string importFooter() {
    return "Turns the IEEE registry of Debian's ieee-data into the vendor registry the tool\n"
           "reads: one line per identifier, ascending. FILE: oui.txt or oui.csv, by default\n" +
           defaultImportSource() + "; OUT: standard output.\n";
}

// Options given as words or counts, turned into their values after parsing.
struct Names {
    std::string format = "text";
    std::string color = "auto";
    std::string byteOrder;
    std::string form = "auto";
    int verbosity = 0;
    CLI::Option* logLevel = nullptr;
};

void addCommonOptions(CLI::App& app, Options& options, Names& names) {
    app.add_option("--registry", options.registry,
                   "Vendor registry file; default: the one named below")
        ->type_name("PATH");
    app.add_option("--crc-level", options.crcLevel,
                   "Level of a CRC mismatch: 0 progress, 1 warning, 2 error (default 2)")
        ->type_name("N")
        ->check(CLI::Range(0, 2).description(""));
    app.add_option("--format", names.format, "Output format (default text)")
        ->type_name("text|json")
        ->check(CLI::IsMember({"text", "json"}).description(""));
    app.add_option("--color", names.color,
                   "Colour the levels of the text report: auto (on a terminal, unless\n"
                   "NO_COLOR is set; the default), always or never")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}).description(""));
    app.add_flag("-x,--dump", options.dump,
                 "After each node, its ROM quadlet by quadlet: offset, CSR address, value and\n"
                 "meaning, with every CRC's verdict and the records and advisories beside");
    app.add_flag("--short", options.brief,
                 "One line per node (port:node, source, GUID, vendor, model, units, status)\n"
                 "and a line of totals, as lspci and lsusb list devices; JSON is unchanged");
    app.add_flag("-k", options.kernelDrivers,
                 "With --short, each unit's kernel driver in use and the drivers whose\n"
                 "entries take it, as lspci -k");
    app.add_option("--modules-alias", options.modulesAlias,
                   "The drivers' entries units are matched against: a kernel's modules.alias,\n"
                   "or 'shipped' for the table shipped with the tool; default: the running\n"
                   "kernel's, else the shipped table")
        ->type_name("PATH");
    app.add_flag("--strict", options.strict,
                 "Exit with 1 also for records a named standard permits (a unit's own keys,\n"
                 "IEEE 1212-1994 keys, a minimal ROM) and for advisories (what the module does\n"
                 "not report: byte-reversed CRCs, lengths past the ROM, reserved values...)");
    app.add_flag("-v,--verbose", names.verbosity,
                 "Show the module's log lines on standard error: -v failures, -vv problems\n"
                 "too, -vvv every detail");
    names.logLevel = app.add_option("--log-level", options.logLevel,
                                    "Show the module's log lines from this priority up: 0 all,\n"
                                    "1 detail, 2 information, 3 problems, 4 failures, 5 none\n"
                                    "(the default)")
                         ->type_name("N")
                         ->check(CLI::Range(0, 5).description(""));
    app.add_option("--byte-order", names.byteOrder,
                   "Quadlet byte order of images and sysfs config_rom files; default:\n"
                   "images by their signature, sysfs the host's order")
        ->type_name("be|le")
        ->check(CLI::IsMember({"be", "le"}).description(""));
    app.add_option("-s", options.slot,
                   "Show only the nodes at [PORT]:[NODE] (as --short numbers them), the\n"
                   "kernel's fwN, or the GUID (16 hexadecimal digits), as lspci -s")
        ->type_name("SLOT");
    app.add_option("-d", options.ids,
                   "Show only the nodes of this vendor and model id (the root directory's, in\n"
                   "hexadecimal; either may be left out), as lspci -d")
        ->type_name("[VENDOR][:[MODEL]]");
    app.add_flag("-n", options.numeric,
                 "--short shows vendor and model ids instead of names; -nn both");
    app.set_version_flag("--version", std::string("rombus ") + ROMBUS_VERSION,
                         "Print the version and exit");
}

void addScan(CLI::App& app, Options& options) {
    CLI::App* scan = app.add_subcommand("scan", "Read the machine's FireWire buses");
    scan->add_option("--sysfs", options.sysfsRoot, "Root of the sysfs tree to read")
        ->type_name("ROOT")
        ->capture_default_str();
    CLI::Option* live = scan->add_flag(
        "--live", options.live, "Read each node's ROM from the device through the fw* files");
    live->excludes("--sysfs");
    scan->add_option("--dev", options.devFolder, "Folder of the fw* device files for --live")
        ->type_name("DIR")
        ->capture_default_str()
        ->needs(live);
    scan->add_option("--save-roms", options.saveRoms, "Save every node's ROM in this folder")
        ->type_name("FOLDER");
    scan->add_flag("--overwrite", options.overwrite, "Let --save-roms replace existing files");
    scan->footer(scanFooter);
    scan->callback([&options] { options.command = Command::Scan; });
}

void addCheck(CLI::App& app, Options& options, Names& names) {
    CLI::App* check = app.add_subcommand("check", "Read Configuration ROM image files");
    check->add_option("FILE", options.files, "ROM image files; - for standard input")->required();
    check
        ->add_option("--form", names.form,
                     "How the images are stored: auto (by name and bytes; the default),\n"
                     "binary (raw bytes) or hex (hex text)")
        ->type_name("auto|binary|hex")
        ->check(CLI::IsMember({"auto", "binary", "hex"}).description(""));
    check->footer(checkFooter);
    check->callback([&options] { options.command = Command::Check; });
}

void addRegistry(CLI::App& app, Options& options) {
    CLI::App* registry = app.add_subcommand("registry", "Vendor registry commands");
    registry->require_subcommand(1);
    CLI::App* import = registry->add_subcommand("import", "Build the vendor registry file");
    import->add_option("--from", options.importFrom, "IEEE registry, oui.txt or oui.csv")
        ->type_name("FILE");
    import->add_option("-o,--output", options.importTo, "Registry file to write")->type_name("OUT");
    import->footer(importFooter());
    import->callback([&options] { options.command = Command::RegistryImport;
});
} // namespace

// The common options and the commands that read them: given to another command, one is an error
// rather than silently ignored.
struct OptionUse {
    const char* option;
    std::initializer_list<std::string_view> commands;
};
const OptionUse optionUses[] = {
    {"--registry", {"scan", "check", "hwdb", "topology"}},
    {"--modules-alias", {"scan", "check", "hwdb"}},
    {"--crc-level", {"scan", "check"}},
    {"--format", {"scan", "check", "diff", "topology"}},
    {"--color", {"scan", "check"}},
    {"--dump", {"scan", "check"}},
    {"--short", {"scan", "check"}},
    {"--strict", {"scan", "check"}},
    {"--verbose", {"scan", "check"}},
    {"--log-level", {"scan", "check"}},
    {"--byte-order", {"scan", "check", "diff", "repair", "describe"}},
    {"-s", {"scan", "check"}},
    {"-d", {"scan", "check"}},
    {"-n", {"scan", "check"}},
};

// The first common option given that the command does not read; empty when there is none.
std::string unusedOption(const CLI::App& app, const std::string& command) {
    for (const OptionUse& use : optionUses) {
        const CLI::Option* option = app.get_option_no_throw(use.option);
        if (option && option->count() > 0 &&
            std::find(use.commands.begin(), use.commands.end(), command) == use.commands.end())
            return use.option;
    }
    return "";
}

// The module's log gate: --log-level when given, else by the number of -v.
unsigned logLevelOf(const Names& names, unsigned given) {
    if (names.logLevel->count() > 0)
        return given;
    static const unsigned byVerbosity[] = {5, 4, 3, 1};
    return byVerbosity[std::min(names.verbosity, 3)];
}

lib1394::ImageForm formOf(const std::string& name) {
    if (name == "binary")
        return lib1394::ImageForm::Binary;
    return name == "hex" ? lib1394::ImageForm::Hex : lib1394::ImageForm::Detect;
}

Color colorOf(const std::string& name) {
    if (name == "always")
        return Color::Always;
    return name == "never" ? Color::Never : Color::Auto;
}

} // namespace rombus

int parseOptions(int argc, char** argv, Options& options) {
    CLI::App app("Reads the Configuration ROMs of IEEE 1394 (FireWire) nodes, checks them and\n"
                 "shows the device tree with every problem found.",
                 "rombus");
    app.fallthrough();
    app.require_subcommand(1);
    Names names;
    addCommonOptions(app, options, names);
    addScan(app, options);
    addCheck(app, options, names);
    addRegistry(app, options);
    for (const RomCommand add : romCommands)
        add(app, options);
    // Set last, so that the commands keep footers of their own.
    app.footer(mainFooter());
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream out;
        std::ostringstream err;
        const int status = app.exit(error, out, err);
        options.printed = out.str();
        if (!err.str().empty())
            std::fprintf(stderr, "rombus: %s", err.str().c_str());
        return status == 0 ? ExitClean : ExitUsage;
    }
    const std::string command = app.get_subcommands().front()->get_name();
    if (const std::string unused = unusedOption(app, command); !unused.empty()) {
        std::fprintf(stderr, "rombus: %s is not an option of %s\n", unused.c_str(),
                     command.c_str());
        return ExitUsage;
    }
    if (const std::string error = selectionError(options); !error.empty()) {
        std::fprintf(stderr, "rombus: %s\n", error.c_str());
        return ExitUsage;
    }
    options.format = names.format == "json" ? Format::Json : Format::Text;
    options.color = colorOf(names.color);
    options.logLevel = logLevelOf(names, options.logLevel);
    if (!names.byteOrder.empty())
        options.byteOrder =
            names.byteOrder == "le" ? lib1394::ByteOrder::Little : lib1394::ByteOrder::Big;
    options.form = formOf(names.form);
    return -1;
}

} // namespace rombus

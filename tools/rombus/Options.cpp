#include "Options.h"

#include "Registry.h"

#include <CLI/CLI.hpp>

namespace rombus {
namespace {

std::string footer() {
    return "Commands in detail:\n"
           "  scan [--sysfs ROOT]     Read every node of the machine's FireWire buses, as Linux\n"
           "                          shows them under ROOT/bus/firewire/devices (ROOT: /sys).\n"
           "  check FILE...           Read ROM image files, each one node of one port, in the\n"
           "                          order given. Forms: raw binary in bus order; raw binary in\n"
           "                          little-endian quadlets (a copy of a sysfs config_rom, found\n"
           "                          by its signature or named with --byte-order le); hex text "
           "of\n"
           "                          32-bit quadlets separated by blanks or commas, optional 0x,\n"
           "                          comments from # or // to the end of the line. At most 1024\n"
           "                          bytes (256 quadlets) each, at most 63 files.\n"
           "  registry import [--from FILE] [-o OUT]\n"
           "                          Turn the IEEE registry of Debian's ieee-data into the\n"
           "                          vendor registry the tool reads: one line per identifier,\n"
           "                          ascending. FILE: oui.txt or oui.csv, by default\n"
           "                          " +
           defaultImportSource() +
           "\n"
           "                          OUT: standard output.\n"
           "\n"
           "Vendor registry: without --registry the tool reads the registry built with it,\n"
           "  " +
           defaultRegistryPath() +
           "\n"
           "  (share/rombus/oui-registry.txt beside the folder that holds the rombus program).\n"
           "\n"
           "Exit status:\n"
           "  0  every node was read without a problem record\n"
           "  1  a node has a problem record, or a node's ROM could not be read\n"
           "  2  usage error or bad input (an unreadable, empty, oversized or malformed file)\n";
}

// Options given as words, turned into their values after parsing.
struct Names {
    std::string format = "text";
    std::string byteOrder;
};

void addCommonOptions(CLI::App& app, Options& options, Names& names) {
    app.add_option("--registry", options.registry,
                   "Vendor registry file; default: the one built with the tool (below)")
        ->type_name("PATH");
    app.add_option("--crc-level", options.crcLevel,
                   "Level of a CRC mismatch: 0 progress, 1 warning, 2 error (default 2)")
        ->type_name("N")
        ->check(CLI::Range(0, 2).description(""));
    app.add_option("--format", names.format, "Output format (default text)")
        ->type_name("text|json")
        ->check(CLI::IsMember({"text", "json"}).description(""));
    app.add_option("--log-level", options.logLevel,
                   "Log lines shown from this priority up: 1 detail, 3 problems (default),\n"
                   "4 failures, 5 none")
        ->type_name("N")
        ->check(CLI::Range(0, 5).description(""));
    app.add_option("--byte-order", names.byteOrder,
                   "Quadlet byte order of images and sysfs config_rom files; default:\n"
                   "images by their signature, sysfs the host's order")
        ->type_name("be|le")
        ->check(CLI::IsMember({"be", "le"}).description(""));
    app.set_version_flag("--version", std::string("rombus ") + ROMBUS_VERSION,
                         "Print the version and exit");
}

void addCommands(CLI::App& app, Options& options) {
    CLI::App* scan = app.add_subcommand("scan", "Read the machine's FireWire buses");
    scan->add_option("--sysfs", options.sysfsRoot, "Root of the sysfs tree to read")
        ->type_name("ROOT")
        ->capture_default_str();
    scan->callback([&options] { options.command = Command::Scan; });

    CLI::App* check = app.add_subcommand("check", "Read Configuration ROM image files");
    check->add_option("FILE", options.files, "ROM image files")->required();
    check->callback([&options] { options.command = Command::Check; });

    CLI::App* registry = app.add_subcommand("registry", "Vendor registry commands");
    registry->require_subcommand(1);
    CLI::App* import = registry->add_subcommand("import", "Build the vendor registry file");
    import->add_option("--from", options.importFrom, "IEEE registry, oui.txt or oui.csv")
        ->type_name("FILE");
    import->add_option("-o,--output", options.importTo, "Registry file to write")->type_name("OUT");
    import->callback([&options] { options.command = Command::RegistryImport;
});
} // namespace

} // namespace rombus

int parseOptions(int argc, char** argv, Options& options) {
    CLI::App app("Reads the Configuration ROMs of IEEE 1394 (FireWire) nodes, checks them and\n"
                 "shows the device tree with every problem found.",
                 "rombus");
    app.fallthrough();
    app.require_subcommand(1);
    app.footer(footer());
    Names names;
    addCommonOptions(app, options, names);
    addCommands(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int status = app.exit(error);
        return status == 0 ? ExitClean : ExitUsage;
    }
    options.format = names.format == "json" ? Format::Json : Format::Text;
    if (!names.byteOrder.empty())
        options.byteOrder =
            names.byteOrder == "le" ? lib1394::ByteOrder::Little : lib1394::ByteOrder::Big;
    if (options.command == Command::Check && options.files.size() > 63) {
        std::fprintf(stderr, "rombus: at most 63 image files, one port's nodes; %zu given\n",
                     options.files.size());
        return ExitUsage;
    }
    return -1;
}

} // namespace rombus

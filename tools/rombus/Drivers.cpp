// rombus drivers table ALIAS: the shipped driver table rebuilt from a kernel's modules.alias, and
// the choice of the table the other commands match units against.
#include "Drivers.h"

#include "CommandIo.h"
#include "RomCommands.h"

#include <filesystem>

namespace rombus {
namespace {

constexpr const char* ShippedWord = "shipped";

const char* const tableFooter =
    "Writes the C++ source of the driver table the tool ships (the ieee1394 entries of\n"
    "every FireWire driver, each with the kernel release it comes from) from a kernel's\n"
    "modules.alias, by default the running kernel's. Rebuild the shipped table with\n"
    "  rombus drivers table --kernel RELEASE -o inspect/knowledge/ShippedDrivers.cpp ALIAS\n";

int runTable(const Options& options) {
    const std::string path = options.files.empty() ? runningModulesAlias() : options.files.front();
    const std::string kernel =
        options.kernelRelease.empty() ? runningKernelRelease() : options.kernelRelease;
    DriverTable table;
    std::string error;
    if (!readModulesAlias(path, kernel, table, error)) {
        complain(error);
        return ExitUsage;
    }
    if (table.ids.empty()) {
        complain(path + ": no ieee1394 alias in it");
        return ExitUsage;
    }
    const std::string source = shippedTableSource(table);
    if (options.output.empty())
        return writeOut(source) ? ExitClean : ExitUsage;
    return writeFile(options.output, source) ? ExitClean : ExitUsage;
}

} // namespace

bool chooseDrivers(const Options& options, std::shared_ptr<const DriverTable>& drivers) {
    if (options.modulesAlias == ShippedWord)
        return true;
    std::error_code exists;
    const bool given = !options.modulesAlias.empty();
    const std::string path = given ? options.modulesAlias : runningModulesAlias();
    if (!given && !std::filesystem::exists(path, exists))
        return true;
    auto table = std::make_shared<DriverTable>();
    std::string error;
    // A modules.alias stands in the folder named by its kernel's release, /lib/modules/RELEASE.
    const std::string kernel = given ? std::filesystem::path(path).parent_path().filename().string()
                                     : runningKernelRelease();
    if (!readModulesAlias(path, kernel, *table, error)) {
        complain(error);
        if (given)
            return false;
        complain("units are matched against the driver table shipped with the tool");
        return true;
    }
    drivers = std::move(table);
    return true;
}

void addDrivers(CLI::App& app, Options& options) {
    CLI::App* drivers = app.add_subcommand("drivers", "Driver table commands");
    drivers->require_subcommand(1);
    CLI::App* table = drivers->add_subcommand("table", "Write the shipped driver table's source");
    table->add_option("ALIAS", options.files, "A kernel's modules.alias")->expected(0, 1);
    table->add_option("--kernel", options.kernelRelease, "The kernel release it belongs to")
        ->type_name("RELEASE");
    table->add_option("-o,--output", options.output, "File to write")->type_name("OUT");
    table->footer(tableFooter);
    table->callback([&options] { options.run = runTable; });
}

} // namespace rombus

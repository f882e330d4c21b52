// rombus-consumer: the verdicts of the rombus tool in a program of one's own. Reads ROM image
// files as the nodes of a bus, or a sysfs tree, through the installed Rombus libraries with the
// tool's settings, and prints per node its locator, its status and how many problem records it
// has, then per unit directory its name and the driver the kernel bound to it, as `rombus
// --format json` gives them (.nodes[]: locator, status, messages, units[]: name, driver). All of
// it is in the node's model; nothing is worked out here.
//   rombus-consumer FILE...
//   rombus-consumer --sysfs ROOT
#include "inspect/Rombus.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

rombus::Inspection inspectArguments(const std::vector<std::string>& arguments, bool& readAll) {
    const rombus::Settings settings = rombus::toolSettings();
    if (arguments.size() == 2 && arguments[0] == "--sysfs")
        return rombus::inspectSysfs(arguments[1], settings);
    std::vector<std::string> errors;
    rombus::Inspection inspection = rombus::inspectFiles(arguments, settings, errors);
    for (const std::string& error : errors)
        std::fprintf(stderr, "rombus-consumer: %s\n", error.c_str());
    readAll = errors.empty();
    return inspection;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: rombus-consumer FILE... | rombus-consumer --sysfs ROOT\n");
        return 2;
    }
    bool readAll = true;
    const rombus::Inspection inspection =
        inspectArguments(std::vector<std::string>(argv + 1, argv + argc), readAll);
    for (const rombus::NodeView& node : inspection.nodes) {
        std::printf("%s %s %zu\n", node.locator.c_str(), rombus::statusName(node.status()),
                    node.records.size());
        for (const rombus::UnitView& unit : node.units)
            std::printf("  unit at %Xh: %s, %s\n", unit.directory, unit.name.c_str(),
                        !unit.driver           ? "no unit device in sysfs"
                        : unit.driver->empty() ? "no driver bound"
                                               : ("driver " + *unit.driver).c_str());
    }
    if (!readAll)
        return 2;
    return rombus::hasProblems(inspection) ? 1 : 0;
}

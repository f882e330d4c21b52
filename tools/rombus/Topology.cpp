// rombus topology [FILE...]: the bus itself, from the local node's topology map: the tree of
// PHYs, their names and PHY ids, the path speeds and the bus's health.
#include "BusGraph.h"
#include "BusJson.h"
#include "BusText.h"
#include "CommandIo.h"
#include "JsonReport.h"
#include "RomCommands.h"
#include "Terminal.h"
#include "inspect/io/BusFile.h"
#include "inspect/io/Registry.h"
#include "lib1394/LiveBus.h"
#include "lib1394/RegularFile.h"

#include <filesystem>

namespace rombus {
namespace {

const char* const topologyFooter =
    "Shows each FireWire bus as its local node's topology map tells it, from the self-ID\n"
    "packets of the last bus reset: the tree of PHYs from the root down, each with its\n"
    "port, device file, GUID, names, speed and the speed of the path from the local node;\n"
    "every PHY's self-ID fields and its PHY vendor and product ids, read through PHY\n"
    "packets; and the bus's health: gap counts, the tree, the node count, the root, the\n"
    "resource manager, nodes without a device file, the map's CRC.\n"
    "Without FILE the buses are read live through DIR/fw* (--dev, /dev by default), which\n"
    "takes root or the group owning the files; with FILE, buses saved by\n"
    "'rombus scan --live --save-roms FOLDER' (FOLDER/cardN.bus) are read back.\n"
    "--graph dot writes a Graphviz graph of the buses; --graph svg draws it with\n"
    "Graphviz's dot program.\n"
    "Exit status: 0 healthy, 1 a health error or warning, 2 a file or device folder that\n"
    "cannot be read, 3 no bus.\n";

std::string registryPath(const Options& options) {
    if (!options.registry.empty())
        return options.registry;
    std::error_code error;
    return std::filesystem::exists(defaultRegistryPath(), error) ? defaultRegistryPath() : "";
}

// The buses saved in files; false when one cannot be read, each said why.
bool readBusFiles(const std::vector<std::string>& paths,
                  std::vector<lib1394::BusCapture>& captures) {
    bool ok = true;
    for (const std::string& path : paths) {
        const lib1394::RegularFile file = lib1394::readRegularFile(path, MaxBusFileBytes);
        lib1394::BusCapture capture;
        std::string error;
        if (!file.ok())
            complain(path + ": " + file.error);
        else if (!parseBusFile(file.content, capture, error))
            complain(path + ": " + error);
        else
            captures.push_back(std::move(capture));
        ok = ok && file.ok() && error.empty();
    }
    return ok;
}

bool unhealthy(const std::vector<BusView>& views) {
    for (const BusView& view : views)
        for (const BusFinding& finding : view.health)
            if (finding.level != "notice")
                return true;
    return false;
}

std::string rendered(const std::vector<BusView>& views, const Options& options, bool& ok) {
    if (options.graph == "dot")
        return busDot(views);
    if (options.graph == "svg") {
        std::string svg, error;
        ok = drawSvg(busDot(views), svg, error);
        if (!ok)
            complain(error);
        return svg;
    }
    if (options.format == Format::Json)
        return jsonText(busJson(views));
    std::string text;
    const size_t width = layoutOf(options.color).width;
    for (const BusView& view : views)
        text += (text.empty() ? "" : "\n") + busText(view, width);
    return text;
}

int runTopology(const Options& options) {
    std::vector<lib1394::BusCapture> captures;
    bool inputOk = true;
    if (options.files.empty()) {
        lib1394::LiveSetup setup;
        setup.folder = options.devFolder;
        const lib1394::LiveBus live(setup);
        if (live.deviceFiles() == 0) {
            complain(options.devFolder +
                     ": no FireWire device files (fw*); --dev names the folder that holds them");
            return ExitUsage;
        }
        captures = live.buses();
    } else {
        inputOk = readBusFiles(options.files, captures);
    }
    if (captures.empty())
        return inputOk ? ExitNoNode : ExitUsage;
    const std::string registry = registryPath(options);
    std::vector<BusView> views;
    for (const lib1394::BusCapture& capture : captures)
        views.push_back(buildBusView(capture, registry));
    bool drawn = true;
    const std::string text = rendered(views, options, drawn);
    if (!drawn || !writeOut(text) || !inputOk)
        return ExitUsage;
    return unhealthy(views) ? ExitProblems : ExitClean;
}

} // namespace

void addTopology(CLI::App& app, Options& options) {
    CLI::App* topology =
        app.add_subcommand("topology", "Show the bus: the tree of PHYs and the bus's health");
    topology->add_option("FILE", options.files, "Bus files saved by scan --live --save-roms");
    topology->add_option("--dev", options.devFolder, "Folder of the fw* device files")
        ->type_name("DIR")
        ->capture_default_str();
    topology
        ->add_option("--graph", options.graph,
                     "Write a Graphviz graph (dot) or its SVG drawing (svg) instead")
        ->type_name("dot|svg")
        ->check(CLI::IsMember({"dot", "svg"}).description(""));
    topology->footer(topologyFooter);
    topology->callback([&options] { options.run = runTopology; });
}

} // namespace rombus

// The module's costs that matter on a full bus: the CRC-16, reading one typical ROM, the vendor
// lookup at its worst beside the bare line loop over the same file, a whole 252-node bus, and
// hostile ROMs that a faithful reader would read without end, bounded by each node's budget.
// After the runs a table holds each figure against its target; the benchmarks are repeated and
// interleaved (see main) so that the machine's drift falls on all of them alike.
//
//   rombus_bench                          runs every benchmark and prints the target table
//   rombus_bench --write-typical-rom FILE writes the typical ROM (for the whole-process timing)
//   rombus_bench --write-hostile FOLDER   writes the hostile ROMs as image files and a sysfs bus
#include "lib1394/MemoryBus.h"
#include "libRombus/Declarations.h"
#include "libRombus/Lib1394SysInfo.h"
#include "libRombus/Lib1394Util.h"
#include "rombus_support/FwKernel.h"
#include "rombus_support/HostileRoms.h"
#include "rombus_support/SysfsTree.h"
#include "rombus_support/TypicalRom.h"
#include "vesk5/DiagModule.h"
#include "vesk5/SysInfoModule.h"
#include "zul/Buffer.h"
#include "zul/Digits.h"
#include "zul/Log.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr unsigned FirstNode = 0xFFC0;
constexpr unsigned HighestRid = 0xFFFFFF;

void setRegistry(const std::string& path) {
    libRombus::declared.IEEEVendorRegistryFile->setValue(vesk5::Value(path.c_str()));
}

void resetFramework() {
    vesk5::SysInfoModule::reset();
    vesk5::DiagModule::clearReports();
}

// The registry built from ieee-data, as the build makes it; made here with the tool when the
// build has not made it yet. Empty when neither is possible.
const std::string& fullRegistry() {
    static const std::string path = [] {
        const std::string built = ROMBUS_REGISTRY_PATH;
        std::error_code error;
        if (!fs::exists(built, error)) {
            const std::string command =
                std::string("'") + ROMBUS_BINARY + "' registry import -o '" + built + "'";
            if (std::system(command.c_str()) != 0)
                return std::string();
        }
        return fs::exists(built, error) ? built : std::string();
    }();
    return path;
}

bool needRegistry(benchmark::State& state) {
    if (!fullRegistry().empty())
        return true;
    state.SkipWithError("no registry at " ROMBUS_REGISTRY_PATH
                        " and 'rombus registry import' could not make one (install ieee-data)");
    return false;
}

std::shared_ptr<lib1394::MemoryBus> busOf(unsigned ports, unsigned nodesPerPort) {
    auto bus = std::make_shared<lib1394::MemoryBus>();
    for (unsigned port = 0; port < ports; ++port) {
        bus->addPort();
        for (unsigned node = 0; node < nodesPerPort; ++node) {
            const uint64_t guid = 0x0030E00000000000ull | port << 8 | node;
            bus->addNode(port, rombus_bench::typicalRom(guid), guid);
        }
    }
    return bus;
}

void Crc16_1KB(benchmark::State& state) {
    std::vector<uint32_t> quadlets(256);
    for (size_t i = 0; i < quadlets.size(); ++i)
        quadlets[i] = static_cast<uint32_t>(i * 0x9E3779B9u);
    zul::Buffer<unsigned char> block(1024);
    for (size_t i = 0; i < 1024; ++i)
        block[i] = static_cast<unsigned char>(quadlets[i / 4] >> (24 - 8 * (i % 4)));
    const uint16_t crc = rombus_test::crc16(quadlets, 0, quadlets.size());
    // The stored CRC is given with its two bytes exchanged.
    const auto expected = static_cast<unsigned short>((crc << 8) | (crc >> 8));
    const zul::String type("block");
    for (auto _ : state) {
        libRombus::lib1394_log log;
        const bool ok = libRombus::Lib1394Util::verifyCRC16(expected, block, 0, 1024, 0, type, log);
        benchmark::DoNotOptimize(ok);
        if (!ok)
            state.SkipWithError("the CRC of the block did not verify");
    }
    state.SetBytesProcessed(state.iterations() * 1024);
}

// One typical ROM read with CRCs on into a device of its own, as the enumeration reads a node,
// and the framework reset after it (the devices the entries made are destroyed there). The
// registry parameter is empty, so the vendor and specifier lookups find no file and stop.
void ReadConfigROM(benchmark::State& state) {
    setRegistry("");
    lib1394::ConfigROMContext::installBus(busOf(1, 1));
    for (auto _ : state) {
        vesk5::SysInfoDevice* device = vesk5::SysInfoDevice::createGeneric(
            vesk5::DeviceCapability::IEEE1394(), vesk5::DeviceCapability::NIL(), "node", "node", "",
            "node");
        libRombus::Lib1394SysInfo reader(0, FirstNode, libRombus::DeviceHandle(device));
        if (!reader.readConfigROM(true) || !reader.getMessages().isEmpty())
            state.SkipWithError("the typical ROM did not read cleanly");
        resetFramework();
    }
    lib1394::ConfigROMContext::installBus(nullptr);
}

// The same without a device: the tree is parsed and checked but nothing is published.
void ReadConfigROM_NoDevice(benchmark::State& state) {
    lib1394::ConfigROMContext::installBus(busOf(1, 1));
    for (auto _ : state) {
        libRombus::Lib1394SysInfo reader(0, FirstNode, libRombus::DeviceHandle());
        if (!reader.readConfigROM(true))
            state.SkipWithError("the typical ROM did not read cleanly");
    }
    resetFramework();
    lib1394::ConfigROMContext::installBus(nullptr);
}

// An identifier above every line of the registry: the whole file is read and matched.
void RegistryWorstCase(benchmark::State& state) {
    if (!needRegistry(state))
        return;
    const zul::String path(fullRegistry().c_str());
    for (auto _ : state) {
        zul::String name = libRombus::Lib1394Util::getRIDString(path, HighestRid);
        benchmark::DoNotOptimize(name);
    }
}

// The floor of any lookup that reads the file line by line: open, fgets to the end, close.
void RegistryFgetsFloor(benchmark::State& state) {
    if (!needRegistry(state))
        return;
    for (auto _ : state) {
        FILE* file = std::fopen(fullRegistry().c_str(), "r");
        char line[256];
        size_t lines = 0;
        while (std::fgets(line, sizeof line, file))
            ++lines;
        std::fclose(file);
        benchmark::DoNotOptimize(lines);
    }
}

// The lookup's own work per line written out by hand for this one pattern, nothing generic: the
// line read and measured as the module reads it, the identifier's digits scanned and converted
// through a table, and the identifier kept as a string, as the module keeps its group. What a
// lookup through the platform's regular expressions and strings could come down to at best.
void RegistryHandMatchedFloor(benchmark::State& state) {
    if (!needRegistry(state))
        return;
    for (auto _ : state) {
        FILE* file = std::fopen(fullRegistry().c_str(), "r");
        char line[256];
        uint32_t last = 0;
        while (std::fgets(line, sizeof line, file)) {
            const size_t length = std::strlen(line);
            size_t end = 0;
            uint32_t id = 0;
            while (end < length && zul::digitValue(line[end]) < 16)
                id = id << 4 | zul::digitValue(line[end++]);
            const std::string text(line, end);
            if (text.empty())
                continue;
            if (id > HighestRid)
                break;
            last = id;
        }
        std::fclose(file);
        benchmark::DoNotOptimize(last);
    }
}

// Every node of four full ports (63 nodes each) read and published, vendors named from the
// full registry.
void Enumerate252(benchmark::State& state) {
    if (!needRegistry(state))
        return;
    setRegistry(fullRegistry());
    lib1394::ConfigROMContext::installBus(busOf(4, 63));
    for (auto _ : state) {
        zul::Array<libRombus::lib1394_enum_log> nodes;
        if (!libRombus::Lib1394SysInfo::enumerateAll(nodes) || nodes.size() != 252)
            state.SkipWithError("the enumeration did not read 252 nodes");
        resetFramework();
    }
    lib1394::ConfigROMContext::installBus(nullptr);
}

// A bus of one port holding the given ROMs, node n with GUID first + n.
std::shared_ptr<lib1394::MemoryBus> busOf(const std::vector<std::vector<uint8_t>>& roms) {
    auto bus = std::make_shared<lib1394::MemoryBus>();
    bus->addPort();
    for (size_t node = 0; node < roms.size(); ++node)
        bus->addNode(0, roms[node], node + 1);
    return bus;
}

constexpr size_t FullPort = 63;

// Every node of a port as the enumeration reads it, with the full registry; the reading must
// stop at each node's budget.
void enumerateHostile(benchmark::State& state, const std::vector<std::vector<uint8_t>>& roms) {
    if (!needRegistry(state))
        return;
    setRegistry(fullRegistry());
    lib1394::ConfigROMContext::installBus(busOf(roms));
    for (auto _ : state) {
        lib1394::ConfigROMContext::clearExhaustedNodes();
        zul::Array<libRombus::lib1394_enum_log> nodes;
        libRombus::Lib1394SysInfo::enumerateAll(nodes);
        if (lib1394::ConfigROMContext::exhaustedNodes().size() != roms.size())
            state.SkipWithError("a hostile node was not stopped by its budget");
        resetFramework();
    }
    lib1394::ConfigROMContext::installBus(nullptr);
}

// The 772-byte ROM whose faithful reading makes 614,400 lookups of ids above the registry's.
void HostileLookupStorm(benchmark::State& state) {
    enumerateHostile(state, {rombus_test::lookupStormRom()});
}

// A full port of ROMs whose 60 levels of directories each refer twice to the next.
void HostileDoubling63(benchmark::State& state) {
    enumerateHostile(state,
                     std::vector<std::vector<uint8_t>>(FullPort, rombus_test::deepDoublingRom()));
}

// Four cards of 63 nodes read live through the kernel's stand-in, the typical ROM on each node:
// the live reader's own cost (requests, events, retries' bookkeeping) beside the bus's.
void LiveRead252(benchmark::State& state) {
    const fs::path folder =
        fs::temp_directory_path() / ("rombus-bench-live-" + std::to_string(::getpid()));
    fs::create_directories(folder);
    rombus_test::FwKernel kernel(folder);
    const std::vector<uint8_t> rom = rombus_bench::typicalRom();
    for (unsigned card = 0; card < 4; ++card)
        for (unsigned phyId = 0; phyId < FullPort; ++phyId) {
            rombus_test::FwKernel::Node node;
            node.card = card;
            node.phyId = phyId;
            node.local = phyId == 0;
            node.rom = node.kernelRom = rom;
            kernel.add("fw" + std::to_string(card * FullPort + phyId), std::move(node));
        }
    for (auto _ : state) {
        const lib1394::LiveView view = lib1394::LiveBus::read(kernel.setup());
        if (view.ports.size() != 4 || view.ports[3].nodes.size() != FullPort ||
            view.ports[3].nodes.back().rom != rom)
            state.SkipWithError("the live bus did not read 252 nodes");
    }
    fs::remove_all(folder);
}

BENCHMARK(Crc16_1KB);
BENCHMARK(ReadConfigROM);
BENCHMARK(ReadConfigROM_NoDevice);
BENCHMARK(RegistryWorstCase)->Unit(benchmark::kMicrosecond);
BENCHMARK(RegistryFgetsFloor)->Unit(benchmark::kMicrosecond);
BENCHMARK(RegistryHandMatchedFloor)->Unit(benchmark::kMicrosecond);
BENCHMARK(Enumerate252)->Unit(benchmark::kMillisecond);
BENCHMARK(HostileLookupStorm)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(HostileDoubling63)->Unit(benchmark::kMillisecond);
BENCHMARK(LiveRead252)->Unit(benchmark::kMillisecond);

// Shows the runs as usual and keeps, per benchmark, the median time of one iteration (the only
// run when there are no repetitions), in seconds.
class TargetReporter : public benchmark::ConsoleReporter {
public:
    TargetReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_Defaults : OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.error_occurred)
                continue;
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (run.run_type == Run::RT_Aggregate && !median)
                continue;
            const std::string name = run.run_name.function_name;
            if (median || !medians_.count(name) || !hasMedian_[name]) {
                medians_[name] =
                    run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
                hasMedian_[name] = median;
            }
        }
    }

    void printTargets() const {
        std::printf("\n%-44s %14s %14s  %s\n", "target", "measured", "limit", "verdict");
        ratio("worst-case lookup / fgets loop", "RegistryWorstCase", "RegistryFgetsFloor", 4.0);
        limit("readConfigROM, typical ROM (us)", "ReadConfigROM", 1e6, 20.0);
        limit("252-node enumeration with lookups (ms)", "Enumerate252", 1e3, 1000.0);
        limit("772-byte lookup storm, one node (ms)", "HostileLookupStorm", 1e3, 2000.0);
        limit("63 doubling ROMs, one port (ms)", "HostileDoubling63", 1e3, 3000.0);
        ratio("driver matching / check of 150 ROMs", "DriverMatch150", "Check150", 0.10);
    }

private:
    const double* find(const std::string& name) const {
        auto it = medians_.find(name);
        return it == medians_.end() ? nullptr : &it->second;
    }
    static void line(const char* what, double measured, double bound) {
        std::printf("%-44s %14.3f %14.3f  %s\n", what, measured, bound,
                    measured <= bound ? "met" : "MISSED");
    }
    void ratio(const char* what, const std::string& top, const std::string& bottom,
               double bound) const {
        const double* a = find(top);
        const double* b = find(bottom);
        if (a && b && *b > 0)
            line(what, *a / *b, bound);
        else
            std::printf("%-44s %14s\n", what, "not measured");
    }
    void limit(const char* what, const std::string& name, double scale, double bound) const {
        if (const double* a = find(name))
            line(what, *a * scale, bound);
        else
            std::printf("%-44s %14s\n", what, "not measured");
    }

    std::map<std::string, double> medians_;
    std::map<std::string, bool> hasMedian_;
};

int writeTypicalRom(const char* path) {
    const std::vector<uint8_t> rom = rombus_bench::typicalRom();
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(rom.data()), static_cast<std::streamsize>(rom.size()));
    out.close();
    if (!out) {
        std::fprintf(stderr, "rombus_bench: %s cannot be written\n", path);
        return 1;
    }
    return 0;
}

void writeImage(const fs::path& path, const std::vector<uint8_t>& rom) {
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(rom.data()), static_cast<std::streamsize>(rom.size()));
}

// storm.bin, wide-storm.bin, doubling.bin, and sysfs/: a port of 63 doubling nodes.
int writeHostile(const char* folder) {
    const fs::path root(folder);
    fs::create_directories(root);
    writeImage(root / "storm.bin", rombus_test::lookupStormRom());
    writeImage(root / "wide-storm.bin", rombus_test::wideLookupStormRom());
    writeImage(root / "doubling.bin", rombus_test::deepDoublingRom());
    const rombus_test::SysfsTree sysfs(root / "sysfs");
    for (size_t node = 0; node < FullPort; ++node)
        sysfs.addNode("pci0000:00/0000:00:1c.0/0000:03:00.0", "fw" + std::to_string(node),
                      rombus_test::deepDoublingRom(0x0030E00000000100ull + node),
                      0x0030E00000000100ull + node);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--write-typical-rom") == 0)
        return writeTypicalRom(argv[2]);
    if (argc == 3 && std::strcmp(argv[1], "--write-hostile") == 0)
        return writeHostile(argv[2]);
    libRombus::init();
    // The lines the module logs at its default gate are not what is measured; drop them.
    zul::LogFactory::setSink([](const zul::String&, unsigned, const zul::String&) {});
    libRombus::declared.CRCMismatchLogLevel->setValue(vesk5::Value(uint32_t{2}));

    // Defaults that make the figures comparable; any given on the command line come after and win.
    std::vector<char*> args(argv, argv + argc);
    std::string repetitions = "--benchmark_repetitions=5";
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    std::string minTime = "--benchmark_min_time=0.2";
    args.insert(args.begin() + 1, {repetitions.data(), interleave.data(), minTime.data()});
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data()))
        return 2;
    TargetReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printTargets();
    benchmark::Shutdown();
    return 0;
}

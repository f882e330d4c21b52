// What matching units against the drivers' entries costs beside the check it is part of: the
// whole inspection of 150 ROM images (the module's reading, the decoder, advisories and the
// drivers, as 'rombus check' runs it), and the drivers' part alone over the same decoded ROMs.
#include "inspect/knowledge/NodeDrivers.h"
#include "inspect/model/Inspection.h"
#include "lib1394/ImageFile.h"
#include "rombus_support/TypicalRom.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr size_t Roms = 150;

std::vector<lib1394::ImageFile> images() {
    std::vector<lib1394::ImageFile> files;
    for (size_t i = 0; i < Roms; ++i)
        files.push_back({"rom" + std::to_string(i) + ".rom",
                         rombus_bench::typicalRom(0x0030E00000000000ull | i), ""});
    return files;
}

void Check150(benchmark::State& state) {
    const auto files = images();
    rombus::Settings settings;
    settings.logLevel = 5;
    for (auto _ : state) {
        const rombus::Inspection inspection =
            rombus::inspect(std::make_shared<lib1394::ImageFileBus>(files), settings);
        if (inspection.nodes.size() != Roms || inspection.nodes[0].drivers.units.empty())
            state.SkipWithError("the check did not read 150 nodes with their units");
    }
}

void DriverMatch150(benchmark::State& state) {
    std::vector<rombus::decode::DecodedRom> decoded;
    for (const lib1394::ImageFile& file : images())
        decoded.push_back(rombus::decode::decodeRom(file.rom));
    const rombus::DriverTable& table = rombus::shippedDriverTable();
    for (auto _ : state)
        for (const rombus::decode::DecodedRom& rom : decoded) {
            const rombus::NodeDrivers drivers = rombus::driversOf(rom, table);
            benchmark::DoNotOptimize(rombus::driverAdvisories(rom, drivers, table));
        }
}

} // namespace

BENCHMARK(Check150)->Unit(benchmark::kMillisecond);
BENCHMARK(DriverMatch150)->Unit(benchmark::kMillisecond);

// Benchmarks of the bus's decoding: a topology map of the largest bus decoded, its tree rebuilt,
// its paths walked and its health checked; and hostile maps refused.
#include "inspect/model/BusView.h"
#include "rombus_support/BusShapes.h"

#include <benchmark/benchmark.h>

namespace {

lib1394::BusCapture captureOf(const std::vector<rombus::PhySelfId>& phys) {
    lib1394::BusCapture capture;
    capture.name = "card 0";
    capture.topology = rombus::encodeTopologyMap(1, phys);
    capture.localNodeId = 0xFFC0;
    capture.rootNodeId = 0xFFC0 | static_cast<uint32_t>(phys.size() - 1);
    capture.filesKnown = true;
    return capture;
}

// 63 PHYs in a chain: the longest paths, 62 hops.
void BusChain63(benchmark::State& state) {
    const lib1394::BusCapture capture = captureOf(rombus_test::selfIdsOf(rombus_test::chain(63)));
    for (auto _ : state)
        benchmark::DoNotOptimize(rombus::buildBusView(capture, ""));
}

// 63 PHYs around two hubs, 37 of them of 27 ports (four self-ID packets each): 174 packets.
void BusWide63(benchmark::State& state) {
    rombus_test::Shape root, hub;
    root.ports = hub.ports = rombus::MaxPorts;
    hub.children.resize(26);
    root.children.resize(35);
    root.children.push_back(hub);
    for (rombus_test::Shape& leaf : root.children)
        leaf.ports = std::max(leaf.ports, 27u);
    const lib1394::BusCapture capture = captureOf(rombus_test::selfIdsOf(root));
    state.counters["quadlets"] = static_cast<double>(capture.topology.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(rombus::buildBusView(capture, ""));
}

// A map of 1024 quadlets whose self-IDs all claim PHY 0 and a child port: refused at the 64th
// packet 0, faults told for the rest.
void BusHostileMap(benchmark::State& state) {
    std::vector<uint32_t> map = {1023u << 16, 0, 0xFFFFu << 16 | 1021};
    map.resize(1024, 0x800000C0);
    lib1394::BusCapture capture;
    capture.topology = map;
    for (auto _ : state)
        benchmark::DoNotOptimize(rombus::buildBusView(capture, ""));
}

} // namespace

BENCHMARK(BusChain63)->Unit(benchmark::kMicrosecond);
BENCHMARK(BusWide63)->Unit(benchmark::kMicrosecond);
BENCHMARK(BusHostileMap)->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();

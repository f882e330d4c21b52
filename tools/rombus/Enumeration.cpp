#include "Enumeration.h"

#include "libRombus/Declarations.h"
#include "vesk5/SysInfoModule.h"
#include "zul/Log.h"

#include <algorithm>
#include <cstdio>

namespace rombus {
namespace {

constexpr const char* ReaderLogger = "libRombus.Lib1394SysInfo";
constexpr const char* AttachFailed = "error attaching sysinfo for ";

void setParameter(const char* name, const vesk5::Value& value) {
    if (vesk5::Parameter* parameter = vesk5::SysInfoModule::findParameter(name))
        parameter->setValue(value);
}

// A node whose reading failed: its place among the records and its locator.
struct Failure {
    size_t index;
    std::string locator;
};

// Lines at or above the chosen priority go to standard error. Problem lines always reach the
// sink, so that a node whose reading failed is known even when its line is not shown. The
// enumeration logs a node's failure just before it appends the node's record, so the number of
// records at that moment is the node's place.
void routeLogLines(unsigned shownFrom, const zul::Array<libRombus::lib1394_enum_log>& records,
                   std::vector<Failure>& failures) {
    zul::LogFactory::setPriority(std::min<unsigned>(shownFrom, zul::LOG_PROBLEM));
    zul::LogFactory::setSink([shownFrom, &records, &failures](const zul::String& logger,
                                                              unsigned priority,
                                                              const zul::String& text) {
        const std::string& line = text.str();
        const size_t at = line.find(AttachFailed);
        if (logger.str() == ReaderLogger && at != std::string::npos)
            failures.push_back(
                {records.size(), line.substr(at + std::char_traits<char>::length(AttachFailed))});
        if (priority >= shownFrom)
            std::fprintf(stderr, "log: %s [%u] %s\n", logger.getUTF8String(), priority,
                         text.getUTF8String());
    });
}

std::vector<bool> markFailures(const zul::Array<libRombus::lib1394_enum_log>& nodes,
                               const std::vector<Failure>& failures) {
    std::vector<bool> failed(nodes.size(), false);
    for (const Failure& failure : failures)
        if (failure.index < nodes.size() && nodes[failure.index].locator.str() == failure.locator)
            failed[failure.index] = true;
    return failed;
}

// The nodes that ran out of budget, by their place in the enumeration: the nodes of earlier ports
// first, then the physical id (the low six bits of the node id) within the port.
std::vector<std::optional<lib1394::Budget>>
markExhausted(const std::vector<lib1394::RomPort>& ports, size_t nodeCount) {
    std::vector<std::optional<lib1394::Budget>> exhausted(nodeCount);
    for (const lib1394::exhausted_node_t& node : lib1394::ConfigROMContext::exhaustedNodes()) {
        if (node.port >= ports.size())
            continue;
        size_t index = node.nodeId & 0x3F;
        for (unsigned p = 0; p < node.port; ++p)
            index += ports[p].nodes.size();
        if (index < nodeCount)
            exhausted[index] = node.spent;
    }
    return exhausted;
}

} // namespace

Scan enumerate(std::shared_ptr<lib1394::RomImageBus> bus, const Settings& settings) {
    libRombus::init();
    setParameter("IEEEVendorRegistryFile", vesk5::Value(settings.registry.c_str()));
    setParameter("CRCMismatchLogLevel", vesk5::Value(static_cast<uint32_t>(settings.crcLevel)));
    Scan scan;
    std::vector<Failure> failures;
    routeLogLines(settings.logLevel, scan.nodes, failures);
    lib1394::ConfigROMContext::installBus(bus);

    scan.ports = bus->ports();
    scan.notes = bus->notes();
    vesk5::SysInfoModule::reset();
    vesk5::DiagModule::clearReports();
    lib1394::ConfigROMContext::clearExhaustedNodes();
    scan.result = libRombus::Lib1394SysInfo::enumerateAll(scan.nodes);
    scan.devices = std::vector<vesk5::SysInfoDevice>(vesk5::SysInfoModule::publishedDevices());
    scan.reports = vesk5::DiagModule::reports();
    scan.nodeFailed = markFailures(scan.nodes, failures);
    scan.nodeExhausted = markExhausted(scan.ports, scan.nodes.size());
    for (size_t i = 0; i < scan.nodes.size(); ++i) {
        const lib1394::RomNode* node = romNodeOf(scan, i);
        scan.decoded.push_back(decode::decodeRom(node ? node->rom : std::vector<uint8_t>()));
        scan.advisories.push_back(
            node ? advisoriesOf(scan.decoded.back(), *node, scan.nodes[i].messages)
                 : std::vector<Advisory>());
    }

    zul::LogFactory::setSink(nullptr);
    lib1394::ConfigROMContext::installBus(nullptr);
    return scan;
}

bool hasAdvisories(const Scan& scan) {
    for (const auto& found : scan.advisories)
        if (!found.empty())
            return true;
    return false;
}

const lib1394::RomNode* romNodeOf(const Scan& scan, size_t node) {
    for (const lib1394::RomPort& port : scan.ports) {
        if (node < port.nodes.size())
            return &port.nodes[node];
        node -= port.nodes.size();
    }
    return nullptr;
}

unsigned portOf(const Scan& scan, size_t node) {
    unsigned port = 0;
    for (; port < scan.ports.size() && node >= scan.ports[port].nodes.size(); ++port)
        node -= scan.ports[port].nodes.size();
    return port;
}

NodeStatus nodeStatus(const Scan& scan, size_t node) {
    const lib1394::RomNode* rom = romNodeOf(scan, node);
    if (rom && !rom->accessible)
        return NodeStatus::NotAccessible;
    if (scan.nodeExhausted[node])
        return NodeStatus::OutOfReads;
    if (!scan.nodes[node].messages.isEmpty())
        return NodeStatus::Problems;
    return scan.nodeFailed[node] ? NodeStatus::ReadFailed : NodeStatus::Ok;
}

const char* statusName(NodeStatus status) {
    static const char* const names[] = {"ok", "problems", "read failed", "out of reads",
                                        "not accessible"};
    return names[static_cast<int>(status)];
}

bool hasProblems(const Scan& scan) {
    for (size_t i = 0; i < scan.nodes.size(); ++i)
        if (nodeStatus(scan, i) != NodeStatus::Ok)
            return true;
    return false;
}

} // namespace rombus

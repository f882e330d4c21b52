#include "inspect/model/Inspection.h"

#include "inspect/model/KnowledgeBuilder.h"
#include "inspect/verdicts/BusAdvisories.h"

#include "libRombus/Declarations.h"
#include "libRombus/Lib1394SysInfo.h"
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

bool failed(const std::vector<Failure>& failures, size_t index, const std::string& locator) {
    return std::any_of(failures.begin(), failures.end(), [&](const Failure& failure) {
        return failure.index == index && failure.locator == locator;
    });
}

// What the node at a place of the enumeration ran out of: nodes are numbered over the ports in
// order, and by physical id (the low six bits of the node id) within a port.
std::optional<lib1394::Budget> stopOf(const NodeView& node) {
    for (const lib1394::exhausted_node_t& exhausted : lib1394::ConfigROMContext::exhaustedNodes())
        if (exhausted.port == node.port && (exhausted.nodeId & 0x3F) == node.physicalId)
            return exhausted.spent;
    return std::nullopt;
}

bool isNodeDevice(const vesk5::SysInfoDevice& device, const std::string& locator) {
    return device.hwLocator().zulString().str() == locator &&
           !device.findProperty("__parentLocator");
}

// Gives each node its device and the entry devices published before it: the module publishes a
// port's device first, then per node the devices of its ROM's entries and last the node's own.
void attachDevices(Inspection& inspection) {
    size_t first = 0;
    size_t node = 0;
    for (size_t i = 0; i < inspection.devices.size() && node < inspection.nodes.size(); ++i) {
        NodeView& view = inspection.nodes[node];
        const std::string& locator = inspection.devices[i].hwLocator().zulString().str();
        if (locator.rfind("IEEE1394PORT:", 0) == 0) {
            first = i + 1;
        } else if (isNodeDevice(inspection.devices[i], view.locator)) {
            view.device = i;
            view.devices = NodeDevices(inspection.devices, first, i);
            first = i + 1;
            ++node;
        }
    }
}

// The nodes in the order of the records, each placed on its port by the bus's list of ports.
std::vector<NodeView> viewsOf(const zul::Array<libRombus::lib1394_enum_log>& records,
                              const std::vector<lib1394::RomPort>& ports,
                              const std::vector<Failure>& failures, const Settings& settings) {
    std::vector<NodeView> views;
    unsigned port = 0;
    unsigned physicalId = 0;
    for (size_t i = 0; i < records.size(); ++i) {
        while (port < ports.size() && physicalId >= ports[port].nodes.size()) {
            ++port;
            physicalId = 0;
        }
        NodeView view;
        view.index = i;
        view.port = port;
        view.physicalId = physicalId;
        view.locator = records[i].locator.str();
        view.records = records[i].messages;
        if (port < ports.size())
            view.source = ports[port].nodes[physicalId];
        view.readFailed = failed(failures, i, view.locator);
        view.stopped = stopOf(view);
        view.decoded = decode::decodeRom(view.source ? view.source->rom : std::vector<uint8_t>());
        const DriverTable& table = settings.drivers ? *settings.drivers : shippedDriverTable();
        view.drivers = driversOf(view.decoded, table);
        if (const LongAssignment* holder =
                settings.assignments ? holderOf(*settings.assignments, view.guid()) : nullptr)
            view.guidAssignment = *holder;
        if (view.source) {
            view.advisories =
                advisoriesOf(view.decoded, *view.source, view.records, settings.crcLevel);
            for (Advisory& advisory : driverAdvisories(view.decoded, view.drivers, table))
                view.advisories.push_back(std::move(advisory));
        }
        view.explanations =
            explainRecords(view.decoded, view.records, view.source && isKernelCopy(*view.source));
        view.verdicts = classifyRecords(view.decoded, view.records, view.explanations);
        view.beyondVerdict = !view.decoded.root.empty() && stoppedAtBusInfo(view.records);
        views.push_back(std::move(view));
        ++physicalId;
    }
    return views;
}

} // namespace

const NodeView* Inspection::nodeOfDevice(size_t device) const {
    for (const NodeView& node : nodes)
        if (node.device == device)
            return &node;
    return nullptr;
}

Inspection inspect(std::shared_ptr<lib1394::RomImageBus> bus, const Settings& settings) {
    libRombus::init();
    setParameter("IEEEVendorRegistryFile", vesk5::Value(settings.registry.c_str()));
    setParameter("CRCMismatchLogLevel", vesk5::Value(static_cast<uint32_t>(settings.crcLevel)));
    zul::Array<libRombus::lib1394_enum_log> records;
    std::vector<Failure> failures;
    routeLogLines(settings.logLevel, records, failures);
    lib1394::ConfigROMContext::installBus(bus);

    Inspection inspection;
    for (const lib1394::RomPort& port : bus->ports())
        inspection.portTexts.push_back(port.text);
    inspection.notes = bus->notes();
    inspection.skippedNodes = bus->skippedNodes();
    inspection.strict = settings.strict;
    vesk5::SysInfoModule::reset();
    vesk5::DiagModule::clearReports();
    lib1394::ConfigROMContext::clearExhaustedNodes();
    inspection.result = libRombus::Lib1394SysInfo::enumerateAll(records);
    inspection.devices =
        std::vector<vesk5::SysInfoDevice>(vesk5::SysInfoModule::publishedDevices());
    inspection.reports = vesk5::DiagModule::reports();
    inspection.nodes = viewsOf(records, bus->ports(), failures, settings);
    attachDevices(inspection);
    addBusAdvisories(inspection.nodes);
    RegistryNames registry(settings.registry);
    for (NodeView& node : inspection.nodes)
        addKnowledge(node, registry);

    zul::LogFactory::setSink(nullptr);
    lib1394::ConfigROMContext::installBus(nullptr);
    return inspection;
}

bool hasProblems(const Inspection& inspection) {
    return inspection.skippedNodes > 0 ||
           std::any_of(inspection.nodes.begin(), inspection.nodes.end(),
                       [&](const NodeView& node) { return nodeFails(node, inspection.strict); });
}

bool isClean(const Inspection& inspection) {
    return !inspection.nodes.empty() && !hasProblems(inspection);
}

bool hasAdvisories(const Inspection& inspection) {
    return std::any_of(inspection.nodes.begin(), inspection.nodes.end(), [](const NodeView& node) {
        return std::any_of(
            node.advisories.begin(), node.advisories.end(),
            [](const Advisory& advisory) { return advisory.severity == Severity::Advisory; });
    });
}

} // namespace rombus

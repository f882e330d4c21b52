#include "lib1394/ConfigROM.h"

#include "vesk5/SysInfoModule.h"

namespace lib1394 {
namespace {

size_t& liveAccessors() {
    static size_t count = 0;
    return count;
}

// The node being read: its place, the vendor lookups it has left, and whether it was noted as
// having run out of a budget.
struct NodeCharge {
    unsigned port;
    unsigned nodeId;
    uint64_t lookupsLeft;
    bool noted = false;
};

struct Context {
    std::shared_ptr<Bus> bus;
    uint64_t readBudget = ConfigROMContext::DefaultReadBudget;
    uint64_t entryBudget = ConfigROMContext::DefaultEntryBudget;
    uint64_t lookupBudget = ConfigROMContext::DefaultLookupBudget;
    std::vector<exhausted_node_t> exhausted;
    std::shared_ptr<NodeCharge> current;
};

Context& context() {
    static Context instance;
    return instance;
}

// Notes a node once as having run out of a budget, and refuses entry devices until the next
// accessor is handed out.
void noteExhausted(NodeCharge& node, Budget spent) {
    if (!node.noted) {
        context().exhausted.push_back({node.port, node.nodeId, spent});
        vesk5::SysInfoModule::refuseDevicesOf(&vesk5::DeviceCapability::Firmware());
    }
    node.noted = true;
}

// Passes reads on to a bus's accessor while the node's budget lasts: a number of reads, and a
// number of GUIDs asked for, one per entry object made. Once a read or an entry past either is
// asked for, every read fails, and the node is noted once with what it ran out of.
class BudgetedAccessor : public ConfigROMAccessor {
public:
    BudgetedAccessor(ConfigROMAccessor* inner, std::shared_ptr<NodeCharge> node, uint64_t reads,
                     uint64_t entries)
        : ConfigROMAccessor(inner->getPort(), inner->getGuid(), inner->isAccessible()),
          inner_(inner), node_(std::move(node)), readsLeft_(reads), entryBudget_(entries) {}

    uint64_t getGuid() const override {
        if (++entries_ > entryBudget_)
            noteExhausted(Budget::Entries);
        return ConfigROMAccessor::getGuid();
    }

    unsigned readBlock(unsigned offset, unsigned length, void* buffer) override {
        if (entries_ > entryBudget_) {
            noteExhausted(Budget::Entries);
            return 0;
        }
        if (readsLeft_ == 0) {
            noteExhausted(Budget::Reads);
            return 0;
        }
        --readsLeft_;
        return inner_->readBlock(offset, length, buffer);
    }

    bool getPortInfo(zul::Array<port_info_t>& ports) override { return inner_->getPortInfo(ports); }

private:
    void noteExhausted(Budget spent) const { lib1394::noteExhausted(*node_, spent); }

    std::unique_ptr<ConfigROMAccessor> inner_;
    std::shared_ptr<NodeCharge> node_;
    uint64_t readsLeft_;
    uint64_t entryBudget_;
    mutable uint64_t entries_ = 0;
};

} // namespace

ConfigROMAccessor::ConfigROMAccessor(unsigned port, uint64_t guid, bool accessible)
    : port_(port), guid_(guid), accessible_(accessible) {
    ++liveAccessors();
}

ConfigROMAccessor::~ConfigROMAccessor() {
    --liveAccessors();
}

bool ConfigROMAccessor::readStructure(unsigned offset, void* buffer, unsigned length) {
    return readBlock(offset, length, buffer) == length;
}

unsigned ConfigROMAccessor::readBlock(unsigned, unsigned, void*) {
    return 0;
}

bool ConfigROMAccessor::getPortInfo(zul::Array<port_info_t>&) {
    return false;
}

size_t ConfigROMAccessor::liveCount() {
    return liveAccessors();
}

AccessorHandle ConfigROMContext::getConfigROMAccessor(unsigned port, unsigned nodeId, bool) {
    Context& state = context();
    vesk5::SysInfoModule::refuseDevicesOf(nullptr);
    if (vesk5::Parameter* registry = vesk5::SysInfoModule::findParameter(RegistryParameter))
        registry->setReadHook(&ConfigROMContext::chargeLookup);
    state.current = std::make_shared<NodeCharge>(NodeCharge{port, nodeId, state.lookupBudget});
    if (!state.bus)
        return AccessorHandle(new ConfigROMAccessor(port, 0, false));
    return AccessorHandle(new BudgetedAccessor(state.bus->createAccessor(port, nodeId),
                                               state.current, state.readBudget, state.entryBudget));
}

void ConfigROMContext::installBus(std::shared_ptr<Bus> installed) {
    context().bus = std::move(installed);
    context().current.reset();
}

std::shared_ptr<Bus> ConfigROMContext::installedBus() {
    return context().bus;
}

void ConfigROMContext::setReadBudget(uint64_t reads) {
    context().readBudget = reads;
}

uint64_t ConfigROMContext::readBudget() {
    return context().readBudget;
}

void ConfigROMContext::setEntryBudget(uint64_t entries) {
    context().entryBudget = entries;
}

uint64_t ConfigROMContext::entryBudget() {
    return context().entryBudget;
}

void ConfigROMContext::setLookupBudget(uint64_t lookups) {
    context().lookupBudget = lookups;
}

uint64_t ConfigROMContext::lookupBudget() {
    return context().lookupBudget;
}

uint64_t ConfigROMContext::budgetOf(Budget budget) {
    const Context& state = context();
    static constexpr uint64_t Context::*const limits[] = {
        &Context::readBudget, &Context::entryBudget, &Context::lookupBudget};
    return state.*limits[static_cast<int>(budget)];
}

void ConfigROMContext::chargeLookup() {
    NodeCharge* node = context().current.get();
    if (!node)
        return;
    if (node->lookupsLeft == 0)
        noteExhausted(*node, Budget::Lookups);
    else
        --node->lookupsLeft;
}

const std::vector<exhausted_node_t>& ConfigROMContext::exhaustedNodes() {
    return context().exhausted;
}

void ConfigROMContext::clearExhaustedNodes() {
    context().exhausted.clear();
}

} // namespace lib1394

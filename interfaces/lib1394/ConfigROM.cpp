#include "lib1394/ConfigROM.h"

#include "vesk5/SysInfoModule.h"

namespace lib1394 {
namespace {

size_t& liveAccessors() {
    static size_t count = 0;
    return count;
}

struct Context {
    std::shared_ptr<Bus> bus;
    uint64_t readBudget = ConfigROMContext::DefaultReadBudget;
    uint64_t entryBudget = ConfigROMContext::DefaultEntryBudget;
    std::vector<exhausted_node_t> exhausted;
};

Context& context() {
    static Context instance;
    return instance;
}

// Passes reads on to a bus's accessor while the node's budget lasts: a number of reads, and a
// number of GUIDs asked for, one per entry object made. Once a read or an entry past either is
// asked for, every read fails, and the node is noted once with what it ran out of.
class BudgetedAccessor : public ConfigROMAccessor {
public:
    BudgetedAccessor(ConfigROMAccessor* inner, unsigned nodeId, uint64_t reads, uint64_t entries)
        : ConfigROMAccessor(inner->getPort(), inner->getGuid(), inner->isAccessible()),
          inner_(inner), nodeId_(nodeId), readsLeft_(reads), entryBudget_(entries) {}

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
    void noteExhausted(Budget spent) const {
        if (!noted_) {
            context().exhausted.push_back({getPort(), nodeId_, spent});
            vesk5::SysInfoModule::refuseDevicesOf(&vesk5::DeviceCapability::Firmware());
        }
        noted_ = true;
    }

    std::unique_ptr<ConfigROMAccessor> inner_;
    unsigned nodeId_;
    uint64_t readsLeft_;
    uint64_t entryBudget_;
    mutable uint64_t entries_ = 0;
    mutable bool noted_ = false;
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
    if (!state.bus)
        return AccessorHandle(new ConfigROMAccessor(port, 0, false));
    return AccessorHandle(new BudgetedAccessor(state.bus->createAccessor(port, nodeId), nodeId,
                                               state.readBudget, state.entryBudget));
}

void ConfigROMContext::installBus(std::shared_ptr<Bus> installed) {
    context().bus = std::move(installed);
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

const std::vector<exhausted_node_t>& ConfigROMContext::exhaustedNodes() {
    return context().exhausted;
}

void ConfigROMContext::clearExhaustedNodes() {
    context().exhausted.clear();
}

} // namespace lib1394

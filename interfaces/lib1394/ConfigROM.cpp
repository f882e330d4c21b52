#include "lib1394/ConfigROM.h"

namespace lib1394 {
namespace {

size_t& liveAccessors() {
    static size_t count = 0;
    return count;
}

std::shared_ptr<Bus>& bus() {
    static std::shared_ptr<Bus> installed;
    return installed;
}

} // namespace

ConfigROMAccessor::ConfigROMAccessor(unsigned port, uint64_t guid, bool accessible)
    : port_(port), guid_(guid), accessible_(accessible) {
    ++liveAccessors();
}

ConfigROMAccessor::~ConfigROMAccessor() { --liveAccessors(); }

bool ConfigROMAccessor::readStructure(unsigned offset, void* buffer, unsigned length) {
    return readBlock(offset, length, buffer) == length;
}

unsigned ConfigROMAccessor::readBlock(unsigned, unsigned, void*) { return 0; }

bool ConfigROMAccessor::getPortInfo(zul::Array<port_info_t>&) { return false; }

size_t ConfigROMAccessor::liveCount() { return liveAccessors(); }

AccessorHandle ConfigROMContext::getConfigROMAccessor(unsigned port, unsigned nodeId, bool) {
    if (!bus())
        return AccessorHandle(new ConfigROMAccessor(port, 0, false));
    return AccessorHandle(bus()->createAccessor(port, nodeId));
}

void ConfigROMContext::installBus(std::shared_ptr<Bus> installed) { bus() = std::move(installed); }

std::shared_ptr<Bus> ConfigROMContext::installedBus() { return bus(); }

} // namespace lib1394

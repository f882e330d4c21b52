#include "libRombus/Log.h"

#include "zul/SprintfFormat.h"

namespace libRombus {

zul::Logger* openLogger(LoggerSlot& slot, unsigned priority) {
    if (zul::LogFactory::getPriority() > priority)
        return nullptr;
    if (!slot.logger)
        zul::LogFactory::createLogger(slot.name, slot.logger);
    if (slot.logger->getPriority() > priority || slot.logger->resolvePriority() > priority)
        return nullptr;
    return slot.logger;
}

zul::String hex(uint64_t value) {
    return zul::SprintfFormat("%llXh", static_cast<unsigned long long>(value));
}

zul::String decimal(uint32_t value) {
    return zul::SprintfFormat("%u", value);
}

} // namespace libRombus

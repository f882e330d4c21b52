#pragma once

#include "zul/Log.h"
#include "zul/String.h"

#include <cstdint>

namespace libRombus {

// A module-wide logger slot: empty until the first line that passes the global gate.
struct LoggerSlot {
    const char* name;
    zul::Logger* logger = nullptr;
};

// The logger of the slot when a line of this priority passes every gate, else null. The logger
// is created only once the global gate has passed.
zul::Logger* openLogger(LoggerSlot& slot, unsigned priority);

template <class... Pieces>
void writeLine(zul::Logger& logger, unsigned priority, unsigned line, const Pieces&... pieces) {
    zul::LoggerStream stream;
    stream + line + " ";
    (stream + ... + pieces);
    logger.log(priority, stream);
}

// An offset, CRC or identifier as message text: upper-case hexadecimal, then h ("404h").
zul::String hex(uint64_t value);
// A byte count as message text, in decimal.
zul::String decimal(uint32_t value);

} // namespace libRombus

// Writes one line, prefixed with the number of the line that logs it. The pieces are evaluated
// only when the line passes the gates.
#define ROMBUS_LOG(slot, priority, ...)                                                            \
    do {                                                                                           \
        if (zul::Logger* gated_ = ::libRombus::openLogger(slot, priority))                         \
            ::libRombus::writeLine(*gated_, priority, __LINE__, __VA_ARGS__);                      \
    } while (0)

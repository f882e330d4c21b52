#include "libRombus/csr/Leaf.h"

#include "libRombus/Log.h"

namespace libRombus {
namespace {

LoggerSlot logger{"libRombus.csr.Leaf"};

} // namespace

bool Leaf::parse(bool checkCRC) {
    if (checkCRC && !verifyCRC()) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "Leaf::parse - CRC check failed, exiting");
        return false;
    }
    publishDevice();
    return true;
}

} // namespace libRombus

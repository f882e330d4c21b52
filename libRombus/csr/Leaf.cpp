#include "libRombus/csr/Leaf.h"

#include "libRombus/Log.h"
#include "vesk5/SysInfoModule.h"

namespace libRombus {
namespace {

LoggerSlot logger{"libRombus.csr.Leaf"};

} // namespace

bool Leaf::parse(bool checkCRC) {
    if (checkCRC && !verifyCRC()) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "Leaf::parse - CRC check failed, exiting");
        return false;
    }
    if (!device.isEmpty())
        vesk5::SysInfoModule::addDevice(device.get());
    return true;
}

} // namespace libRombus

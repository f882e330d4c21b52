#include "libRombus/Message.h"

namespace libRombus {

lib1394_log::lib1394_log(const vesk5::LocalizedStringSpec* spec, uint32_t level)
    : message(spec ? spec->createLocalizedString() : nullptr), level(level) {}

void setEventVariable(vesk5::Event* event, lib1394_log& log, const vesk5::VeskString& name,
                      const zul::String& text) {
    if (event)
        event->setVariable(name, vesk5::Value(text));
    if (!log.message.isEmpty())
        log.message->setVariable(name, vesk5::Value(text));
}

void raiseLog(const vesk5::Event* event, const lib1394_log& log, const vesk5::SysInfoDevice* device,
              const vesk5::VeskString& sourceFile, int line) {
    if (device)
        return;
    switch (log.level) {
    case LevelProgress:
        vesk5::DiagModule::progress(event);
        break;
    case LevelWarning:
        vesk5::DiagModule::warning(event, sourceFile, line);
        break;
    default:
        vesk5::DiagModule::error(event, sourceFile, line);
        break;
    }
}

void appendMessages(Messages& to, const Messages& from) {
    for (const lib1394_log& log : from)
        to.append(log);
}

} // namespace libRombus

#pragma once

#include "zul/Api.h"

#include "vesk5/DiagModule.h"
#include "vesk5/SysInfoDevice.h"
#include "zul/Array.h"
#include "zul/PointerStorage.h"
#include "zul/SharedResource.h"

#include <cstdint>

namespace libRombus {

using MessageHandle = zul::SharedResource<zul::PointerStorage<vesk5::LocalizedString, 0, 3>, 0>;

enum Level : uint32_t { LevelProgress = 0, LevelWarning = 1, LevelError = 2 };

// One recorded problem: a filled-in message, shared by every copy of the record, and its level.
struct ROMBUS_API lib1394_log {
    lib1394_log() = default;
    lib1394_log(const vesk5::LocalizedStringSpec* spec, uint32_t level);

    MessageHandle message;
    uint32_t level = LevelProgress;
};

using Messages = zul::Array<lib1394_log>;

// Gives a variable to the event and, when the record holds a message, to the message.
ROMBUS_API void setEventVariable(vesk5::Event* event, lib1394_log& log,
                                 const vesk5::VeskString& name, const zul::String& text);

// Reports the event by the record's level, but only when the finder has no device to carry it.
ROMBUS_API void raiseLog(const vesk5::Event* event, const lib1394_log& log,
                         const vesk5::SysInfoDevice* device, const vesk5::VeskString& sourceFile,
                         int line);

// Appends copies of all records of one list to another, in order.
ROMBUS_API void appendMessages(Messages& to, const Messages& from);

} // namespace libRombus

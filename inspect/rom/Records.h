#pragma once

#include "libRombus/Message.h"

#include <cstdint>
#include <optional>
#include <string>

namespace rombus {

// What the reports read of the module's problem records: their template id, text and the ROM
// offsets their variables name.

// The record's template id ("CRCCheckFailed"...), empty for a record without a message.
std::string recordId(const libRombus::lib1394_log& record);
// The record's filled-in text, empty for a record without a message.
std::string recordText(const libRombus::lib1394_log& record);

// The ROM offset a variable of the record names: "offset" written "%Xh", or the address of an
// entry locator ("dir_name").
std::optional<uint32_t> recordOffset(const libRombus::lib1394_log& record, const char* variable);

// The ROM offset of the quadlet or block header a record concerns: the block of a CRC mismatch
// (its "offset" is the first quadlet the CRC covers), the directory a rule names, the offset of
// a failed read.
std::optional<uint32_t> concernedOffset(const libRombus::lib1394_log& record);

} // namespace rombus

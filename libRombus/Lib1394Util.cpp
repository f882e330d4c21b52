#include "libRombus/Lib1394Util.h"

#include "libRombus/Declarations.h"
#include "libRombus/Log.h"
#include "zul/Regex.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace libRombus {
namespace {

LoggerSlot logger{"libRombus.Lib1394Util"};

const char* const keyTypeNames[4] = {"Immediate", "CSR Offset", "Leaf", "Directory"};

const char* const keyIdNames[64] = {
    "Root",       // 00
    "Descriptor", // 01
    "Bus Dependent Information",
    "Vendor",
    "Hardware Version",
    "Unknown",
    "Unknown",
    "MODULE", // 07
    "Unknown",
    "Unknown",
    "Unknown",
    "Unknown",
    "Node Capabilities", // 0C
    "EUI 64",
    "Unknown",
    "Unknown",
    "Unknown", // 10
    "Unit",
    "Specifier ID",
    "Version",
    "Dependent Information",
    "Unit Location",
    "Unknown",
    "Model",
    "Instance", // 18
    "Keyword",
    "Feature",
    "Extended ROM",
    "Extended Key Specifier ID",
    "Extended Key",
    "Extended Data",
    "Modifiable Descriptor",
    "Directory Id", // 20
    "Reserved",
    "Reserved",
    "Reserved",
    "Reserved",
    "Reserved",
    "Reserved",
    "Reserved",
    "Reserved",
    "Reserved",
    "Reserved",
    "Reserved",
    "Reserved",
    "Reserved",
    "Reserved",
    "Reserved", // 2F
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific",
    "Bus/Directory Specific", // 3F
};

// A registry line: the identifier in upper-case hexadecimal, blanks, the holder's name. The match
// is anchored at the start of the line, so an indented address line is never taken for an entry,
// and the name stops before the line break (LF, CR or CRLF), which is not part of it.
const char* const registryLinePattern = "([0-9A-F]+)\\s*(.*)";

constexpr size_t registryLineSize = 256;

unsigned short exchanged(unsigned short value) {
    return static_cast<unsigned short>((value << 8) | (value >> 8));
}

unsigned quadletAt(const unsigned char* bytes, bool reversed) {
    if (reversed)
        return (unsigned{bytes[3]} << 24) | (bytes[2] << 16) | (bytes[1] << 8) | bytes[0];
    return (unsigned{bytes[0]} << 24) | (bytes[1] << 16) | (bytes[2] << 8) | bytes[3];
}

} // namespace

unsigned short Lib1394Util::calculateCRC16(unsigned crc, unsigned quadlet) {
    for (int shift = 28; shift >= 0; shift -= 4) {
        unsigned sum = ((crc >> 12) ^ (quadlet >> shift)) & 0xF;
        crc = (crc << 4) ^ (sum << 12) ^ (sum << 5) ^ sum;
    }
    return static_cast<unsigned short>(crc & 0xFFFF);
}

// The CRC over whole quadlets of [start, start + length); a partial last quadlet is left out, so
// no byte outside the range is read.
unsigned short Lib1394Util::crcOfQuadlets(const zul::Buffer<unsigned char>& data, unsigned start,
                                          unsigned length, bool reversed) {
    unsigned short crc = 0;
    const unsigned char* bytes = data.data() + start;
    for (unsigned i = 0; i + 4 <= length; i += 4)
        crc = calculateCRC16(crc, quadletAt(bytes + i, reversed));
    return crc;
}

bool Lib1394Util::verifyCRC16(unsigned short expected, const zul::Buffer<unsigned char>& data,
                              unsigned start, unsigned length, unsigned offset,
                              const zul::String& crcType, lib1394_log& log) {
    if (length == 0)
        return true;
    if (data.size() < uint64_t{start} + length || data.size() < 4) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM,
                   "Lib1394SysInfo::calculateCRC16 - CRC Data size < 4 || < start+length");
        return false;
    }
    if (expected == exchanged(crcOfQuadlets(data, start, length, false)))
        return true;
    unsigned short calculated = exchanged(crcOfQuadlets(data, start, length, true));
    if (expected == calculated)
        return true;
    recordMismatch(expected, calculated, offset, length, crcType, log);
    return log.level < LevelError;
}

void Lib1394Util::recordMismatch(unsigned short expected, unsigned short calculated,
                                 unsigned offset, unsigned length, const zul::String& crcType,
                                 lib1394_log& log) {
    log.message = lib1394_log(declared.CRCCheckFailed.message, LevelProgress).message;
    ROMBUS_LOG(logger, zul::LOG_PROBLEM, "CRC check failed expected: ", hex(expected),
               " got: ", hex(calculated), " offset: ", hex(offset), " - crcType: \"", crcType,
               "\" length (bytes): ", length);
    vesk5::Event* event = declared.CRCCheckFailed.event;
    setEventVariable(event, log, "crc_calculated", hex(calculated));
    setEventVariable(event, log, "crc_expected", hex(expected));
    setEventVariable(event, log, "offset", hex(offset));
    setEventVariable(event, log, "crc_type", crcType);
    uint32_t level = declared.CRCMismatchLogLevel
                         ? declared.CRCMismatchLogLevel->value().valueUint32()
                         : uint32_t{LevelError};
    log.level = std::min<uint32_t>(level, LevelError);
}

unsigned Lib1394Util::crKeyConvert(const unsigned char* const bytes) {
    return (unsigned{bytes[0]} << 16) | (unsigned{bytes[1]} << 8) | bytes[2];
}

zul::String Lib1394Util::getEntryString(const lib1394::cr_key_value_t& entry) {
    return zul::String(keyTypeNames[entry.key >> 6]) + " - " + keyIdNames[entry.key & 0x3F];
}

zul::String Lib1394Util::getRIDString(unsigned rid) {
    return getRIDString(registryFilePath(), rid);
}

zul::String Lib1394Util::getRIDString(const zul::String& registryFile, unsigned rid) {
    zul::Regex pattern(registryLinePattern);
    FILE* file = std::fopen(registryFile.getUTF8String(), "r");
    if (!file) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "Unable to open IEEE registry file: ", registryFile);
        return zul::String();
    }
    zul::Matcher matcher(pattern);
    char line[registryLineSize];
    while (std::fgets(line, sizeof line, file)) {
        uint32_t id = 0;
        if (!matcher.matches(line, std::strlen(line)) || !matcher.group(1).toUint32(id, 16))
            continue;
        if (id == rid) {
            std::fclose(file);
            return matcher.group(2);
        }
        if (id > rid)
            break;
    }
    std::fclose(file);
    ROMBUS_LOG(logger, zul::LOG_PROBLEM,
               "Unable to match any entry in IEEE registry file: ", registryFile,
               " with the RID value : ", hex(rid));
    return zul::String();
}

} // namespace libRombus

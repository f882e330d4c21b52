#pragma once

#include "zul/Api.h"

#include "lib1394/ConfigROM.h"
#include "libRombus/Message.h"
#include "zul/Buffer.h"
#include "zul/String.h"

namespace libRombus {

// Configuration ROM utilities: CRC-16, entry names and vendor names.
class ROMBUS_API Lib1394Util {
public:
    // Accepts a block when the stored CRC, given with its two bytes exchanged, matches the CRC of
    // data[start, start + length) read in either byte order. A mismatch fills the record; its
    // level (from CRCMismatchLogLevel) decides whether the block is still accepted.
    static bool verifyCRC16(unsigned short expected, const zul::Buffer<unsigned char>& data,
                            unsigned start, unsigned length, unsigned offset,
                            const zul::String& crcType, lib1394_log& log);

    // The 24-bit number formed by three bytes, most significant first.
    static unsigned crKeyConvert(const unsigned char* const bytes);
    // The entry's name: its key type's name, " - ", its key id's name.
    static zul::String getEntryString(const lib1394::cr_key_value_t& entry);

    // The name of a company identifier in the registry file, or the empty string.
    static zul::String getRIDString(const zul::String& registryFile, unsigned rid);
    static zul::String getRIDString(unsigned rid);

private:
    static unsigned short calculateCRC16(unsigned crc, unsigned quadlet);
    static unsigned short crcOfQuadlets(const zul::Buffer<unsigned char>& data, unsigned start,
                                        unsigned length, bool exchanged);
    static void recordMismatch(unsigned short expected, unsigned short calculated, unsigned offset,
                               unsigned length, const zul::String& crcType, lib1394_log& log);
};

} // namespace libRombus

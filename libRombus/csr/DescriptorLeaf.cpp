#include "libRombus/csr/DescriptorLeaf.h"

#include "libRombus/Declarations.h"
#include "libRombus/Lib1394Util.h"
#include "libRombus/Log.h"
#include "zul/Buffer.h"

#include <cstring>

namespace libRombus {
namespace {

LoggerSlot logger{"libRombus.csr.DescriptorLeaf"};

const char* const sourceFile = "csr/DescriptorLeaf";

enum DescriptorType : unsigned { Textual = 0, Icon = 1, Unspecified = 255 };

// Bytes of a descriptor leaf before its text: header, type and specifier, width and language.
constexpr unsigned typeAndSpecifierEnd = 8;
constexpr unsigned textStart = 12;

// Minimal ASCII: a width of at most 2 with the IEEE 1212 minimal set or US-ASCII (IANA 3).
bool isMinimalAscii(const unsigned char* block) {
    unsigned width = block[8] >> 4;
    unsigned characterSet = ((block[8] & 0x0F) << 8) | block[9];
    return width <= 2 && (characterSet == 0 || characterSet == 3);
}

} // namespace

bool DescriptorLeaf::parse(bool checkCRC) {
    if (checkCRC && !verifyCRC()) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "DescriptorLeaf::parse - CRC check failed, exiting");
        return false;
    }
    unsigned char block[textStart];
    if (!accessor->readStructure(offset, block, typeAndSpecifierEnd))
        return reportReadFailure(typeAndSpecifierEnd, __LINE__);
    unsigned length = ((block[0] << 8) | block[1]) * 4u;
    unsigned specifier = Lib1394Util::crKeyConvert(block + 5);
    if (specifier != 0) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "specifier ID is non-zero (", hex(specifier),
                   "), unable to interpret value");
    } else if (block[4] == Unspecified) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "unspecified descriptor type");
    } else if (block[4] != Textual && block[4] != Icon) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "unknown descriptor type (", hex(block[4]),
                   "), unable to interpret value");
    } else if (block[4] == Textual) {
        if (!accessor->readStructure(offset, block, textStart))
            return reportReadFailure(textStart, __LINE__);
        if (isMinimalAscii(block) && !publishText(length))
            return false;
    }
    publishDevice();
    return true;
}

bool DescriptorLeaf::reportReadFailure(unsigned length, int line) {
    lib1394_log record(declared.ReadFailed.message, LevelError);
    setEventVariable(declared.ReadFailed.event, record, "offset", hex(offset));
    setEventVariable(declared.ReadFailed.event, record, "length", decimal(length));
    raiseLog(declared.ReadFailed.event, record, device.get(), sourceFile, line);
    messages.append(record);
    return false;
}

// Reads the text after the width and language quadlet and publishes it up to its first zero
// byte. A leaf too short to hold that quadlet has an empty text; nothing is read for it.
bool DescriptorLeaf::publishText(unsigned length) {
    unsigned count = length > typeAndSpecifierEnd ? length - typeAndSpecifierEnd : 0;
    zul::Buffer<unsigned char> text(count + 1);
    if (count && accessor->readBlock(offset + textStart, count, text.data()) != count) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "unable to textual descriptor string");
        return false;
    }
    text[count] = 0;
    const char* characters = reinterpret_cast<const char*>(text.data());
    publishProperty(declared.TextString, device.get(),
                    zul::String(characters, std::strlen(characters)));
    return true;
}

} // namespace libRombus

#pragma once

#include "zul/Api.h"

#include "lib1394/RomImageBus.h"

#include <cstdio>
#include <string>
#include <vector>

namespace lib1394 {

// A Configuration ROM image read from a file, or the reason it could not be read. Accepted forms:
// raw binary in bus order; raw binary in little-endian quadlets (a copy of a Linux config_rom),
// recognised by the signature "1394" stored backwards at offset 4 or named by the byte order;
// hex text of 32-bit quadlets separated by white space or commas, each with an optional 0x, and
// comments from # or // to the end of the line. A file named *.rom is raw binary in bus order,
// as the tool saves ROMs, whatever its bytes look like; the form and the byte order given
// override what is found.
// How an image was stored, so that a file rewritten can keep its form.
enum class StoredForm { BusOrder, LittleEndian, HexText, DumpText };

struct ImageFile {
    std::string path;
    std::vector<uint8_t> rom; // bus order
    std::string error;        // a sentence naming the file; empty when the image was read
    StoredForm stored = StoredForm::BusOrder;

    bool ok() const { return error.empty(); }
};

// How an image is stored: found from its bytes and name (Detect), raw binary, or hex text.
enum class ImageForm { Detect, Binary, Hex };

ROMBUS_API ImageFile readImageFile(const std::string& path, ByteOrder order = ByteOrder::Detect,
                                   ImageForm form = ImageForm::Detect);

// Reads an image from a stream to its end (standard input, a pipe); name is used in the error
// text only. Like a file, at most 1 MiB is taken.
ROMBUS_API ImageFile readImageStream(const std::string& name, std::FILE* stream,
                                     ByteOrder order = ByteOrder::Detect,
                                     ImageForm form = ImageForm::Detect);

// Decodes the contents of an image; name is used in the error text only.
ROMBUS_API ImageFile decodeImage(const std::string& name, const std::string& content,
                                 ByteOrder order = ByteOrder::Detect,
                                 ImageForm form = ImageForm::Detect);

// A bus whose nodes are the given images in order, MaxNodes to a port: image n is node n % 63 of
// port n / 63. An image that could not be read is a node whose ROM is not accessible.
class ROMBUS_API ImageFileBus : public RomImageBus {
public:
    // The most images one port takes: physical ids 0 to 62 (63 is the broadcast id).
    static constexpr size_t MaxNodes = 63;

    explicit ImageFileBus(const std::vector<ImageFile>& images);
};

} // namespace lib1394

#include "lib1394/ImageFile.h"

#include "lib1394/ByteDump.h"
#include "lib1394/DumpText.h"
#include "lib1394/RegularFile.h"
#include "lib1394/Utf8Text.h"
#include "zul/Digits.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace lib1394 {
namespace {

// Text images may carry comments, so a file may be larger than a ROM; anything beyond this is
// neither a ROM nor a sensible text image of one.
constexpr size_t MaxFileSize = 1 << 20;
constexpr unsigned MaxQuadlets = MaxRomSize / 4;
constexpr size_t MaxTokenShown = 24;
constexpr const char* SavedRomExtension = ".rom";

ImageFile failure(const std::string& name, const std::string& reason) {
    ImageFile image;
    image.path = name;
    image.error = name + ": " + reason;
    return image;
}

bool startsWith(const std::string& content, const char* prefix) {
    return content.rfind(prefix, 0) == 0;
}

// Why a file meant as hex text cannot be one: it begins with a byte-order mark (UTF-8 or
// UTF-16), or it is text but for NUL bytes in it. Empty for anything else. A ROM image with the
// bus name at offset 4, in either byte order, is never taken for text.
std::string spoiltText(const std::string& content) {
    if (content.size() >= 8 &&
        (content.compare(4, 4, "1394") == 0 || content.compare(4, 4, "4931") == 0))
        return std::string();
    if (startsWith(content, "\xEF\xBB\xBF") || startsWith(content, "\xFF\xFE") ||
        startsWith(content, "\xFE\xFF"))
        return "begins with a byte-order mark; hex text must be UTF-8 without one";
    const size_t nul = content.find('\0');
    if (nul == std::string::npos)
        return std::string();
    std::string withoutNul = content;
    std::erase(withoutNul, '\0');
    if (isTextContent(withoutNul) && std::any_of(content.begin(), content.end(), [](char c) {
            return std::isxdigit(static_cast<unsigned char>(c)) != 0;
        }))
        return "holds a NUL byte at byte " + std::to_string(nul) + "; hex text holds none";
    return std::string();
}

// The signature "1394" stored with every quadlet's bytes reversed reads "4931" at offset 4.
bool signatureReversed(const std::vector<uint8_t>& rom) {
    return rom.size() >= 8 && std::memcmp(rom.data() + 4, "4931", 4) == 0;
}

// Puts the image into bus order; false when little-endian quadlets cannot be exchanged.
bool toBusOrder(ImageFile& image, ByteOrder order) {
    const bool little =
        order == ByteOrder::Little || (order == ByteOrder::Detect && signatureReversed(image.rom));
    if (!little)
        return true;
    if (image.rom.size() % 4 != 0)
        return false;
    swapQuadlets(image.rom);
    if (image.stored == StoredForm::BusOrder)
        image.stored = StoredForm::LittleEndian;
    return true;
}

// One quadlet written in hexadecimal: an optional 0x and one to eight digits.
bool parseQuadlet(const std::string& token, uint32_t& value) {
    const bool prefixed =
        token.size() > 2 && token[0] == '0' && (token[1] == 'x' || token[1] == 'X');
    const std::optional<uint64_t> digits =
        zul::parseHex(std::string_view(token).substr(prefixed ? 2 : 0), 8);
    if (!digits)
        return false;
    value = static_cast<uint32_t>(*digits);
    return true;
}

std::string shown(const std::string& token) {
    if (token.size() <= MaxTokenShown)
        return "\"" + token + "\"";
    return "\"" + token.substr(0, MaxTokenShown) + "...\"";
}

// The text of a line up to its comment, if any.
std::string withoutComment(const std::string& line) {
    size_t end = std::min(line.find('#'), line.find("//"));
    return end == std::string::npos ? line : line.substr(0, end);
}

bool isSeparator(char c) {
    return c == ',' || std::isspace(static_cast<unsigned char>(c));
}

ImageFile decodeText(const std::string& name, const std::string& content) {
    std::vector<uint8_t> rom;
    size_t lineStart = 0;
    for (unsigned lineNumber = 1; lineStart < content.size(); ++lineNumber) {
        size_t lineEnd = content.find('\n', lineStart);
        if (lineEnd == std::string::npos)
            lineEnd = content.size();
        const std::string line = withoutComment(content.substr(lineStart, lineEnd - lineStart));
        lineStart = lineEnd + 1;
        for (size_t i = 0; i < line.size();) {
            if (isSeparator(line[i])) {
                ++i;
                continue;
            }
            size_t end = i;
            while (end < line.size() && !isSeparator(line[end]))
                ++end;
            const std::string token = line.substr(i, end - i);
            i = end;
            uint32_t quadlet = 0;
            if (!parseQuadlet(token, quadlet))
                return failure(name, "line " + std::to_string(lineNumber) + ": " + shown(token) +
                                         " is not a 32-bit quadlet in hexadecimal");
            if (rom.size() / 4 == MaxQuadlets)
                return failure(name, "more than " + std::to_string(MaxQuadlets) +
                                         " quadlets, the most a Configuration ROM holds");
            for (int shift = 24; shift >= 0; shift -= 8)
                rom.push_back(static_cast<uint8_t>(quadlet >> shift));
        }
    }
    if (rom.empty())
        return failure(name, "holds no quadlets");
    ImageFile image;
    image.path = name;
    image.rom = std::move(rom);
    image.stored = StoredForm::HexText;
    return image;
}

// Hex text that reads as quadlets: what a *.rom file, raw binary whatever its bytes look like,
// is not when someone wrote hex text under that name.
bool isHexText(const std::string& content) {
    return !content.empty() && isTextContent(content) && decodeText("", content).ok();
}

ImageFile decodeBinary(const std::string& name, const std::string& content) {
    if (content.size() > MaxRomSize)
        return failure(name, std::to_string(content.size()) + " bytes, more than the " +
                                 std::to_string(MaxRomSize) + " bytes a Configuration ROM holds");
    ImageFile image;
    image.path = name;
    image.rom.assign(content.begin(), content.end());
    return image;
}

} // namespace

ImageFile decodeImage(const std::string& name, const std::string& content, ByteOrder order,
                      ImageForm form) {
    if (content.empty())
        return failure(name, "the file is empty");
    const std::string spoilt = form == ImageForm::Binary ? std::string() : spoiltText(content);
    if (!spoilt.empty())
        return failure(name, spoilt);
    const bool binary =
        form == ImageForm::Binary || (form == ImageForm::Detect && !isTextContent(content));
    // A pasted hexdump -C, xxd or od dump is the file it shows.
    std::vector<uint8_t> dumped;
    if (!binary && form == ImageForm::Detect && readByteDump(content, dumped))
        return decodeImage(name, std::string(dumped.begin(), dumped.end()), order,
                           ImageForm::Binary);
    if (!binary && form == ImageForm::Detect && isDumpText(content)) {
        ImageFile dump = decodeDumpText(name, content);
        dump.stored = StoredForm::DumpText;
        return dump;
    }
    ImageFile image = binary ? decodeBinary(name, content) : decodeText(name, content);
    if (image.ok() && !toBusOrder(image, order))
        return failure(name, std::to_string(image.rom.size()) +
                                 " bytes are not a whole number of little-endian quadlets");
    return image;
}

ImageFile readImageFile(const std::string& path, ByteOrder order, ImageForm form) {
    const RegularFile file = readRegularFile(path, MaxFileSize);
    if (!file.ok())
        return failure(path, file.error);
    // A saved ROM: raw binary in bus order, never taken for text or for little-endian quadlets.
    if (form == ImageForm::Detect && path.ends_with(SavedRomExtension)) {
        if (isHexText(file.content))
            return failure(path, "holds text, not the raw binary in bus order of a *.rom file; "
                                 "rename it *.hex, or read it with check --form hex");
        form = ImageForm::Binary;
        order = order == ByteOrder::Detect ? ByteOrder::Big : order;
    }
    return decodeImage(path, file.content, order, form);
}

ImageFile readImageStream(const std::string& name, std::FILE* stream, ByteOrder order,
                          ImageForm form) {
    std::string content;
    char piece[4096];
    size_t count = 0;
    while (content.size() <= MaxFileSize &&
           (count = std::fread(piece, 1, sizeof piece, stream)) > 0)
        content.append(piece, count);
    if (std::ferror(stream))
        return failure(name, "cannot be read");
    if (content.size() > MaxFileSize)
        return failure(name, "is larger than " + std::to_string(MaxFileSize) + " bytes");
    return decodeImage(name, content, order, form);
}

ImageFileBus::ImageFileBus(const std::vector<ImageFile>& images)
    : RomImageBus([&images] {
          std::vector<RomPort> ports;
          for (const ImageFile& image : images) {
              if (ports.empty() || ports.back().nodes.size() == MaxNodes)
                  ports.push_back({"image files", {}});
              RomNode node;
              node.rom = image.rom;
              node.accessible = image.ok();
              node.guid = guidOfRom(image.rom);
              node.label = image.path;
              ports.back().nodes.push_back(std::move(node));
          }
          return ports;
      }()) {}

} // namespace lib1394

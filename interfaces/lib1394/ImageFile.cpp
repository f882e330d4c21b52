#include "lib1394/ImageFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace lib1394 {
namespace {

// Text images may carry comments, so a file may be larger than a ROM; anything beyond this is
// neither a ROM nor a sensible text image of one.
constexpr size_t MaxFileSize = 1 << 20;
constexpr unsigned MaxQuadlets = MaxRomSize / 4;
constexpr size_t MaxTokenShown = 24;

ImageFile failure(const std::string& name, const std::string& reason) {
    ImageFile image;
    image.path = name;
    image.error = name + ": " + reason;
    return image;
}

// A file is text when it holds no control character other than white space; a ROM image always
// holds some (the info_length byte 04h to begin with).
bool looksBinary(const std::string& content) {
    for (unsigned char c : content)
        if ((c < 0x20 && (c == 0 || !std::strchr("\t\n\v\f\r", c))) || c == 0x7F)
            return true;
    return false;
}

// The signature "1394" stored with every quadlet's bytes reversed reads "4931" at offset 4.
bool signatureReversed(const std::vector<uint8_t>& rom) {
    return rom.size() >= 8 && std::memcmp(rom.data() + 4, "4931", 4) == 0;
}

// Puts the image into bus order; false when little-endian quadlets cannot be exchanged.
bool toBusOrder(std::vector<uint8_t>& rom, ByteOrder order) {
    const bool little =
        order == ByteOrder::Little || (order == ByteOrder::Detect && signatureReversed(rom));
    if (!little)
        return true;
    if (rom.size() % 4 != 0)
        return false;
    swapQuadlets(rom);
    return true;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// One quadlet written in hexadecimal: an optional 0x and one to eight digits.
bool parseQuadlet(const std::string& token, uint32_t& value) {
    const bool prefixed =
        token.size() > 2 && token[0] == '0' && (token[1] == 'x' || token[1] == 'X');
    const size_t start = prefixed ? 2 : 0;
    if (token.size() - start > 8)
        return false;
    value = 0;
    for (size_t i = start; i < token.size(); ++i) {
        const int digit = hexDigit(token[i]);
        if (digit < 0)
            return false;
        value = value << 4 | static_cast<uint32_t>(digit);
    }
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
    return image;
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

ImageFile decodeImage(const std::string& name, const std::string& content, ByteOrder order) {
    if (content.empty())
        return failure(name, "the file is empty");
    ImageFile image =
        looksBinary(content) ? decodeBinary(name, content) : decodeText(name, content);
    if (image.ok() && !toBusOrder(image.rom, order))
        return failure(name, std::to_string(image.rom.size()) +
                                 " bytes are not a whole number of little-endian quadlets");
    return image;
}

ImageFile readImageFile(const std::string& path, ByteOrder order) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        return failure(path, "is a directory, not a ROM image");
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file)
        return failure(path, std::string("cannot be opened: ") + std::strerror(errno));
    // Read piece by piece: a ROM image is small, and the limit is only reached by other files.
    std::string content;
    char piece[4096];
    size_t count = 0;
    while ((count = std::fread(piece, 1, sizeof piece, file.get())) > 0 &&
           content.size() <= MaxFileSize)
        content.append(piece, count);
    if (std::ferror(file.get()))
        return failure(path, std::string("cannot be read: ") + std::strerror(errno));
    if (content.size() > MaxFileSize)
        return failure(path, "is larger than " + std::to_string(MaxFileSize) +
                                 " bytes, far more than a ROM image");
    return decodeImage(path, content, order);
}

ImageFileBus::ImageFileBus(const std::vector<ImageFile>& images)
    : RomImageBus([&images] {
          RomPort port;
          port.text = "image files";
          for (const ImageFile& image : images) {
              if (port.nodes.size() == MaxNodes)
                  break;
              RomNode node;
              node.rom = image.rom;
              node.accessible = image.ok();
              node.guid = guidOfRom(image.rom);
              node.label = image.path;
              port.nodes.push_back(std::move(node));
          }
          return std::vector<RomPort>{std::move(port)};
      }()) {}

} // namespace lib1394

#include "lib1394/ByteDump.h"

#include "zul/Digits.h"

#include <optional>
#include <string_view>

namespace lib1394 {
namespace {

enum class Form { Hexdump, Xxd, Od };

// The largest offset a dump may reach: the size of the largest image file the tool reads.
constexpr uint64_t MaxDumpSize = 1 << 20;

// One line of a dump: "*", a line of bytes at an offset, or the offset alone.
struct DumpLine {
    bool repeat = false;
    uint64_t offset = 0;
    std::vector<uint8_t> bytes;
};

// Appends the bytes of a group of hexadecimal digits, first digits first; an even count only.
bool appendGroup(std::string_view group, std::vector<uint8_t>& bytes) {
    if (group.empty() || group.size() % 2 != 0)
        return false;
    for (size_t i = 0; i < group.size(); i += 2) {
        const std::optional<uint64_t> byte = zul::parseHex(group.substr(i, 2));
        if (!byte)
            return false;
        bytes.push_back(static_cast<uint8_t>(*byte));
    }
    return true;
}

// Appends an od word of eight digits as the little-endian machine that printed it stored it.
bool appendWord(std::string_view word, std::vector<uint8_t>& bytes) {
    const std::optional<uint64_t> value = word.size() == 8 ? zul::parseHex(word) : std::nullopt;
    if (!value)
        return false;
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<uint8_t>(*value >> shift));
    return true;
}

// The groups of a field separated by blanks, each appended by its form's reader.
bool readGroups(std::string_view field, Form form, std::vector<uint8_t>& bytes) {
    size_t at = 0;
    while (at < field.size()) {
        if (field[at] == ' ') {
            ++at;
            continue;
        }
        const size_t end = std::min(field.find(' ', at), field.size());
        const std::string_view group = field.substr(at, end - at);
        if (!(form == Form::Od ? appendWord(group, bytes) : appendGroup(group, bytes)))
            return false;
        at = end;
    }
    return true;
}

// hexdump and xxd end a line with its bytes as text, one character each, after two blanks or
// more: hexdump between bars (its groups hold none), xxd after the first double blank (its groups
// are one blank apart). Splits the line there into the field of groups, which must hold as many
// bytes as the text has characters.
bool splitText(std::string_view rest, Form form, std::string_view& field) {
    const size_t gap = form == Form::Hexdump ? rest.find('|') : rest.find("  ");
    if (gap == std::string_view::npos)
        return false;
    if (form == Form::Hexdump && (gap < 2 || rest.substr(gap - 2, 2) != "  "))
        return false;
    std::vector<uint8_t> bytes;
    if (!readGroups(rest.substr(0, gap), form, bytes) || bytes.empty() || bytes.size() > 16)
        return false;
    const size_t textSize = bytes.size() + (form == Form::Hexdump ? 2 : 0);
    if (rest.size() < gap + textSize)
        return false;
    const size_t textAt = rest.size() - textSize;
    if (rest.substr(gap, textAt - gap).find_first_not_of(' ') != std::string_view::npos)
        return false;
    if (form == Form::Hexdump && (textAt != gap || rest.back() != '|'))
        return false;
    field = rest.substr(0, gap);
    return true;
}

// One line in the form; nullopt when it is not one.
std::optional<DumpLine> readLine(std::string_view line, Form form) {
    DumpLine read;
    if (line == "*") {
        read.repeat = true;
        return read;
    }
    const size_t offsetEnd = std::min(line.find_first_of(": "), line.size());
    const std::optional<uint64_t> offset = zul::parseHex(line.substr(0, offsetEnd));
    if (!offset || offsetEnd < (form == Form::Od ? 6u : 8u) || *offset > MaxDumpSize)
        return std::nullopt;
    read.offset = *offset;
    if (offsetEnd == line.size())
        return form == Form::Xxd ? std::nullopt : std::optional<DumpLine>(read);
    const std::string_view separator = form == Form::Hexdump ? "  "
                                       : form == Form::Xxd   ? ": "
                                                             : " ";
    if (line.substr(offsetEnd, separator.size()) != separator)
        return std::nullopt;
    const std::string_view rest = line.substr(offsetEnd + separator.size());
    std::string_view field = rest;
    if (form != Form::Od && !splitText(rest, form, field))
        return std::nullopt;
    if (!readGroups(field, form, read.bytes) || read.bytes.empty() ||
        (form == Form::Od && read.bytes.size() > 16))
        return std::nullopt;
    return read;
}

// The form the first line is in.
std::optional<Form> formOf(std::string_view line) {
    for (const Form form : {Form::Hexdump, Form::Xxd, Form::Od})
        if (const std::optional<DumpLine> read = readLine(line, form); read && !read->repeat)
            return form;
    return std::nullopt;
}

// The lines of the content without their line ends, blank lines left out.
std::vector<std::string_view> linesOf(const std::string& content) {
    std::vector<std::string_view> lines;
    std::string_view rest = content;
    while (!rest.empty()) {
        const size_t end = std::min(rest.find('\n'), rest.size());
        std::string_view line = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        if (!line.empty())
            lines.push_back(line);
    }
    return lines;
}

// Puts a line in place: right after the bytes so far, or after repeats of the line before.
bool place(const DumpLine& line, bool repeating, const std::vector<uint8_t>& previous,
           std::vector<uint8_t>& bytes) {
    if (line.offset != bytes.size() && !repeating)
        return false;
    while (bytes.size() < line.offset && !previous.empty())
        bytes.insert(bytes.end(), previous.begin(), previous.end());
    if (bytes.size() != line.offset)
        return false;
    bytes.insert(bytes.end(), line.bytes.begin(), line.bytes.end());
    return true;
}

} // namespace

bool readByteDump(const std::string& content, std::vector<uint8_t>& bytes) {
    const std::vector<std::string_view> lines = linesOf(content);
    const std::optional<Form> form = lines.empty() ? std::nullopt : formOf(lines[0]);
    if (!form || (*form == Form::Od && lines.size() < 2))
        return false;
    bytes.clear();
    std::vector<uint8_t> previous;
    bool repeating = false;
    bool ended = false;
    for (const std::string_view text : lines) {
        const std::optional<DumpLine> line = ended ? std::nullopt : readLine(text, *form);
        if (!line || (line->repeat && previous.empty()))
            return false;
        if (line->repeat) {
            repeating = true;
            continue;
        }
        if (!place(*line, repeating, previous, bytes))
            return false;
        repeating = false;
        ended = line->bytes.empty();
        previous = line->bytes;
    }
    return !bytes.empty();
}

} // namespace lib1394

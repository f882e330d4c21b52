#include "CommandIo.h"

#include "Options.h"
#include "Text.h"
#include "inspect/io/AtomicFile.h"
#include "inspect/io/Format.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace rombus {

void complain(const std::string& text) {
    std::fprintf(stderr, "rombus: %s\n", escaped(text, false).c_str());
}

bool writeOut(const std::string& text) {
    errno = 0;
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
                         std::fflush(stdout) == 0 && !std::ferror(stdout);
    if (!written)
        complain(std::string("standard output cannot be written: ") +
                 (errno ? std::strerror(errno) : "unknown error"));
    return written;
}

lib1394::ImageFile readImage(const std::string& path, lib1394::ByteOrder order,
                             lib1394::ImageForm form) {
    if (path != "-")
        return lib1394::readImageFile(path, order, form);
    if (::isatty(STDIN_FILENO))
        std::fprintf(stderr, "rombus: reading a ROM image from standard input (end with Ctrl-D)\n");
    return lib1394::readImageStream("standard input", stdin, order, form);
}

bool writeFile(const std::string& path, const std::string& content, const WriteRules& rules) {
    const FileWrite written = writeWholeFile(path, content, rules);
    if (!written.ok())
        complain(path + ": " + written.reason);
    return written.ok();
}

void addOutputOptions(CLI::App& command, Options& options, bool outputRequired) {
    command.add_option("-o,--output", options.output, "ROM file to write; - for standard output")
        ->type_name("OUT")
        ->required(outputRequired);
    command
        .add_option("--output-form", options.outputForm,
                    "Form of the ROM written: be (binary, bus order; the default, and with\n"
                    "--in-place the input's own form), le (binary, little-endian quadlets) or\n"
                    "hex (text, one quadlet a line)")
        ->type_name("be|le|hex")
        ->check(CLI::IsMember({"be", "le", "hex"}).description(""));
}

std::string romInForm(const std::vector<uint8_t>& rom, const std::string& form) {
    if (form != "hex" && form != "le")
        return std::string(rom.begin(), rom.end());
    std::string out;
    for (size_t at = 0; at + 4 <= rom.size(); at += 4) {
        const uint32_t quadlet = uint32_t{rom[at]} << 24 | uint32_t{rom[at + 1]} << 16 |
                                 uint32_t{rom[at + 2]} << 8 | rom[at + 3];
        if (form == "hex")
            out += format("%08X\n", quadlet);
        else
            out += {static_cast<char>(quadlet), static_cast<char>(quadlet >> 8),
                    static_cast<char>(quadlet >> 16), static_cast<char>(quadlet >> 24)};
    }
    return out;
}

std::string formProblem(const std::vector<uint8_t>& rom, const std::string& form) {
    if (rom.size() % 4 == 0 || (form != "hex" && form != "le"))
        return std::string();
    return format("its %zu bytes are not a whole number of quadlets; only --output-form be "
                  "keeps them all",
                  rom.size());
}

bool formFitsName(const std::string& path, const std::string& form) {
    if (form.empty() || form == "be" || !path.ends_with(".rom"))
        return true;
    complain(path +
             ": a *.rom file holds raw binary in bus order, which check reads it as; write " +
             (form == "hex" ? "hex text to a *.hex" : "little-endian quadlets to a *.bin") +
             " name, or leave out --output-form " + form);
    return false;
}

bool writeRom(const std::string& path, const std::string& content, const WriteRules& rules) {
    return path == "-" ? writeOut(content) : writeFile(path, content, rules);
}

} // namespace rombus

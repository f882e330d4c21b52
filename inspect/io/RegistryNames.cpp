#include "inspect/io/RegistryNames.h"

#include <fstream>

namespace rombus {
namespace {

bool isUpperHex(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
}

} // namespace

std::optional<std::string> RegistryNames::nameOf(uint32_t id) {
    if (!read_)
        read();
    const auto found = names_.find(id);
    if (found == names_.end() || found->second.empty())
        return std::nullopt;
    return found->second;
}

// Lines as the module writes them: upper-case hexadecimal digits, white space, then the name up to
// the line's end; the first name of an identifier wins.
void RegistryNames::read() {
    read_ = true;
    std::ifstream in(path_);
    std::string line;
    while (std::getline(in, line)) {
        size_t digits = 0;
        while (digits < line.size() && digits < 8 && isUpperHex(line[digits]))
            ++digits;
        if (digits == 0 || (digits < line.size() && line[digits] != ' ' && line[digits] != '\t' &&
                            line[digits] != '\r'))
            continue;
        size_t name = digits;
        while (name < line.size() && (line[name] == ' ' || line[name] == '\t'))
            ++name;
        size_t end = line.size();
        while (end > name && (line[end - 1] == '\r' || line[end - 1] == '\n'))
            --end;
        names_.emplace(static_cast<uint32_t>(std::stoul(line.substr(0, digits), nullptr, 16)),
                       line.substr(name, end - name));
    }
}

} // namespace rombus

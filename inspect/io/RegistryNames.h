#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace rombus {

// The names of company identifiers in the registry file the module reads (one line per
// identifier, in ascending order: hexadecimal digits, blanks, the name). The file is read once,
// when the first name is asked for, so that a bus whose names the module gave costs nothing.
class RegistryNames {
public:
    explicit RegistryNames(std::string path) : path_(std::move(path)) {}

    // The name of an identifier; none when the file lacks it or cannot be read.
    std::optional<std::string> nameOf(uint32_t id);

private:
    void read();

    std::string path_;
    bool read_ = false;
    std::map<uint32_t, std::string> names_;
};

} // namespace rombus

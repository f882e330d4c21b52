#include "inspect/knowledge/DriverTable.h"

#include "inspect/io/Format.h"
#include "inspect/knowledge/ShippedDrivers.h"
#include "lib1394/RegularFile.h"
#include "zul/Digits.h"

#include <sys/utsname.h>

#include <fstream>
#include <sstream>

namespace rombus {
namespace {

constexpr const char* AliasPrefix = "ieee1394:";

// The four fields of an ieee1394 alias in their order, each with its name and flag.
struct AliasField {
    const char* name;
    MatchFlag flag;
    uint32_t DriverId::*value;
};

constexpr AliasField aliasFields[] = {
    {"ven", MatchVendor, &DriverId::vendor},
    {"mo", MatchModel, &DriverId::model},
    {"sp", MatchSpecifier, &DriverId::specifier},
    {"ver", MatchVersion, &DriverId::version},
};

bool hexDigits(const std::string& text, size_t at, uint32_t& value) {
    if (text.size() < at + 8)
        return false;
    const std::optional<uint64_t> digits = zul::parseHex(std::string_view(text).substr(at, 8));
    if (!digits)
        return false;
    value = static_cast<uint32_t>(*digits);
    return true;
}

// The fields of "venXXXXXXXXmo*sp...ver...*" into an entry; false when the text is not of the
// form file2alias writes.
bool parseFields(const std::string& text, DriverId& id) {
    size_t at = 0;
    for (const AliasField& field : aliasFields) {
        const std::string name = field.name;
        if (text.compare(at, name.size(), name) != 0)
            return false;
        at += name.size();
        if (at < text.size() && text[at] == '*') {
            ++at;
            continue;
        }
        if (!hexDigits(text, at, id.*field.value))
            return false;
        id.flags |= field.flag;
        at += 8;
    }
    return at == text.size() || (at + 1 == text.size() && text[at] == '*');
}

} // namespace

bool parseModulesAlias(const std::string& text, const std::string& source,
                       const std::string& kernel, DriverTable& table, std::string& error) {
    std::istringstream in(text);
    std::string line;
    size_t number = 0;
    while (std::getline(in, line)) {
        ++number;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        std::istringstream words(line);
        std::string keyword, alias, module, extra;
        words >> keyword >> alias >> module;
        if (keyword != "alias" || alias.rfind(AliasPrefix, 0) != 0)
            continue;
        DriverId id;
        id.kernel = kernel;
        id.driver = module;
        if (module.empty() || (words >> extra) ||
            !parseFields(alias.substr(std::char_traits<char>::length(AliasPrefix)), id)) {
            error = source + ": line " + std::to_string(number) +
                    ": not an ieee1394 alias as the kernel writes it "
                    "(ieee1394:venXXXXXXXXmoXXXXXXXXspXXXXXXXXverXXXXXXXX, '*' for a field not "
                    "matched, then the module)";
            return false;
        }
        table.ids.push_back(std::move(id));
    }
    table.source = "modules.alias of " + kernel;
    return true;
}

bool readModulesAlias(const std::string& path, const std::string& kernel, DriverTable& table,
                      std::string& error) {
    // A FIFO or a device would block the reading, or never end it.
    const std::string notRegular = lib1394::notRegularFile(path);
    if (!notRegular.empty()) {
        error = path + ": the modules.alias " + notRegular;
        return false;
    }
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    if (!in || !(text << in.rdbuf())) {
        error = path + ": cannot read the modules.alias";
        return false;
    }
    return parseModulesAlias(text.str(), path, kernel, table, error);
}

const DriverTable& shippedDriverTable() {
    static const DriverTable table = [] {
        DriverTable shipped;
        shipped.source = "the table shipped with the tool";
        for (size_t i = 0; i < shippedDriverIdCount; ++i) {
            const ShippedDriverId& row = shippedDriverIds[i];
            shipped.ids.push_back({row.driver, row.flags, row.vendor, row.model, row.specifier,
                                   row.version, row.kernel});
        }
        return shipped;
    }();
    return table;
}

std::string runningKernelRelease() {
    utsname name{};
    return uname(&name) == 0 ? std::string(name.release) : std::string();
}

std::string runningModulesAlias() {
    return "/lib/modules/" + runningKernelRelease() + "/modules.alias";
}

std::string aliasOf(const DriverId& id) {
    std::string text = AliasPrefix;
    for (const AliasField& field : aliasFields)
        text += std::string(field.name) +
                ((id.flags & field.flag) ? format("%08X", id.*field.value) : std::string("*"));
    return text.back() == '*' ? text : text + "*";
}

} // namespace rombus

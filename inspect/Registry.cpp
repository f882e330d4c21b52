#include "inspect/Registry.h"

#include "lib1394/RegularFile.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include <sstream>

namespace rombus {
namespace {

namespace fs = std::filesystem;

constexpr const char* IeeeDataFolder = "/usr/share/ieee-data/";
// The module reads a registry line into 256 bytes; a longer line would be split in two, and the
// second half read as a line of its own. "XXXXXX " and the line end leave this much for a name.
constexpr size_t MaxNameBytes = 255 - 8;

bool isHex(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

// Six hexadecimal digits and nothing else; only 24-bit company identifiers are taken.
bool parseId(const std::string& text, uint32_t& id) {
    if (text.size() != 6 || !std::all_of(text.begin(), text.end(), isHex))
        return false;
    id = static_cast<uint32_t>(std::stoul(text, nullptr, 16));
    return true;
}

// The name on one line: control characters become blanks, runs of blanks one blank, no blank at
// either end, and at most MaxNameBytes bytes, cut between two UTF-8 characters.
std::string cleanName(const std::string& raw) {
    std::string name;
    for (char c : raw) {
        const bool blank = static_cast<unsigned char>(c) < 0x20 || c == ' ' || c == 0x7F;
        if (!blank)
            name += c;
        else if (!name.empty() && name.back() != ' ')
            name += ' ';
    }
    if (!name.empty() && name.back() == ' ')
        name.pop_back();
    if (name.size() > MaxNameBytes) {
        size_t cut = MaxNameBytes;
        while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80)
            --cut;
        name.resize(cut);
        while (!name.empty() && name.back() == ' ')
            name.pop_back();
    }
    return name;
}

void addEntry(std::vector<RegistryEntry>& entries, const std::string& idText,
              const std::string& rawName) {
    uint32_t id = 0;
    std::string name = cleanName(rawName);
    if (parseId(idText, id) && !name.empty())
        entries.push_back({id, std::move(name)});
}

std::string trim(const std::string& text) {
    const size_t begin = text.find_first_not_of(" \t\r");
    if (begin == std::string::npos)
        return std::string();
    return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

// ieee-data's oui.txt is about 5 MB; anything far larger is not an IEEE registry.
constexpr size_t MaxIeeeRegistrySize = 64 << 20;

// oui.txt: "002272     (base 16)\t\tAmerican Micro-Fuel Device Corp." among address lines.
std::vector<RegistryEntry> parseText(const std::string& content) {
    static const std::string marker = "(base 16)";
    std::vector<RegistryEntry> entries;
    std::istringstream in(content);
    for (std::string line; std::getline(in, line);) {
        const size_t at = line.find(marker);
        if (at != std::string::npos)
            addEntry(entries, trim(line.substr(0, at)), line.substr(at + marker.size()));
    }
    return entries;
}

// Splits CSV text into records of fields: quoted fields may hold commas, doubled quotes and
// line breaks; records end at LF or CR LF.
std::vector<std::vector<std::string>> splitCsv(const std::string& content) {
    std::vector<std::vector<std::string>> records(1, std::vector<std::string>(1));
    bool quoted = false;
    for (size_t i = 0; i < content.size(); ++i) {
        const char c = content[i];
        std::string& field = records.back().back();
        if (quoted && c == '"' && i + 1 < content.size() && content[i + 1] == '"') {
            field += '"';
            ++i;
        } else if (c == '"') {
            quoted = !quoted;
        } else if (quoted) {
            field += c;
        } else if (c == ',') {
            records.back().emplace_back();
        } else if (c == '\n') {
            records.emplace_back(1);
        } else if (c != '\r') {
            field += c;
        }
    }
    return records;
}

size_t columnOf(const std::vector<std::string>& header, const std::string& name, size_t fallback) {
    auto it = std::find(header.begin(), header.end(), name);
    return it == header.end() ? fallback : static_cast<size_t>(it - header.begin());
}

// oui.csv: "MA-L,002272,American Micro-Fuel Device Corp.,2181 Buchanan Loop ..." after a header.
std::vector<RegistryEntry> parseCsv(const std::string& content) {
    std::vector<RegistryEntry> entries;
    const auto records = splitCsv(content);
    if (records.empty())
        return entries;
    const size_t idColumn = columnOf(records.front(), "Assignment", 1);
    const size_t nameColumn = columnOf(records.front(), "Organization Name", 2);
    for (size_t r = 1; r < records.size(); ++r) {
        const auto& fields = records[r];
        if (fields.size() > std::max(idColumn, nameColumn))
            addEntry(entries, trim(fields[idColumn]), fields[nameColumn]);
    }
    return entries;
}

} // namespace

std::vector<RegistryEntry> parseIeeeRegistry(const std::string& content) {
    if (content.find("(base 16)") != std::string::npos)
        return parseText(content);
    return parseCsv(content);
}

bool readIeeeRegistry(const std::string& path, std::vector<RegistryEntry>& entries,
                      std::string& error) {
    const lib1394::RegularFile file = lib1394::readRegularFile(path, MaxIeeeRegistrySize);
    if (!file.ok()) {
        error = path + ": " + file.error;
        return false;
    }
    entries = parseIeeeRegistry(file.content);
    if (entries.empty()) {
        error = path + ": holds no company identifier (expected ieee-data's oui.txt or oui.csv)";
        return false;
    }
    return true;
}

std::string formatRegistry(std::vector<RegistryEntry> entries) {
    std::stable_sort(entries.begin(), entries.end(),
                     [](const RegistryEntry& a, const RegistryEntry& b) { return a.id < b.id; });
    std::string out;
    for (size_t i = 0; i < entries.size(); ++i) {
        if (i > 0 && entries[i].id == entries[i - 1].id)
            continue;
        char id[8];
        std::snprintf(id, sizeof id, "%06X ", static_cast<unsigned>(entries[i].id));
        out += id;
        out += entries[i].name;
        out += '\n';
    }
    return out;
}

std::string defaultImportSource() {
    const std::string text = std::string(IeeeDataFolder) + "oui.txt";
    const std::string csv = std::string(IeeeDataFolder) + "oui.csv";
    std::error_code error;
    if (!fs::exists(text, error) && fs::exists(csv, error))
        return csv;
    return text;
}

std::string defaultRegistryPath() {
    std::error_code error;
    const fs::path executable = fs::read_symlink("/proc/self/exe", error);
    const fs::path prefix = error ? fs::path(".") : executable.parent_path().parent_path();
    return (prefix / "share" / "rombus" / "oui-registry.txt").string();
}

} // namespace rombus

#include "inspect/io/Registry.h"

#include "lib1394/RegularFile.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
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

std::string trim(const std::string& text) {
    const size_t begin = text.find_first_not_of(" \t\r");
    if (begin == std::string::npos)
        return std::string();
    return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

// Lines and fields are read into at most this many bytes each, and records into at most this
// many fields: whatever the input, the memory taken is bounded by what is kept of it.
constexpr size_t MaxFieldBytes = 4096;
constexpr size_t MaxFields = 64;
constexpr const char* TextMarker = "(base 16)";

// The first name read for each identifier, in identifier order.
using EntriesById = std::map<uint32_t, std::string>;

void addEntry(EntriesById& entries, const std::string& idText, const std::string& rawName) {
    uint32_t id = 0;
    std::string name = cleanName(rawName);
    if (parseId(idText, id) && !name.empty())
        entries.emplace(id, std::move(name));
}

void appendBounded(std::string& text, char c) {
    if (text.size() < MaxFieldBytes)
        text += c;
}

// Calls take for every line of the stream, without its LF.
template <typename Take> void forEachLine(std::istream& in, Take take) {
    std::streambuf& buffer = *in.rdbuf();
    std::string line;
    for (int c; (c = buffer.sbumpc()) != std::char_traits<char>::eof();) {
        if (c == '\n') {
            take(line);
            line.clear();
        } else {
            appendBounded(line, static_cast<char>(c));
        }
    }
    if (!line.empty())
        take(line);
}

// Calls take for every CSV record of the stream: quoted fields may hold commas, doubled quotes
// and line breaks; records end at LF or CR LF.
template <typename Take> void forEachCsvRecord(std::istream& in, Take take) {
    std::streambuf& buffer = *in.rdbuf();
    std::vector<std::string> record(1);
    bool quoted = false;
    for (int c; (c = buffer.sbumpc()) != std::char_traits<char>::eof();) {
        std::string& field = record.back();
        if (quoted && c == '"' && buffer.sgetc() == '"') {
            appendBounded(field, '"');
            buffer.sbumpc();
        } else if (c == '"') {
            quoted = !quoted;
        } else if (quoted) {
            appendBounded(field, static_cast<char>(c));
        } else if (c == ',') {
            if (record.size() < MaxFields)
                record.emplace_back();
        } else if (c == '\n') {
            take(record);
            record.assign(1, std::string());
        } else if (c != '\r') {
            appendBounded(field, static_cast<char>(c));
        }
    }
    take(record);
}

// oui.txt: "002272     (base 16)\t\tAmerican Micro-Fuel Device Corp." among address lines.
void parseText(std::istream& in, EntriesById& entries) {
    static const std::string marker = TextMarker;
    forEachLine(in, [&entries](const std::string& line) {
        const size_t at = line.find(marker);
        if (at != std::string::npos)
            addEntry(entries, trim(line.substr(0, at)), line.substr(at + marker.size()));
    });
}

size_t columnOf(const std::vector<std::string>& header, const std::string& name, size_t fallback) {
    auto it = std::find(header.begin(), header.end(), name);
    return it == header.end() ? fallback : static_cast<size_t>(it - header.begin());
}

// oui.csv: "MA-L,002272,American Micro-Fuel Device Corp.,2181 Buchanan Loop ..." after a header.
void parseCsv(std::istream& in, EntriesById& entries) {
    std::optional<std::pair<size_t, size_t>> columns; // the id's and the name's, from the header
    forEachCsvRecord(in, [&](const std::vector<std::string>& fields) {
        if (!columns) {
            columns = {columnOf(fields, "Assignment", 1), columnOf(fields, "Organization Name", 2)};
            return;
        }
        const auto [idColumn, nameColumn] = *columns;
        if (fields.size() > std::max(idColumn, nameColumn))
            addEntry(entries, trim(fields[idColumn]), fields[nameColumn]);
    });
}

// Whether the stream is oui.txt: one of its lines names an id "(base 16)". Leaves the stream at
// its beginning.
bool isText(std::istream& in) {
    bool found = false;
    forEachLine(in, [&found](const std::string& line) {
        found = found || line.find(TextMarker) != std::string::npos;
    });
    in.clear();
    in.seekg(0);
    return found;
}

std::vector<RegistryEntry> parseStream(std::istream& in) {
    EntriesById byId;
    if (isText(in))
        parseText(in, byId);
    else
        parseCsv(in, byId);
    std::vector<RegistryEntry> entries;
    entries.reserve(byId.size());
    for (auto& [id, name] : byId)
        entries.push_back({id, std::move(name)});
    return entries;
}

} // namespace

std::vector<RegistryEntry> parseIeeeRegistry(const std::string& content) {
    std::istringstream in(content);
    return parseStream(in);
}

bool readIeeeRegistry(const std::string& path, std::vector<RegistryEntry>& entries,
                      std::string& error) {
    const std::string notRegular = lib1394::notRegularFile(path);
    std::ifstream in;
    if (notRegular.empty())
        in.open(path, std::ios::binary);
    if (!notRegular.empty() || !in) {
        error = path + ": " + (notRegular.empty() ? "cannot be opened" : notRegular);
        return false;
    }
    entries = parseStream(in);
    if (in.bad()) {
        error = path + ": cannot be read";
        return false;
    }
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

std::string dataFolder() {
    std::error_code error;
    const fs::path executable = fs::read_symlink("/proc/self/exe", error);
    const fs::path prefix = error ? fs::path(".") : executable.parent_path().parent_path();
    return (prefix / "share" / "rombus").string();
}

std::string systemRegistryPath() {
    return ROMBUS_SYSTEM_REGISTRY;
}

std::string defaultRegistryPath() {
    const fs::path carried = fs::path(dataFolder()) / "oui-registry.txt";
    std::error_code error;
    return fs::exists(carried, error) ? carried.string() : systemRegistryPath();
}

} // namespace rombus

#include "inspect/io/Registry.h"

#include "lib1394/RegularFile.h"
#include "lib1394/Utf8Text.h"

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
constexpr const char* LongAssignmentsFile = "ieee-assignments.csv";
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

// The name on one line: control characters (C0 and C1) become blanks, runs of blanks one blank, no
// blank at either end, and at most MaxNameBytes bytes, cut between two UTF-8 characters.
std::string cleanName(const std::string& raw) {
    std::string name;
    for (size_t i = 0; i < raw.size(); ++i) {
        const char c = raw[i];
        // A C1 control character is C2h and a byte of 80h to 9Fh in UTF-8.
        const bool c1 = c == '\xC2' && i + 1 < raw.size() &&
                        static_cast<unsigned char>(raw[i + 1]) < 0xA0 &&
                        static_cast<unsigned char>(raw[i + 1]) >= 0x80;
        i += c1 ? 1 : 0;
        const bool blank = static_cast<unsigned char>(c) < 0x20 || c == ' ' || c == 0x7F || c1;
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

// Why a registry file is not text, naming the first byte that is not; empty when it is. Leaves
// the stream at its beginning.
std::string textFault(std::istream& in) {
    const std::string fault = lib1394::textFault(in, lib1394::C1Controls::Taken);
    in.clear();
    in.seekg(0);
    return in.bad() ? std::string() : fault;
}

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

// oui.txt: "002272     (base 16)\t\tAmerican Micro-Fuel Device Corp." among address lines; take
// is called with each id's text and raw name.
template <typename Take> void parseText(std::istream& in, Take take) {
    static const std::string marker = TextMarker;
    forEachLine(in, [&take](const std::string& line) {
        const size_t at = line.find(marker);
        if (at != std::string::npos)
            take(trim(line.substr(0, at)), line.substr(at + marker.size()));
    });
}

size_t columnOf(const std::vector<std::string>& header, const std::string& name, size_t fallback) {
    auto it = std::find(header.begin(), header.end(), name);
    return it == header.end() ? fallback : static_cast<size_t>(it - header.begin());
}

// oui.csv: "MA-L,002272,American Micro-Fuel Device Corp.,2181 Buchanan Loop ..." after a header;
// mam.csv, oui36.csv and iab.csv alike, with longer assignments.
template <typename Take> void parseCsv(std::istream& in, Take take) {
    std::optional<std::pair<size_t, size_t>> columns; // the id's and the name's, from the header
    forEachCsvRecord(in, [&](const std::vector<std::string>& fields) {
        if (!columns) {
            columns = {columnOf(fields, "Assignment", 1), columnOf(fields, "Organization Name", 2)};
            return;
        }
        const auto [idColumn, nameColumn] = *columns;
        if (fields.size() > std::max(idColumn, nameColumn))
            take(trim(fields[idColumn]), fields[nameColumn]);
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
    const auto take = [&byId](const std::string& id, const std::string& name) {
        addEntry(byId, id, name);
    };
    if (isText(in))
        parseText(in, take);
    else
        parseCsv(in, take);
    std::vector<RegistryEntry> entries;
    entries.reserve(byId.size());
    for (auto& [id, name] : byId)
        entries.push_back({id, std::move(name)});
    return entries;
}

// The longer assignments, by their hexadecimal digits: MA-M has 7 (28 bits), MA-S and IAB 9 (36
// bits); the first name given for an assignment wins.
std::vector<LongAssignment> parseLongStream(std::istream& in) {
    std::map<std::pair<unsigned, uint64_t>, std::string> byPrefix;
    parseCsv(in, [&byPrefix](const std::string& id, const std::string& rawName) {
        const bool digits = std::all_of(id.begin(), id.end(), isHex);
        std::string name = cleanName(rawName);
        if (digits && (id.size() == 7 || id.size() == 9) && !name.empty())
            byPrefix.emplace(
                std::pair(static_cast<unsigned>(4 * id.size()), std::stoull(id, nullptr, 16)),
                std::move(name));
    });
    std::vector<LongAssignment> assignments;
    for (auto& [key, name] : byPrefix)
        assignments.push_back({key.second, key.first, std::move(name)});
    return assignments;
}

} // namespace

std::vector<LongAssignment> parseLongAssignments(const std::string& content) {
    std::istringstream in(content);
    return parseLongStream(in);
}

std::vector<LongAssignment> readLongAssignments(const std::vector<std::string>& paths,
                                                std::vector<std::string>& problems) {
    std::vector<LongAssignment> all;
    for (const std::string& path : paths) {
        std::ifstream in;
        if (lib1394::notRegularFile(path).empty())
            in.open(path, std::ios::binary);
        const std::string fault = in ? textFault(in) : std::string();
        if (!fault.empty()) {
            problems.push_back(path + ": is not text: " + fault + "; its assignments are left out");
            continue;
        }
        for (LongAssignment& each : parseLongStream(in))
            all.push_back(std::move(each));
    }
    return all;
}

std::string formatLongAssignments(std::vector<LongAssignment> assignments) {
    std::stable_sort(assignments.begin(), assignments.end(),
                     [](const LongAssignment& a, const LongAssignment& b) {
                         return std::pair(a.bits, a.prefix) < std::pair(b.bits, b.prefix);
                     });
    std::string out = "Registry,Assignment,Organization Name\n";
    for (size_t i = 0; i < assignments.size(); ++i) {
        const LongAssignment& each = assignments[i];
        if (i > 0 && each.bits == assignments[i - 1].bits &&
            each.prefix == assignments[i - 1].prefix)
            continue;
        char id[16];
        std::snprintf(id, sizeof id, "%0*llX", static_cast<int>(each.bits / 4),
                      static_cast<unsigned long long>(each.prefix));
        std::string name;
        for (char c : each.name)
            name += c == '"' ? std::string("\"\"") : std::string(1, c);
        out += std::string(each.bits == 28 ? "MA-M," : "MA-S,") + id + ",\"" + name + "\"\n";
    }
    return out;
}

std::vector<std::string> longAssignmentSources() {
    std::vector<std::string> sources;
    std::error_code error;
    for (const char* name : {"mam.csv", "oui36.csv", "iab.csv"})
        if (fs::exists(std::string(IeeeDataFolder) + name, error))
            sources.push_back(std::string(IeeeDataFolder) + name);
    return sources;
}

std::string longAssignmentsPath(const std::string& registry) {
    return (fs::path(registry).parent_path() / LongAssignmentsFile).string();
}

const LongAssignment* holderOf(const std::vector<LongAssignment>& assignments, uint64_t guid) {
    const LongAssignment* found = nullptr;
    for (const LongAssignment& each : assignments)
        if ((guid >> (64 - each.bits)) == each.prefix && (!found || each.bits > found->bits))
            found = &each;
    return found;
}

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
    // A name is text: a file that is not (an image, an archive, another encoding) is refused
    // whole rather than read for whatever lines it seems to hold.
    if (const std::string fault = textFault(in); !fault.empty()) {
        error = path + ": is not text: " + fault +
                "; the IEEE registry is oui.txt or oui.csv, in UTF-8";
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

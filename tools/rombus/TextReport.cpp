#include "TextReport.h"

#include "DeviceTree.h"
#include "Dump.h"
#include "Format.h"
#include "RomWalk.h"
#include "UnitTypes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace rombus {
namespace {

constexpr size_t Step = 2;
// Deeper levels are not indented further, but marked with their level.
constexpr size_t MaxIndentLevel = 20;
constexpr uint64_t RomBase = 0xFFFFF0000400ull;

std::string hex(uint32_t value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*X", digits, static_cast<unsigned>(value));
    return text;
}

std::string quoted(const std::string& text, bool asciiOnly) {
    std::string inner;
    for (char c : escaped(text, asciiOnly)) {
        if (c == '"')
            inner += '\\';
        inner += c;
    }
    return "\"" + inner + "\"";
}

std::string yesNo(bool value) {
    return value ? "yes" : "no";
}

// One property as a person expects it; empty for properties that the tree itself shows.
std::string describe(const vesk5::SysInfoDevice::Property& property) {
    const std::string name = property.name.zulString().str();
    const vesk5::Value& value = property.value;
    if (name == "__parentLocator")
        return std::string();
    if (name == "ConfigROMAccessible")
        return value.valueBool() ? "ROM accessible" : "ROM NOT accessible";
    if (name == "ImmediateValue")
        return hex(value.valueUint32(), 6);
    if (name == "VendorName")
        return quoted(value.valueString().zulString().str(), false);
    if (name == "TextString")
        return quoted(value.valueString().zulString().str(), true);
    if (name == "CycleClockAcc")
        return name + " " + std::to_string(value.valueUint32()) + " ppm";
    if (name == "MaxDataRecSize")
        return name + " " + std::to_string(value.valueUint32()) + " bytes";
    switch (value.type()) {
    case vesk5::DataType::Boolean:
        return name + " " + yesNo(value.valueBool());
    case vesk5::DataType::Uint32:
        return name + " " + hex(value.valueUint32(), 1);
    default:
        return name + " " + quoted(value.valueString().zulString().str(), false);
    }
}

// The properties in the order published, except that an entry's value leads, its vendor's name
// following it.
std::string properties(const vesk5::SysInfoDevice& device) {
    std::string text;
    if (const auto* value = device.findProperty("ImmediateValue"))
        text = describe(*value);
    for (const auto& property : device.properties()) {
        if (property.name == "ImmediateValue")
            continue;
        const std::string piece = describe(property);
        if (!piece.empty())
            text += (text.empty() ? "" : "  ") + piece;
    }
    return text;
}

// "at 18h" for an entry whose locator ends in @fffff0000418: its offset in the ROM.
std::string romOffset(const std::string& locator) {
    const size_t at = locator.rfind('@');
    if (at == std::string::npos)
        return std::string();
    char* end = nullptr;
    const unsigned long long address = std::strtoull(locator.c_str() + at + 1, &end, 16);
    if (*end != '\0' || address < RomBase)
        return locator.substr(at);
    char text[32];
    std::snprintf(text, sizeof text, "at %llXh", address - RomBase);
    return text;
}

const char* levelName(uint32_t level) {
    switch (level) {
    case 0:
        return "progress";
    case 1:
        return "warning";
    default:
        return "error";
    }
}

// The length of the printable UTF-8 sequence of two to four bytes at text[at], or 0 when the
// bytes there are not one: a stray or truncated byte, an overlong form, a surrogate, a code point
// above 10FFFFh, or a C1 control character (80h to 9Fh).
size_t printableSequence(const std::string& text, size_t at) {
    const unsigned char lead = static_cast<unsigned char>(text[at]);
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
    if (length == 0 || lead > 0xF4 || at + length > text.size())
        return 0;
    uint32_t code = lead & (0x7F >> length);
    for (size_t k = 1; k < length; ++k) {
        const unsigned char next = static_cast<unsigned char>(text[at + k]);
        if ((next & 0xC0) != 0x80)
            return 0;
        code = code << 6 | (next & 0x3F);
    }
    constexpr uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < smallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF) ||
        code < 0xA0)
        return 0;
    return length;
}

// Breaks a word longer than width into pieces of at most width bytes, never inside a UTF-8
// sequence.
std::vector<std::string> pieces(const std::string& word, size_t width) {
    std::vector<std::string> out;
    size_t start = 0;
    while (word.size() - start > width) {
        size_t end = start + width;
        while (end > start + 1 && (static_cast<unsigned char>(word[end]) & 0xC0) == 0x80)
            --end;
        out.push_back(word.substr(start, end - start));
        start = end;
    }
    out.push_back(word.substr(start));
    return out;
}

// Why the reading of a node stopped before its end.
std::string stopText(lib1394::Budget spent) {
    const std::string what =
        spent == lib1394::Budget::Reads
            ? "more than " + std::to_string(lib1394::ConfigROMContext::readBudget()) + " reads"
            : "more than " + std::to_string(lib1394::ConfigROMContext::entryBudget()) + " entries";
    return "Reading stopped: the ROM asked for " + what +
           ", its blocks referring to each other over and over; what follows is what was found "
           "until then.";
}

struct NodeTally {
    size_t clean = 0, withProblems = 0, failed = 0, inaccessible = 0;
};

class Printer {
public:
    Printer(const Scan& scan, const Layout& layout, std::ostringstream& out)
        : scan_(scan), layout_(layout), out_(out), tree_(buildDeviceTree(scan.devices)) {
        for (const lib1394::RomPort& port : scan.ports) {
            portTexts_.push_back(port.text);
            for (const lib1394::RomNode& node : port.nodes)
                nodeLabels_.push_back(node.label);
        }
    }

    void print() {
        for (size_t root : tree_.roots)
            printDevice(root, 0);
        printReports();
        printNotes();
        printSummary();
    }

private:
    std::string wrap(const std::string& text, size_t indent, size_t hanging) const {
        return wrapped(text, indent, hanging, layout_.width);
    }

    // What the operating system says of the node and its units beside the ROM: its vendor and
    // model names, and per unit the modalias the kernel builds and the driver bound to it.
    void printKernelView(size_t k, size_t indent) {
        const lib1394::RomNode* rom = romNodeOf(scan_, k);
        if (!rom)
            return;
        std::string names;
        if (!rom->vendorName.empty())
            names = "vendor_name " + quoted(rom->vendorName, false);
        if (!rom->modelName.empty())
            names += (names.empty() ? "" : ", ") + ("model_name " + quoted(rom->modelName, false));
        if (!names.empty())
            out_ << wrap("Kernel: " + names, indent, indent + 2 * Step);
        const auto& units = scan_.decoded[k].units;
        for (size_t i = 0; i < units.size(); ++i) {
            std::string line = format("Unit %zu at %Xh  %s  ", i, units[i].directory,
                                      decode::unitProtocol(units[i].specifier, units[i].version));
            if (i < rom->unitDrivers.size())
                line += rom->unitDrivers[i].empty()
                            ? "no driver bound  "
                            : "driver " + escaped(rom->unitDrivers[i], false) + "  ";
            out_ << wrap(line + decode::modalias(units[i]), indent, indent + 2 * Step);
        }
    }

    // "  (protocol)" after a unit directory of the node being printed, else nothing.
    std::string protocolOfUnit(const vesk5::SysInfoDevice& device) const {
        const std::string& locator = device.hwLocator().zulString().str();
        const size_t at = locator.rfind(":DIRECTORY@");
        if (device.name().zulString().str() != "Directory - Unit" || at == std::string::npos ||
            nodes_ >= scan_.decoded.size())
            return std::string();
        const uint64_t offset = std::strtoull(locator.c_str() + at + 11, nullptr, 16) - RomBase;
        for (const decode::UnitIds& unit : scan_.decoded[nodes_].units)
            if (unit.directory == offset)
                return std::string("  (") + decode::unitProtocol(unit.specifier, unit.version) +
                       ")";
        return std::string();
    }

    // A record's line: its level in a column of its own, coloured when asked.
    std::string recordLine(uint32_t level, const std::string& text, size_t indent) const {
        char padded[16];
        std::snprintf(padded, sizeof padded, "%-9s", levelName(level));
        std::string lines = wrap(padded + text, indent, indent + 9);
        if (layout_.color) {
            static const char* const colors[] = {"\033[36m", "\033[33m", "\033[31m"};
            const std::string name = levelName(level);
            lines.replace(indent, name.size(),
                          colors[std::min<uint32_t>(level, 2)] + name + "\033[0m");
        }
        return lines;
    }

    void printDevice(size_t index, size_t depth) {
        const vesk5::SysInfoDevice& device = scan_.devices[index];
        const size_t indent = std::min(depth, MaxIndentLevel) * Step;
        const std::string level =
            depth > MaxIndentLevel ? "(level " + std::to_string(depth) + ") " : "";
        const std::string props = properties(device);
        if (isPortDevice(device)) {
            printPortHead(device, indent);
            if (!props.empty())
                out_ << wrap(props, indent + Step, indent + Step);
        } else if (isNodeDevice(device)) {
            printNodeHead(device, indent);
            if (!props.empty())
                out_ << wrap(props, indent + Step, indent + Step);
        } else {
            std::string head = level + device.name().zulString().str() + "  " +
                               romOffset(device.hwLocator().zulString().str()) +
                               protocolOfUnit(device);
            out_ << wrap(props.empty() ? head : head + "  " + props, indent, indent + 2 * Step);
        }
        for (size_t child : tree_.children[index])
            printDevice(child, depth + 1);
        if (isNodeDevice(device))
            printNodeProblems(device, indent + Step);
    }

    void printPortHead(const vesk5::SysInfoDevice& device, size_t indent) {
        std::string head = "Port " + std::to_string(ports_) + "  " + device.hwLocator().c_str();
        nodesOfPort_ = 0;
        if (ports_ < portTexts_.size() && !portTexts_[ports_].empty())
            head += "  (" + escaped(portTexts_[ports_], false) + ")";
        ++ports_;
        out_ << wrap(head, indent, indent + 2 * Step);
    }

    void printNodeHead(const vesk5::SysInfoDevice& device, size_t indent) {
        std::string head = "Node " + std::to_string(nodesOfPort_++);
        if (nodes_ < nodeLabels_.size() && !nodeLabels_[nodes_].empty())
            head += "  " + escaped(nodeLabels_[nodes_], false);
        head += "  " + std::string(device.hwLocator().c_str());
        out_ << wrap(head, indent, indent + 2 * Step);
        const lib1394::RomNode* rom = romNodeOf(scan_, nodes_);
        for (const std::string& note : rom ? rom->notes : std::vector<std::string>())
            out_ << wrap("Note: " + escaped(note, false), indent + Step, indent + 3 * Step);
    }

    void printNodeProblems(const vesk5::SysInfoDevice& device, size_t indent) {
        const size_t k = nodes_++;
        if (k >= scan_.nodes.size() || scan_.nodes[k].locator.str() != device.hwLocator().c_str())
            return;
        const auto& messages = scan_.nodes[k].messages;
        printKernelView(k, indent);
        if (scan_.nodeExhausted[k])
            out_ << wrap(stopText(*scan_.nodeExhausted[k]), indent, indent);
        switch (nodeStatus(scan_, k)) {
        case NodeStatus::NotAccessible:
            ++tally_.inaccessible;
            out_ << wrap("Not read: the ROM is not accessible.", indent, indent);
            break;
        case NodeStatus::OutOfReads:
            ++tally_.failed;
            break;
        case NodeStatus::Problems:
            ++tally_.withProblems;
            break;
        case NodeStatus::ReadFailed:
            ++tally_.failed;
            out_ << wrap("Status: read failed; no problem record says why (-v shows the "
                         "module's log lines that do).",
                         indent, indent);
            break;
        case NodeStatus::Ok:
            ++tally_.clean;
            out_ << wrap("No problems.", indent, indent);
            break;
        }
        printRecords(messages, indent);
        printAdvisories(scan_.advisories[k], indent);
        if (layout_.dump)
            out_ << wrap("ROM:", indent, indent) << dumpNode(scan_, k, layout_.width);
    }

    void printAdvisories(const std::vector<Advisory>& advisories, size_t indent) {
        if (advisories.empty())
            return;
        out_ << wrap(std::to_string(advisories.size()) +
                         (advisories.size() == 1 ? " advisory" : " advisories") +
                         " (beside the module's records):",
                     indent, indent);
        for (const Advisory& advisory : advisories)
            out_ << wrap(format("advisory %Xh: ", advisory.offset) + escaped(advisory.text, false),
                         indent + Step, indent + Step + 9);
    }

    void printRecords(const libRombus::Messages& messages, size_t indent) {
        if (messages.isEmpty())
            return;
        out_ << wrap(std::to_string(messages.size()) +
                         (messages.size() == 1 ? " problem:" : " problems:"),
                     indent, indent);
        for (const auto& record : messages) {
            const std::string text = record.message.isEmpty()
                                         ? std::string("(no message)")
                                         : escaped(record.message->text().str(), false);
            out_ << recordLine(record.level, text, indent + Step);
        }
    }

    void printReports() {
        if (scan_.reports.empty())
            return;
        out_ << "Framework reports:\n";
        for (const auto& report : scan_.reports) {
            static const char* const names[] = {"progress", "warning", "error"};
            const std::string text = names[static_cast<int>(report.severity)] + std::string(" ") +
                                     report.event.c_str() + ": " + report.text.str();
            out_ << wrap(escaped(text, false), Step, 2 * Step);
        }
    }

    void printNotes() {
        if (scan_.notes.empty())
            return;
        out_ << "Notes on the bus:\n";
        for (const std::string& note : scan_.notes)
            out_ << wrap(escaped(note, false), Step, 2 * Step);
    }

    void printSummary() {
        const size_t total =
            tally_.clean + tally_.withProblems + tally_.failed + tally_.inaccessible;
        std::string text = "Summary: " + std::to_string(ports_) +
                           (ports_ == 1 ? " port, " : " ports, ") + std::to_string(total) +
                           (total == 1 ? " node" : " nodes");
        const std::pair<size_t, const char*> counts[] = {{tally_.clean, "without problems"},
                                                         {tally_.withProblems, "with problems"},
                                                         {tally_.failed, "read failed"},
                                                         {tally_.inaccessible, "not accessible"}};
        const char* separator = ": ";
        for (const auto& [count, what] : counts) {
            if (count == 0)
                continue;
            text += separator + std::to_string(count) + " " + what;
            separator = ", ";
        }
        out_ << "\n" << wrapped(text + ".", 0, 2 * Step);
    }

    const Scan& scan_;
    const Layout layout_;
    std::ostringstream& out_;
    DeviceTree tree_;
    std::vector<std::string> portTexts_;
    std::vector<std::string> nodeLabels_;
    size_t ports_ = 0;
    size_t nodes_ = 0;       // nodes printed, over all ports
    size_t nodesOfPort_ = 0; // nodes printed of the current port
    NodeTally tally_;
};

} // namespace

std::string escaped(const std::string& text, bool asciiOnly) {
    std::string out;
    for (size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const size_t length = asciiOnly ? 0 : printableSequence(text, i);
        if (c == '\\') {
            out += "\\\\";
            ++i;
        } else if (c >= 0x20 && c < 0x7F) {
            out += static_cast<char>(c);
            ++i;
        } else if (length > 0) {
            out.append(text, i, length);
            i += length;
        } else {
            char code[8];
            std::snprintf(code, sizeof code, "\\x%02X", c);
            out += code;
            ++i;
        }
    }
    return out;
}

std::string wrapped(const std::string& text, size_t indent, size_t hanging, size_t width) {
    std::string out;
    std::string line(indent, ' ');
    size_t lineStart = indent;
    size_t blanks = 0;
    for (size_t i = 0; i < text.size();) {
        if (text[i] == ' ') {
            ++blanks;
            ++i;
            continue;
        }
        const size_t end = std::min(text.find(' ', i), text.size());
        const std::string word = text.substr(i, end - i);
        i = end;
        // The blanks between words stay as given, except where the line is broken; a word too
        // long for any line is broken itself.
        for (const std::string& piece : pieces(word, width - std::min(width - 1, hanging))) {
            if (line.size() > lineStart && line.size() + blanks + piece.size() > width) {
                out += line + "\n";
                line.assign(hanging, ' ');
                lineStart = hanging;
            } else if (line.size() > lineStart) {
                line.append(blanks, ' ');
            }
            line += piece;
            blanks = 0;
        }
    }
    return out + line + "\n";
}

std::string textReport(const Scan& scan, const std::string& emptyText, const Layout& layout) {
    std::ostringstream out;
    if (scan.devices.empty() && scan.nodes.isEmpty()) {
        out << emptyText << "\n";
        return out.str();
    }
    Printer(scan, layout, out).print();
    return out.str();
}

} // namespace rombus

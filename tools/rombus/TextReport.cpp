#include "TextReport.h"

#include "DecodedTree.h"
#include "DeviceProperties.h"
#include "DriverLines.h"
#include "Dump.h"
#include "Text.h"
#include "UnitLines.h"
#include "inspect/model/Model.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <sstream>
#include <vector>

namespace rombus {
namespace {

constexpr size_t Step = 2;
// Deeper levels are not indented further, but marked with their level.
constexpr size_t MaxIndentLevel = 20;

// Why the reading of a node stopped before its end.
std::string stopText(lib1394::Budget spent) {
    static const char* const units[] = {" reads", " entries", " vendor lookups"};
    const std::string what = "more than " +
                             std::to_string(lib1394::ConfigROMContext::budgetOf(spent)) +
                             units[static_cast<int>(spent)];
    // Reads and entries run out when blocks refer to each other over and over; lookups when a
    // ROM names far more vendors than any device has.
    const char* why = spent == lib1394::Budget::Lookups
                          ? ", far more vendor ids than a device names"
                          : ", its blocks referring to each other over and over";
    return "Reading stopped: the ROM asked for " + what + why +
           "; what follows is what was found until then.";
}

struct NodeTally {
    size_t clean = 0, withProblems = 0, failed = 0, inaccessible = 0;
};

class Printer {
public:
    Printer(const Inspection& inspection, const Layout& layout, std::ostringstream& out)
        : inspection_(inspection), layout_(layout), out_(out),
          tree_(buildDeviceTree(inspection.devices)) {}

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
    void printKernelView(const NodeView& node, size_t indent) {
        if (!node.source)
            return;
        const lib1394::RomNode& rom = *node.source;
        std::string names;
        if (!rom.vendorName.empty())
            names = "vendor_name " + quoted(rom.vendorName, false);
        if (!rom.modelName.empty())
            names += (names.empty() ? "" : ", ") + ("model_name " + quoted(rom.modelName, false));
        if (!names.empty())
            out_ << wrap("Kernel: " + names, indent, indent + 2 * Step);
        for (const std::string& line : {romNamesLine(node), keywordsLine(node)})
            if (!line.empty())
                out_ << wrap(line, indent, indent + 2 * Step);
        for (const UnitLine& line : unitLines(node))
            out_ << wrap(line.text, indent + line.depth * Step, indent + (line.depth + 2) * Step);
        std::vector<std::string> kernelLines = quirkLines(node);
        kernelLines.push_back(diceGuidLine(node));
        kernelLines.push_back(guidAssignmentLine(node));
        for (const std::string& line : kernelLines)
            if (!line.empty())
                out_ << wrap(line, indent, indent + 2 * Step);
    }

    // "at 18h" for an immediate entry, "at 24h -> 3Ch" for a leaf or directory: where the
    // entry of a device stands in the node's ROM and where its block is, then the unit's name
    // for a unit directory.
    std::string placeOf(const vesk5::SysInfoDevice& device, const decode::RomEntry* entry) const {
        const std::string locator = device.hwLocator().zulString().str();
        if (!entry) {
            if (const auto offset = NodeView::offsetOfLocator(locator))
                return format("at %Xh", *offset);
            const size_t at = locator.rfind('@');
            return at == std::string::npos ? std::string() : locator.substr(at);
        }
        std::string text = format("at %Xh", entry->offset);
        if (entry->target)
            text += format(" -> %Xh", *entry->target);
        if (const UnitView* unit = entry->target ? node_->unitAt(*entry->target) : nullptr;
            unit && device.name().zulString().str() == "Directory - Unit")
            text += "  (" + unit->name + ")";
        return text;
    }

    // "  <- problem 2" for each record below whose fault lies at the entry or its block,
    // counted from 1 in the order the records are listed. The root directory, which no entry
    // names, stands at its block.
    std::string marksOf(const decode::RomEntry* entry, const std::string& locator) const {
        decode::RomEntry root;
        root.offset = decode::RootDirectoryOffset;
        if (!entry && node_ && NodeView::offsetOfLocator(locator) == root.offset)
            entry = &root;
        std::string text;
        if (entry)
            for (size_t record : node_->recordsAt(*entry))
                text += format("  <- problem %zu", record + 1);
        return text;
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

    // Whether -s or -d leaves the device out, or the port whose every node they leave out.
    bool leftOut(size_t index) const {
        const std::vector<size_t>& children = tree_.children[index];
        if (!isPortDevice(inspection_.devices[index]) || children.empty())
            return layout_.hidden.count(index) > 0;
        return std::all_of(children.begin(), children.end(),
                           [this](size_t child) { return layout_.hidden.count(child) > 0; });
    }

    void printDevice(size_t index, size_t depth) {
        const vesk5::SysInfoDevice& device = inspection_.devices[index];
        if (leftOut(index)) {
            // The numbers of the nodes and ports shown stay those of the whole bus.
            nodesOfPort_ += isNodeDevice(device) ? 1 : 0;
            ports_ += isPortDevice(device) ? 1 : 0;
            return;
        }
        const size_t indent = std::min(depth, MaxIndentLevel) * Step;
        const std::string level =
            depth > MaxIndentLevel ? "(level " + std::to_string(depth) + ") " : "";
        const std::string props = properties(device);
        const NodeView* node = isNodeDevice(device) ? inspection_.nodeOfDevice(index) : nullptr;
        const decode::RomEntry* entry = nullptr;
        if (isPortDevice(device)) {
            printPortHead(device, indent);
            if (!props.empty())
                out_ << wrap(props, indent + Step, indent + Step);
        } else if (isNodeDevice(device)) {
            node_ = node;
            shown_.clear();
            printNodeHead(device, indent);
            if (!props.empty())
                out_ << wrap(props, indent + Step, indent + Step);
        } else {
            const std::string locator = device.hwLocator().zulString().str();
            entry = node_ ? node_->entryOfLocator(locator) : nullptr;
            const std::string head =
                level + device.name().zulString().str() + "  " + placeOf(device, entry);
            out_ << wrap((props.empty() ? head : head + "  " + props) + marksOf(entry, locator),
                         indent, indent + 2 * Step);
            if (entry)
                shown_.insert(entry->offset);
        }
        for (size_t child : tree_.children[index])
            printDevice(child, depth + 1);
        if (const auto* entries = entriesOf(device, entry))
            printUnpublished(*entries, std::min(depth + 1, MaxIndentLevel) * Step);
        if (node)
            printNodeProblems(*node, indent + Step);
    }

    // The entries of a directory device's block: a directory entry's, or the root directory's.
    const std::vector<decode::RomEntry>* entriesOf(const vesk5::SysInfoDevice& device,
                                                   const decode::RomEntry* entry) const {
        if (!node_ || device.name().zulString().str().rfind("Directory - ", 0) != 0)
            return nullptr;
        if (entry)
            return &entry->children;
        const auto offset = NodeView::offsetOfLocator(device.hwLocator().zulString().str());
        return offset == decode::RootDirectoryOffset ? &node_->decoded.root : nullptr;
    }

    // The entries of a directory that a record names but the module published no device for (it
    // refused them), shown where they lie so that the record's entry is in the tree.
    void printUnpublished(const std::vector<decode::RomEntry>& entries, size_t indent) {
        for (const decode::RomEntry& entry : entries) {
            const std::string marks = marksOf(&entry, std::string());
            if (marks.empty() || shown_.count(entry.offset))
                continue;
            std::string line = entryName(entry.key) + format("  at %Xh", entry.offset);
            line +=
                entry.target ? format(" -> %Xh", *entry.target) : format("  0x%06X", entry.value);
            out_ << wrap(line + "  (not published)" + marks, indent, indent + 2 * Step);
        }
    }

    void printPortHead(const vesk5::SysInfoDevice& device, size_t indent) {
        std::string head = "Port " + std::to_string(ports_) + "  " + device.hwLocator().c_str();
        nodesOfPort_ = 0;
        const auto& texts = inspection_.portTexts;
        if (ports_ < texts.size() && !texts[ports_].empty())
            head += "  (" + escaped(texts[ports_], false) + ")";
        ++ports_;
        out_ << wrap(head, indent, indent + 2 * Step);
    }

    void printNodeHead(const vesk5::SysInfoDevice& device, size_t indent) {
        std::string head = "Node " + std::to_string(nodesOfPort_++);
        if (node_ && node_->source && !node_->source->label.empty())
            head += "  " + escaped(node_->source->label, false);
        if (node_ && node_->source && node_->source->local)
            head += "  (local: this machine's own controller)";
        head += "  " + std::string(device.hwLocator().c_str());
        out_ << wrap(head, indent, indent + 2 * Step);
        if (!node_ || !node_->source)
            return;
        for (const std::string& note : node_->source->notes)
            out_ << wrap("Note: " + escaped(note, false), indent + Step, indent + 3 * Step);
    }

    void printNodeProblems(const NodeView& node, size_t indent) {
        printKernelView(node, indent);
        if (node.stopped)
            out_ << wrap(stopText(*node.stopped), indent, indent);
        switch (node.status()) {
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
        if (!node.knowledge.crcCause.empty())
            out_ << wrap(node.knowledge.crcCause, indent, indent);
        printRecords(node, indent);
        if (node.beyondVerdict)
            out_ << decodedTreeText(node, indent, layout_.width);
        printAdvisories(node.advisories, indent);
        if (layout_.dump)
            out_ << wrap("ROM:", indent, indent) << dumpNode(node, layout_.width);
    }

    void printAdvisories(const std::vector<Advisory>& advisories, size_t indent) {
        if (advisories.empty())
            return;
        out_ << wrap(std::to_string(advisories.size()) +
                         (advisories.size() == 1 ? " advisory" : " advisories") +
                         " (beside the module's records):",
                     indent, indent);
        for (const Advisory& advisory : advisories)
            out_ << wrap(format("%s %Xh: ", severityName(advisory.severity), advisory.offset) +
                             escaped(advisory.text, false),
                         indent + Step, indent + Step + 9);
    }

    // The records, each with its explanation beneath.
    void printRecords(const NodeView& node, size_t indent) {
        const libRombus::Messages& messages = node.records;
        if (messages.isEmpty())
            return;
        out_ << wrap(std::to_string(messages.size()) +
                         (messages.size() == 1 ? " problem:" : " problems:"),
                     indent, indent);
        for (size_t i = 0; i < messages.size(); ++i) {
            const auto& record = messages[i];
            const std::string text = record.message.isEmpty() ? std::string("(no message)")
                                                              : escaped(recordText(record), false);
            out_ << recordLine(record.level, text, indent + Step);
            if (i < node.verdicts.size())
                out_ << wrap(classText(node.verdicts[i]), indent + Step + 9, indent + Step + 16);
            if (i < node.explanations.size() && !node.explanations[i].note.empty())
                out_ << wrap("means: " + escaped(node.explanations[i].note, false),
                             indent + Step + 9, indent + Step + 16);
        }
    }

    void printReports() {
        if (inspection_.reports.empty())
            return;
        out_ << "Framework reports:\n";
        for (const auto& report : inspection_.reports) {
            const std::string text = levelName(static_cast<uint32_t>(report.severity)) +
                                     std::string(" ") + report.event.c_str() + ": " +
                                     report.text.str();
            out_ << wrap(escaped(text, false), Step, 2 * Step);
        }
    }

    void printNotes() {
        if (inspection_.notes.empty())
            return;
        out_ << "Notes on the bus:\n";
        for (const std::string& note : inspection_.notes)
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
        const std::string kinds = troubleSummary(inspection_.nodes);
        const std::string verdicts = verdictSummary(inspection_.nodes);
        out_ << "\n"
             << wrap(text + "." + (kinds.empty() ? "" : " " + kinds) +
                         (verdicts.empty() ? "" : " " + verdicts),
                     0, 2 * Step);
    }

    const Inspection& inspection_;
    const Layout layout_;
    std::ostringstream& out_;
    DeviceTree tree_;
    const NodeView* node_ = nullptr; // the node being printed
    std::set<uint32_t> shown_;       // the offsets of its entries printed so far
    size_t ports_ = 0;
    size_t nodesOfPort_ = 0; // nodes printed of the current port
    NodeTally tally_;
};

} // namespace

std::string textReport(const Inspection& inspection, const std::string& emptyText,
                       const Layout& layout) {
    std::ostringstream out;
    if (inspection.devices.empty() && inspection.nodes.empty()) {
        out << emptyText << "\n";
        return out.str();
    }
    Printer(inspection, layout, out).print();
    return out.str();
}

} // namespace rombus

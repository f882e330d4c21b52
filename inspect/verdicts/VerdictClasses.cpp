#include "inspect/verdicts/VerdictClasses.h"

#include "inspect/model/NodeView.h"
#include "inspect/rom/Records.h"
#include "inspect/verdicts/EntryMeanings.h"

#include <algorithm>

namespace rombus {
namespace {

constexpr const char* Ieee1212_1994 = "IEEE 1212-1994";
constexpr const char* MinimalRom = "IEEE 1212 (minimal ROM)";

// A minimal ROM: info_length 1, its only quadlet the node's vendor id. Reading a bus information
// block from it fails, and is all that fails.
bool isMinimalRom(const decode::DecodedRom& decoded) {
    return !decoded.rom.empty() && decoded.rom[0] == 1;
}

// The standard that defines an entry the module refuses in its directory, empty when none does.
std::string entryStandard(const libRombus::lib1394_log& record, const Explanation& explanation) {
    if (recordId(record) != "DirectoryEntryNotPermitted" || !explanation.key)
        return std::string();
    if (!explanation.definedBy.empty())
        return explanation.definedBy;
    const auto directory = recordOffset(record, "dir_name");
    if (directory && formerlyPermitted(*explanation.key, *directory == decode::RootDirectoryOffset))
        return Ieee1212_1994;
    return std::string();
}

RecordVerdict classify(const decode::DecodedRom& decoded, const libRombus::lib1394_log& record,
                       const Explanation* explanation) {
    std::string standard;
    if (explanation && explanation->kind == "entry")
        standard = entryStandard(record, *explanation);
    else if (explanation && (explanation->kind == "read" || explanation->kind == "signature") &&
             isMinimalRom(decoded))
        standard = MinimalRom;
    if (standard.empty())
        return RecordVerdict{};
    return RecordVerdict{RecordClass::Permitted, standard};
}

bool advises(const NodeView& node) {
    return std::any_of(
        node.advisories.begin(), node.advisories.end(),
        [](const Advisory& advisory) { return advisory.severity == Severity::Advisory; });
}

} // namespace

const char* className(RecordClass recordClass) {
    return recordClass == RecordClass::Fault ? "fault" : "permitted";
}

std::string classText(const RecordVerdict& verdict) {
    if (verdict.recordClass == RecordClass::Fault)
        return "class: fault";
    return "class: permitted: " + verdict.standard + " defines it (a fault only with --strict)";
}

std::vector<RecordVerdict> classifyRecords(const decode::DecodedRom& decoded,
                                           const libRombus::Messages& records,
                                           const std::vector<Explanation>& explanations) {
    std::vector<RecordVerdict> verdicts;
    for (size_t i = 0; i < records.size(); ++i)
        verdicts.push_back(
            classify(decoded, records[i], i < explanations.size() ? &explanations[i] : nullptr));
    return verdicts;
}

NodeVerdict verdictOf(const NodeView& node) {
    switch (node.status()) {
    case NodeStatus::NotAccessible:
    case NodeStatus::OutOfReads:
    case NodeStatus::ReadFailed:
        return NodeVerdict::Fault;
    case NodeStatus::Problems:
        for (size_t i = 0; i < node.records.size(); ++i)
            if (i >= node.verdicts.size() || node.verdicts[i].recordClass == RecordClass::Fault)
                return NodeVerdict::Fault;
        return NodeVerdict::PermittedOnly;
    case NodeStatus::Ok:
        break;
    }
    return advises(node) ? NodeVerdict::AdvisoryOnly : NodeVerdict::Clean;
}

const char* verdictName(NodeVerdict verdict) {
    static const char* const names[] = {"fault", "permitted only", "advisories only", "clean"};
    return names[static_cast<int>(verdict)];
}

bool nodeFails(const NodeView& node, bool strict) {
    const NodeVerdict verdict = verdictOf(node);
    return verdict == NodeVerdict::Fault || (strict && verdict != NodeVerdict::Clean);
}

std::string verdictSummary(const std::vector<NodeView>& nodes) {
    static const char* const names[] = {"with faults", "permitted only", "with advisories only",
                                        "clean"};
    size_t counts[4] = {};
    for (const NodeView& node : nodes)
        ++counts[static_cast<int>(verdictOf(node))];
    std::string text;
    for (int kind = 0; kind < 4; ++kind)
        if (counts[kind])
            text += (text.empty() ? "By verdict: " : ", ") + std::to_string(counts[kind]) + " " +
                    names[kind];
    return text.empty() ? text : text + ".";
}

} // namespace rombus

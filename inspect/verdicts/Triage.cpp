#include "inspect/verdicts/Triage.h"

#include "inspect/rom/Records.h"
#include "inspect/verdicts/VerdictClasses.h"

#include <algorithm>

namespace rombus {
namespace {

bool isUnreadable(const std::string& id) {
    return id == "ReadFailed" || id == "SignatureCheckFailed";
}

bool isEntryRule(const std::string& id) {
    return id == "DirectoryEntryNotPermitted" || id == "RequiredDirectoryEntryNotFound";
}

bool advises(const NodeView& node) {
    return std::any_of(
        node.advisories.begin(), node.advisories.end(),
        [](const Advisory& advisory) { return advisory.severity == Severity::Advisory; });
}

} // namespace

Trouble troubleOf(const NodeView& node) {
    const NodeStatus status = node.status();
    bool unreadable = status == NodeStatus::NotAccessible || status == NodeStatus::OutOfReads ||
                      status == NodeStatus::ReadFailed;
    bool entryRules = false;
    bool faults = false;
    for (size_t i = 0; i < node.records.size(); ++i) {
        if (i < node.verdicts.size() && node.verdicts[i].recordClass == RecordClass::Permitted)
            continue;
        const std::string id = recordId(node.records[i]);
        faults = true;
        unreadable = unreadable || isUnreadable(id);
        entryRules = entryRules || isEntryRule(id);
    }
    if (unreadable)
        return Trouble::Unreadable;
    if (entryRules)
        return Trouble::EntryRules;
    if (faults)
        return Trouble::CrcOnly;
    if (!node.records.isEmpty())
        return Trouble::Permitted;
    return advises(node) ? Trouble::Advisories : Trouble::None;
}

std::string troubleSummary(const std::vector<NodeView>& nodes) {
    static const char* const names[] = {"unreadable", "entry rules", "CRC only", "permitted only",
                                        "with advisories only"};
    size_t counts[5] = {};
    for (const NodeView& node : nodes) {
        const Trouble trouble = troubleOf(node);
        if (trouble != Trouble::None)
            ++counts[static_cast<int>(trouble)];
    }
    std::string text;
    for (int kind = 0; kind < 5; ++kind)
        if (counts[kind])
            text += (text.empty() ? "By kind: " : ", ") + std::to_string(counts[kind]) + " " +
                    names[kind];
    return text.empty() ? text : text + ".";
}

} // namespace rombus

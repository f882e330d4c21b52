#include "inspect/model/NodeView.h"

#include "inspect/rom/Locator.h"

namespace rombus {
namespace {

const decode::RomEntry* entryWith(const std::vector<decode::RomEntry>& entries, uint32_t offset) {
    for (const decode::RomEntry& entry : entries) {
        if (entry.offset == offset)
            return &entry;
        if (const decode::RomEntry* found = entryWith(entry.children, offset))
            return found;
    }
    return nullptr;
}

} // namespace

const char* statusName(NodeStatus status) {
    static const char* const names[] = {"ok", "problems", "read failed", "out of reads",
                                        "not accessible"};
    return names[static_cast<int>(status)];
}

NodeStatus NodeView::status() const {
    if (source && !source->accessible)
        return NodeStatus::NotAccessible;
    if (stopped)
        return NodeStatus::OutOfReads;
    if (!records.isEmpty())
        return NodeStatus::Problems;
    return readFailed ? NodeStatus::ReadFailed : NodeStatus::Ok;
}

const UnitView* NodeView::unitAt(uint32_t directory) const {
    for (const UnitView& unit : units)
        if (unit.directory == directory)
            return &unit;
    return nullptr;
}

std::optional<uint32_t> NodeView::offsetOfLocator(const std::string& locator) {
    const auto address = entryAddressOf(locator);
    return address ? address->romOffset() : std::nullopt;
}

const decode::RomEntry* NodeView::entryOfLocator(const std::string& locator) const {
    const auto address = entryAddressOf(locator);
    const auto offset = address ? address->romOffset() : std::nullopt;
    if (!offset)
        return nullptr;
    if (address->word == "LEAF" || address->word == "DIRECTORY")
        if (const decode::RomEntry* entry = decode::entryAt(decoded.root, *offset))
            return entry;
    return entryWith(decoded.root, *offset);
}

std::vector<size_t> NodeView::recordsAt(const decode::RomEntry& entry) const {
    std::vector<size_t> places;
    for (size_t i = 0; i < explanations.size(); ++i) {
        const auto& offset = explanations[i].offset;
        if (offset && (*offset == entry.offset || (entry.target && *offset == *entry.target)))
            places.push_back(i);
    }
    return places;
}

} // namespace rombus

#include "DecodedTree.h"

#include "Text.h"
#include "UnitLines.h"
#include "inspect/model/Model.h"

namespace rombus {
namespace {

constexpr size_t Step = 2;
constexpr size_t MaxDepth = 8;

std::string entryLine(const decode::RomEntry& entry) {
    const std::string name = entryName(entry.key);
    if (!entry.target)
        return format("%s  at %Xh  key %02Xh  %06Xh", name.c_str(), entry.offset, entry.key,
                      entry.value);
    std::string line = format("%s  at %Xh -> %Xh  key %02Xh", name.c_str(), entry.offset,
                              *entry.target, entry.key);
    if (entry.repeated)
        line += " (shown before)";
    if (entry.text)
        line += "  \"" + escaped(shownText(*entry.text), true) + "\"";
    return line;
}

void addEntries(const std::vector<decode::RomEntry>& entries, size_t indent, size_t depth,
                size_t width, std::string& out) {
    for (const decode::RomEntry& entry : entries) {
        out += wrapped(entryLine(entry), indent, indent + 2 * Step, width);
        if (depth < MaxDepth)
            addEntries(entry.children, indent + Step, depth + 1, width, out);
    }
}

} // namespace

std::string decodedTreeText(const NodeView& node, size_t indent, size_t width) {
    std::string out = wrapped("Read beyond the module's verdict (the module stopped at the bus "
                              "information block; this is the decoder's own reading of the ROM):",
                              indent, indent, width);
    addEntries(node.decoded.root, indent + Step, 0, width, out);
    for (size_t i = 0; i < node.units.size(); ++i) {
        const UnitView& unit = node.units[i];
        out += wrapped(unitHead(i, unit) +
                           format("  vendor %06Xh model %06Xh", unit.vendor, unit.model),
                       indent + Step, indent + 3 * Step, width);
    }
    return out;
}

} // namespace rombus

#include "inspect/lifecycle/DescriptionEntries.h"

#include "inspect/rom/KeyNames.h"

namespace rombus::description {

uint64_t numberOf(const YAML::Node& node, uint64_t max, const std::string& what) {
    if (!node.IsScalar())
        throw DescriptionError(node, what + " must be a number");
    const std::string text = node.Scalar();
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    size_t end = 0;
    uint64_t value = 0;
    try {
        value = std::stoull(text.substr(hex ? 2 : 0), &end, hex ? 16 : 10);
    } catch (const std::exception&) {
        end = std::string::npos;
    }
    if (text.empty() || text[0] == '-' || end != text.size() - (hex ? 2 : 0))
        throw DescriptionError(node, what + ": \"" + text + "\" is not a number");
    if (value > max)
        throw DescriptionError(node, what + format(": %s is more than %llXh", text.c_str(),
                                                   static_cast<unsigned long long>(max)));
    return value;
}

std::vector<uint32_t> leafOf(const YAML::Node& value) {
    if (value.IsScalar())
        return textLeaf(value.Scalar());
    if (!value.IsSequence())
        throw DescriptionError(value, "a leaf is a text or a list of quadlets");
    if (value.size() > MaxQuadlets)
        throw DescriptionError(value, "the ROM would hold more than 256 quadlets");
    std::vector<uint32_t> body;
    for (const YAML::Node& quadlet : value)
        body.push_back(static_cast<uint32_t>(numberOf(quadlet, 0xFFFFFFFF, "a leaf quadlet")));
    return body;
}

std::optional<uint16_t> crcOf(const YAML::Node& node) {
    if (!node)
        return std::nullopt;
    return static_cast<uint16_t>(numberOf(node, 0xFFFF, "crc"));
}

namespace {

// A block written out as a map: where it stands, its crc, and its entries, text or quadlets;
// or, as {value: N}, an entry that refers to a block described elsewhere or outside the ROM.
void blockOf(const YAML::Node& block, Entry& entry, Budget& budget) {
    for (const auto& item : block) {
        const std::string name = item.first.Scalar();
        if (name != "at" && name != "crc" && name != "entries" && name != "text" &&
            name != "quadlets" && name != "value")
            throw DescriptionError(
                item.first, "\"" + name + "\" is not at, crc, entries, text, quadlets or value");
    }
    if (block["value"]) {
        entry.raw = static_cast<uint32_t>(numberOf(block["value"], MaxValue, "value"));
        return;
    }
    if (block["at"])
        entry.at = static_cast<uint32_t>(numberOf(block["at"], MaxRomBytes - 4, "at"));
    if (entry.at && *entry.at % 4 != 0)
        throw DescriptionError(block["at"],
                               format("at %Xh is not the offset of a quadlet", *entry.at));
    entry.crc = crcOf(block["crc"]);
    if (entry.type() == DirectoryType)
        entry.children = entriesOf(
            block["entries"] ? block["entries"] : YAML::Node(YAML::NodeType::Sequence), budget);
    else
        entry.leaf = leafOf(block["text"]       ? block["text"]
                            : block["quadlets"] ? block["quadlets"]
                                                : YAML::Node(YAML::NodeType::Sequence));
}

// An entry is a map of one key to its value: "vendor: 0x00A02D".
Entry entryOf(const YAML::Node& node, Budget& budget) {
    if (!node.IsMap() || node.size() != 1)
        throw DescriptionError(node, "an entry is one key and its value, \"vendor: 0x00A02D\"");
    const auto item = *node.begin();
    const auto key = keyOfToken(item.first.Scalar());
    if (!key)
        throw DescriptionError(item.first, "\"" + item.first.Scalar() +
                                               "\" is neither a key name nor a key 0xKK");
    Entry entry;
    entry.key = *key;
    entry.line = node.Mark().line + 1;
    if (entry.type() >= LeafType && item.second.IsMap())
        blockOf(item.second, entry, budget);
    else if (entry.type() == DirectoryType)
        entry.children = entriesOf(item.second, budget);
    else if (entry.type() == LeafType)
        entry.leaf = leafOf(item.second);
    else
        entry.value = static_cast<uint32_t>(numberOf(item.second, MaxValue, keyToken(*key)));
    if (entry.type() == LeafType && !entry.raw)
        budget.spend(item.second, 1 + entry.leaf.size());
    return entry;
}

} // namespace

std::vector<Entry> entriesOf(const YAML::Node& list, Budget& budget) {
    if (!list.IsSequence())
        throw DescriptionError(list, "a directory is a list of entries");
    budget.spend(list, 1);
    std::vector<Entry> entries;
    for (const YAML::Node& node : list) {
        budget.spend(node, 1);
        entries.push_back(entryOf(node, budget));
    }
    return entries;
}

} // namespace rombus::description

#include "inspect/lifecycle/DescriptionEntries.h"

#include "inspect/rom/KeyNames.h"

#include <algorithm>
#include <map>

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
        throw DescriptionError(value, "the blocks described take more than 256 quadlets, more than "
                                      "a ROM holds");
    std::vector<uint32_t> body;
    for (const YAML::Node& quadlet : value)
        body.push_back(static_cast<uint32_t>(numberOf(quadlet, 0xFFFFFFFF, "a leaf quadlet")));
    return body;
}

void checkKeys(const YAML::Node& map, const std::vector<std::string>& names,
               const std::string& allowed) {
    std::map<std::string, int> seen; // name: line
    for (const auto& item : map) {
        if (!item.first.IsScalar())
            throw DescriptionError(item.first, "a key here is a name: " + allowed);
        const std::string name = item.first.Scalar();
        if (std::find(names.begin(), names.end(), name) == names.end())
            throw DescriptionError(item.first, "\"" + name + "\" is not " + allowed);
        const int line = item.first.Mark().line + 1;
        if (const auto [first, added] = seen.emplace(name, line); !added)
            throw DescriptionError(item.first, format("\"%s\" is given again; line %d gives it",
                                                      name.c_str(), first->second));
    }
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
    const bool directory = entry.type() == DirectoryType;
    if (directory)
        checkKeys(block, {"at", "crc", "entries", "value"}, "at, crc, entries or value");
    else
        checkKeys(block, {"at", "crc", "text", "quadlets", "value"},
                  "at, crc, text, quadlets or value");
    if (block["value"]) {
        if (block.size() != 1)
            throw DescriptionError(block, "an entry given by its value has no block: value "
                                          "stands alone");
        entry.raw = static_cast<uint32_t>(numberOf(block["value"], MaxValue, "value"));
        return;
    }
    if (block["at"])
        entry.at = static_cast<uint32_t>(numberOf(block["at"], MaxRomBytes - 4, "at"));
    if (entry.at && *entry.at % 4 != 0)
        throw DescriptionError(block["at"],
                               format("at %Xh is not the offset of a quadlet", *entry.at));
    entry.crc = crcOf(block["crc"]);
    if (directory) {
        entry.children = entriesOf(
            block["entries"] ? block["entries"] : YAML::Node(YAML::NodeType::Sequence), budget);
        return;
    }
    const YAML::Node text = block["text"], quadlets = block["quadlets"];
    if (text && quadlets)
        throw DescriptionError(quadlets, "a leaf is a text or quadlets, not both");
    if (text && !text.IsScalar())
        throw DescriptionError(text, "text is a text; a list of quadlets is quadlets");
    if (quadlets && !quadlets.IsSequence())
        throw DescriptionError(quadlets, "quadlets is a list of quadlets; a text is text");
    entry.leaf = leafOf(text ? text : quadlets ? quadlets : YAML::Node(YAML::NodeType::Sequence));
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

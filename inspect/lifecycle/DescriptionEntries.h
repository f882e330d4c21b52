#pragma once

#include "inspect/io/Format.h"
#include "inspect/lifecycle/DescriptionFormat.h"

#include <yaml-cpp/yaml.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// The entries of a ROM description as they are read, each checked against the place it stands.
namespace rombus::description {

// An error at a place of the description; a node that stands nowhere (the document of an empty
// file) gives no line.
struct DescriptionError : std::runtime_error {
    DescriptionError(const YAML::Node& node, const std::string& what)
        : std::runtime_error(node.Mark().is_null()
                                 ? "the description is empty: " + what
                                 : format("line %d: ", node.Mark().line + 1) + what) {}
};

// A number of at most max, in decimal or with 0x in hexadecimal; what names it in an error.
uint64_t numberOf(const YAML::Node& node, uint64_t max, const std::string& what);

// Checks that a map names only the given keys, each once: a key given twice would leave one of
// its values unbuilt. allowed is the list of names as an error tells it ("at, crc or text").
void checkKeys(const YAML::Node& map, const std::vector<std::string>& names,
               const std::string& allowed);

// A block's CRC as given, if it is.
std::optional<uint16_t> crcOf(const YAML::Node& node);

// A leaf's quadlets: a text, or a list of quadlets.
std::vector<uint32_t> leafOf(const YAML::Node& value);

// An entry of the description: its key and value, a leaf's quadlets or a directory's entries.
struct Entry {
    uint8_t key = 0;
    uint32_t value = 0;
    std::vector<uint32_t> leaf;
    std::vector<Entry> children;
    std::optional<uint16_t> crc; // a block's CRC as given, in place of the one computed
    std::optional<uint32_t> at;  // a block's ROM offset as given, in place of the next free one
    std::optional<uint32_t> raw; // a leaf or directory entry's value as given: no block of its own
    int line = 0;

    unsigned type() const { return key >> 6; }
    uint32_t blockLength() const {
        return static_cast<uint32_t>(type() == DirectoryType ? children.size() : leaf.size());
    }
};

// The quadlets the entries read so far take, each block in full: a ROM holds 256 at most, so that
// neither aliases that refer to themselves nor directories nested without end can take the
// reader further. A ROM's own description gives each quadlet once (a block that overlaps one
// described before is its entry's value), so it never takes more than the ROM.
struct Budget {
    size_t spent = 0;

    void spend(const YAML::Node& node, size_t quadlets) {
        spent += quadlets;
        if (spent > MaxQuadlets)
            throw DescriptionError(node, "the blocks described take more than 256 quadlets, "
                                         "more than a ROM holds");
    }
};

// A directory's entries, its header and entries spent from the budget as they are read.
std::vector<Entry> entriesOf(const YAML::Node& list, Budget& budget);

} // namespace rombus::description

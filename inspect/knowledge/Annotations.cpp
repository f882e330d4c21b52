#include "inspect/knowledge/Annotations.h"

#include "inspect/knowledge/Sbp2.h"

namespace rombus::decode {
namespace {

constexpr uint8_t ModelNameLeafKey = 0x82;

void annotateLeaves(const std::vector<RomEntry>& entries,
                    std::vector<std::pair<uint32_t, std::string>>& out) {
    for (const RomEntry& entry : entries) {
        if (entry.key == ModelNameLeafKey && entry.text)
            out.emplace_back(entry.offset, "model name \"" + *entry.text + "\"");
        if (entry.keywords) {
            std::string text = "keywords";
            for (const std::string& keyword : *entry.keywords)
                text += " \"" + keyword + "\"";
            out.emplace_back(entry.offset, text);
        }
        annotateLeaves(entry.children, out);
    }
}

} // namespace

std::vector<std::pair<uint32_t, std::string>> entryAnnotations(const DecodedRom& decoded) {
    std::vector<std::pair<uint32_t, std::string>> out;
    annotateLeaves(decoded.root, out);
    for (auto& annotation : sbp2Meanings(decoded.rom, decoded.units))
        out.push_back(std::move(annotation));
    return out;
}

} // namespace rombus::decode

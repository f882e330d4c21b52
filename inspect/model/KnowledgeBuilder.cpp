#include "inspect/model/KnowledgeBuilder.h"

#include "inspect/knowledge/Annotations.h"
#include "inspect/knowledge/RomNames.h"
#include "inspect/knowledge/Sbp2.h"
#include "inspect/knowledge/UnitTypes.h"

namespace rombus {
namespace {

constexpr const char* ImmediateWord = "IMMEDIATE";
constexpr const char* VendorNameProperty = "VendorName";

// The name the module published for an immediate entry of the node holding an id.
std::optional<std::string> publishedName(const std::vector<decode::RomEntry>& entries, uint32_t id,
                                         const NodeDevices& devices) {
    for (const decode::RomEntry& entry : entries) {
        if (entry.type() == 0 && entry.value == id)
            if (auto name = devices.property(ImmediateWord, entry.offset, VendorNameProperty);
                name && !name->empty())
                return name;
        if (auto name = publishedName(entry.children, id, devices))
            return name;
    }
    return std::nullopt;
}

// The owner of a unit's specifier id, so that the unit has one name however far the module read:
// what the module published for its Unit_Spec_ID entry, else for any entry of the node holding
// the same id (a vendor id, another unit's specifier), else the registry's name for the id.
std::optional<std::string> ownerOf(const NodeView& node, const decode::UnitIds& unit,
                                   RegistryNames& registry) {
    if (!decode::namedByOwner(unit.specifier, unit.version))
        return std::nullopt;
    if (unit.specifierEntry)
        if (auto name =
                node.devices.property(ImmediateWord, unit.specifierEntry, VendorNameProperty);
            name && !name->empty())
            return name;
    if (auto name = publishedName(node.decoded.root, unit.specifier, node.devices))
        return name;
    return registry.nameOf(unit.specifier);
}

std::optional<Sbp2View> sbp2ViewOf(const std::vector<uint8_t>& rom, const decode::UnitIds& unit) {
    auto entries = decode::sbp2Of(rom, unit);
    if (!entries)
        return std::nullopt;
    Sbp2View view;
    if (entries->managementAgent)
        view.managementAgentAddress = decode::managementAgentAddress(*entries->managementAgent);
    if (entries->unitCharacteristics)
        view.characteristics = decode::unitCharacteristicsText(*entries->unitCharacteristics);
    view.entries = std::move(*entries);
    return view;
}

// What sysfs lists of the unit device at a place of fwN.M, if it lists that many.
std::optional<std::string> kernelText(const std::vector<std::string>& texts,
                                      std::optional<size_t> index) {
    if (!index || *index >= texts.size())
        return std::nullopt;
    return texts[*index];
}

UnitView unitViewOf(const NodeView& node, const decode::UnitIds& unit,
                    std::optional<size_t> kernelIndex, RegistryNames& registry) {
    UnitView view;
    view.directory = unit.directory;
    view.vendor = unit.vendor;
    view.model = unit.model;
    view.specifier = unit.specifier;
    view.version = unit.version;
    if (const decode::RomEntry* entry = decode::entryAt(node.decoded.root, unit.directory)) {
        view.entry = entry->offset;
        view.path = entry->path;
        view.texts = decode::textsBelow(entry->children);
    }
    view.name = decode::unitName(unit.specifier, unit.version, ownerOf(node, unit, registry));
    const std::string protocol = decode::unitProtocol(unit.specifier, unit.version);
    if (protocol != decode::UnknownUnitType)
        view.architecture = protocol;
    view.kernelIndex = kernelIndex;
    view.modalias = decode::modalias(unit);
    if (node.source) {
        view.kernelModalias = kernelText(node.source->unitModaliases, kernelIndex);
        view.driver = kernelText(node.source->unitDrivers, kernelIndex);
        if (view.kernelModalias && view.kernelModalias->empty())
            view.kernelModalias.reset();
    }
    view.sbp2 = sbp2ViewOf(node.rom(), unit);
    return view;
}

void collectKeywords(const std::vector<decode::RomEntry>& entries,
                     std::vector<std::string>& keywords) {
    for (const decode::RomEntry& entry : entries) {
        if (entry.keywords)
            keywords.insert(keywords.end(), entry.keywords->begin(), entry.keywords->end());
        collectKeywords(entry.children, keywords);
    }
}

RomKnowledge romKnowledgeOf(const decode::DecodedRom& decoded) {
    RomKnowledge knowledge;
    decode::RomNames names = decode::romNamesOf(decoded);
    knowledge.vendorName = std::move(names.vendor);
    knowledge.modelName = std::move(names.model);
    collectKeywords(decoded.root, knowledge.keywords);
    knowledge.crcCause = sharedCrcCause(decoded);
    for (const auto& [offset, text] : decode::entryAnnotations(decoded)) {
        std::string& meaning = knowledge.meanings[offset];
        meaning += (meaning.empty() ? "" : "; ") + text;
    }
    return knowledge;
}

} // namespace

void addKnowledge(NodeView& node, RegistryNames& registry) {
    size_t kernelUnits = 0;
    node.units.clear();
    for (const decode::UnitIds& unit : node.decoded.units)
        node.units.push_back(unitViewOf(
            node, unit, unit.kernelUnit ? std::optional<size_t>(kernelUnits++) : std::nullopt,
            registry));
    node.knowledge = romKnowledgeOf(node.decoded);
}

} // namespace rombus

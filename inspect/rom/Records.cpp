#include "inspect/rom/Records.h"

#include "inspect/rom/Locator.h"

#include <cstdlib>

namespace rombus {

std::string recordId(const libRombus::lib1394_log& record) {
    return record.message.isEmpty() ? std::string() : record.message->id().zulString().str();
}

std::string recordText(const libRombus::lib1394_log& record) {
    return record.message.isEmpty() ? std::string() : record.message->text().str();
}

std::optional<uint32_t> recordOffset(const libRombus::lib1394_log& record, const char* variable) {
    if (record.message.isEmpty())
        return std::nullopt;
    const vesk5::Value* value = record.message->variables().find(variable);
    if (!value)
        return std::nullopt;
    const std::string text = value->text().str();
    if (const auto entry = entryAddressOf(text))
        return entry->romOffset();
    char* end = nullptr;
    const unsigned long long number = std::strtoull(text.c_str(), &end, 16);
    if (end == text.c_str() || (*end != '\0' && *end != 'h') || number > UINT32_MAX)
        return std::nullopt;
    return static_cast<uint32_t>(number);
}

std::optional<uint32_t> concernedOffset(const libRombus::lib1394_log& record) {
    const std::optional<uint32_t> offset = recordOffset(record, "offset");
    if (recordId(record) == "CRCCheckFailed")
        return offset && *offset >= 4 ? std::optional<uint32_t>(*offset - 4) : std::nullopt;
    return offset ? offset : recordOffset(record, "dir_name");
}

} // namespace rombus

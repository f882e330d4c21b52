#include "DeviceProperties.h"

#include "UnitLines.h"
#include "inspect/model/Model.h"

#include <cstdio>

namespace rombus {
namespace {

std::string hex(uint32_t value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*X", digits, static_cast<unsigned>(value));
    return text;
}

std::string yesNo(bool value) {
    return value ? "yes" : "no";
}

// One property as a person expects it; empty for properties that the tree itself shows.
std::string describe(const vesk5::SysInfoDevice::Property& property) {
    const std::string name = property.name.zulString().str();
    const vesk5::Value& value = property.value;
    if (name == "__parentLocator")
        return std::string();
    if (name == "ConfigROMAccessible")
        return value.valueBool() ? "ROM accessible" : "ROM NOT accessible";
    if (name == "ImmediateValue")
        return hex(value.valueUint32(), 6);
    if (name == "VendorName")
        return quoted(value.valueString().zulString().str(), false);
    if (name == "TextString")
        return quoted(shownText(value.valueString().zulString().str()), true);
    if (name == "CycleClockAcc")
        return name + " " + std::to_string(value.valueUint32()) + " ppm";
    if (name == "MaxDataRecSize")
        return name + " " + std::to_string(value.valueUint32()) + " bytes";
    switch (value.type()) {
    case vesk5::DataType::Boolean:
        return name + " " + yesNo(value.valueBool());
    case vesk5::DataType::Uint32:
        return name + " " + hex(value.valueUint32(), 1);
    default:
        return name + " " + quoted(value.valueString().zulString().str(), false);
    }
}

} // namespace

std::string properties(const vesk5::SysInfoDevice& device) {
    std::string text;
    if (const auto* value = device.findProperty("ImmediateValue"))
        text = describe(*value);
    for (const auto& property : device.properties()) {
        if (property.name == "ImmediateValue")
            continue;
        const std::string piece = describe(property);
        if (!piece.empty())
            text += (text.empty() ? "" : "  ") + piece;
    }
    return text;
}

} // namespace rombus

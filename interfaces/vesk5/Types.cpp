#include "vesk5/Types.h"

#include <string>

namespace vesk5 {

const DataType& DataType::STRING() {
    static const DataType type(String);
    return type;
}

const DataType& DataType::UINT32() {
    static const DataType type(Uint32);
    return type;
}

const DataType& DataType::BOOLEAN() {
    static const DataType type(Boolean);
    return type;
}

const char* DataType::name() const {
    static const char* const names[] = {"STRING", "UINT32", "BOOLEAN"};
    return names[id_];
}

const PropertyCategory& PropertyCategory::Internal() {
    static const PropertyCategory category(1u << 0);
    return category;
}

const PropertyCategory& PropertyCategory::ParentKey() {
    static const PropertyCategory category(1u << 1);
    return category;
}

const PropertyCategory& PropertyCategory::RequiredForTests() {
    static const PropertyCategory category(1u << 2);
    return category;
}

const PropertyCategory& PropertyCategory::Tier3() {
    static const PropertyCategory category(1u << 3);
    return category;
}

const PropertyCategory& PropertyCategory::SysInfo() {
    static const PropertyCategory category(1u << 4);
    return category;
}

const DeviceCapability& DeviceCapability::IEEE1394() {
    static const DeviceCapability capability("IEEE1394");
    return capability;
}

const DeviceCapability& DeviceCapability::Firmware() {
    static const DeviceCapability capability("Firmware");
    return capability;
}

const DeviceCapability& DeviceCapability::NIL() {
    static const DeviceCapability capability("NIL");
    return capability;
}

zul::String Value::text() const {
    switch (type_) {
    case DataType::Boolean:
        return zul::String(number_ ? "true" : "false");
    case DataType::Uint32:
        return zul::String(std::to_string(number_));
    case DataType::String:
        break;
    }
    return text_;
}

} // namespace vesk5

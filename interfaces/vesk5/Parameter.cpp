#include "vesk5/Parameter.h"

namespace vesk5 {
namespace {

Value emptyValueOf(const DataType& type) {
    switch (type.id()) {
    case DataType::Boolean:
        return Value(false);
    case DataType::Uint32:
        return Value(uint32_t{0});
    case DataType::String:
        break;
    }
    return Value("");
}

} // namespace

Parameter::Parameter(const VeskString& name, const DataType& type)
    : name_(name), type_(type), value_(emptyValueOf(type)) {}

DeviceProperty::DeviceProperty(const VeskString& name, const PropertyCategory& category,
                               const DataType& type, const DeviceCapability& capability)
    : name_(name), category_(category), type_(type), capability_(capability),
      value_(emptyValueOf(type)) {}

} // namespace vesk5

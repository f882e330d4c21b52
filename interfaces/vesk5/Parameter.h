#pragma once

#include "zul/Api.h"

#include "vesk5/Types.h"

namespace vesk5 {

// A typed configuration value declared by a module and set by the host program. Until it is
// set, it holds the empty value of its type (an empty string, 0 or false). The platform may be
// told of every reading of the value (a registry named by it is about to be read, say), to charge
// what the reading leads to.
class ROMBUS_API Parameter {
public:
    using ReadHook = void (*)();

    Parameter(const VeskString& name, const DataType& type);

    const VeskString& name() const { return name_; }
    const DataType& type() const { return type_; }
    const Value& value() const {
        if (readHook_)
            readHook_();
        return value_;
    }
    void setValue(const Value& value) { value_ = value; }
    void setReadHook(ReadHook hook) { readHook_ = hook; }

private:
    VeskString name_;
    const DataType& type_;
    Value value_;
    ReadHook readHook_ = nullptr;
};

// A declared device property. Its value is set just before the property is added to a device.
class ROMBUS_API DeviceProperty {
public:
    DeviceProperty(const VeskString& name, const PropertyCategory& category, const DataType& type,
                   const DeviceCapability& capability);

    const VeskString& name() const { return name_; }
    const PropertyCategory& category() const { return category_; }
    const DataType& type() const { return type_; }
    const DeviceCapability& capability() const { return capability_; }
    const Value& value() const { return value_; }
    void setValue(const Value& value) { value_ = value; }

private:
    VeskString name_;
    PropertyCategory category_;
    const DataType& type_;
    const DeviceCapability& capability_;
    Value value_;
};

} // namespace vesk5

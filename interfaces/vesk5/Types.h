#pragma once

#include "zul/Api.h"

#include "vesk5/VeskString.h"

#include <cstdint>

namespace vesk5 {

class ROMBUS_API DataType {
public:
    enum Id { String, Uint32, Boolean };

    static const DataType& STRING();
    static const DataType& UINT32();
    static const DataType& BOOLEAN();

    Id id() const { return id_; }
    const char* name() const;
    friend bool operator==(const DataType& a, const DataType& b) { return a.id_ == b.id_; }

private:
    explicit DataType(Id id) : id_(id) {}
    Id id_;
};

// A set of property categories; operator| makes the union.
class ROMBUS_API PropertyCategory {
public:
    static const PropertyCategory& Internal();
    static const PropertyCategory& ParentKey();
    static const PropertyCategory& RequiredForTests();
    static const PropertyCategory& Tier3();
    static const PropertyCategory& SysInfo();

    PropertyCategory operator|(const PropertyCategory& other) const {
        return PropertyCategory(bits_ | other.bits_);
    }
    bool contains(const PropertyCategory& other) const {
        return (bits_ & other.bits_) == other.bits_;
    }
    uint32_t bits() const { return bits_; }

private:
    explicit PropertyCategory(uint32_t bits) : bits_(bits) {}
    uint32_t bits_;
};

class ROMBUS_API DeviceCapability {
public:
    static const DeviceCapability& IEEE1394();
    static const DeviceCapability& Firmware();
    static const DeviceCapability& NIL();

    const char* name() const { return name_; }
    friend bool operator==(const DeviceCapability& a, const DeviceCapability& b) {
        return a.name_ == b.name_;
    }

private:
    explicit DeviceCapability(const char* name) : name_(name) {}
    const char* name_;
};

// A typed value: a boolean, an unsigned 32-bit number or a string.
class ROMBUS_API Value {
public:
    Value() : type_(DataType::String) {}
    explicit Value(bool value) : type_(DataType::Boolean), number_(value) {}
    explicit Value(uint32_t value) : type_(DataType::Uint32), number_(value) {}
    explicit Value(const zul::String& value) : type_(DataType::String), text_(value) {}
    explicit Value(const char* value) : type_(DataType::String), text_(value) {}

    DataType::Id type() const { return type_; }
    bool valueBool() const { return number_ != 0; }
    uint32_t valueUint32() const { return number_; }
    VeskString valueString() const { return VeskString(text_); }
    // The value as text: strings as they are, numbers in decimal, booleans as true or false.
    zul::String text() const;

    friend bool operator==(const Value& a, const Value& b) = default;

private:
    DataType::Id type_;
    uint32_t number_ = 0;
    zul::String text_;
};

} // namespace vesk5

#pragma once

#include "zul/Api.h"

#include "vesk5/LocalizedString.h"

namespace vesk5 {

// A declared event. Its variables hold the last value set under each name; its text is the
// template of the same id filled from them.
class ROMBUS_API Event {
public:
    explicit Event(const VeskString& name) : name_(name) {}

    const VeskString& name() const { return name_; }
    void setVariable(const VeskString& name, const Value& value) { variables_.set(name, value); }
    const Variables& variables() const { return variables_; }
    zul::String text() const;

private:
    VeskString name_;
    Variables variables_;
};

} // namespace vesk5

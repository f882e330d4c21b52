#pragma once

#include "zul/Api.h"

#include "vesk5/Types.h"

#include <utility>
#include <vector>

namespace vesk5 {

// Named values, kept in the order first set; setting a name again replaces its value.
class ROMBUS_API Variables {
public:
    void set(const VeskString& name, const Value& value);
    const Value* find(const VeskString& name) const;
    const std::vector<std::pair<VeskString, Value>>& all() const { return entries_; }
    // Fills each {name} of the template with the text of that variable; unknown names stay.
    zul::String fill(const zul::String& templateText) const;

private:
    std::vector<std::pair<VeskString, Value>> entries_;
};

class LocalizedStringSpec;

// A message made from a template, whose placeholders are filled from its variables.
class ROMBUS_API LocalizedString {
public:
    explicit LocalizedString(const LocalizedStringSpec& spec);
    virtual ~LocalizedString();
    LocalizedString(const LocalizedString&) = delete;
    LocalizedString& operator=(const LocalizedString&) = delete;

    void setVariable(const VeskString& name, const Value& value) { variables_.set(name, value); }
    const Variables& variables() const { return variables_; }
    const VeskString& id() const { return id_; }
    zul::String text() const;

    // Number of LocalizedString objects alive in the process.
    static size_t liveCount();

private:
    VeskString id_;
    zul::String template_;
    Variables variables_;
};

// A message template: an id and English text with {name} placeholders. A spec is known to the
// framework by its id for its whole life, so that events of the same name find their text.
class ROMBUS_API LocalizedStringSpec {
public:
    LocalizedStringSpec(const VeskString& id, const VeskString& templateText);
    ~LocalizedStringSpec();
    LocalizedStringSpec(const LocalizedStringSpec&) = delete;
    LocalizedStringSpec& operator=(const LocalizedStringSpec&) = delete;

    const VeskString& id() const { return id_; }
    const zul::String& templateText() const { return template_.zulString(); }
    // A new message of this template; the caller owns it.
    LocalizedString* createLocalizedString() const { return new LocalizedString(*this); }

    static const LocalizedStringSpec* find(const VeskString& id);

private:
    VeskString id_;
    VeskString template_;
};

} // namespace vesk5

#include "vesk5/LocalizedString.h"

#include <map>
#include <string>

namespace vesk5 {
namespace {

size_t& liveStrings() {
    static size_t count = 0;
    return count;
}

std::map<std::string, const LocalizedStringSpec*>& catalog() {
    static std::map<std::string, const LocalizedStringSpec*> specs;
    return specs;
}

} // namespace

void Variables::set(const VeskString& name, const Value& value) {
    for (auto& entry : entries_) {
        if (entry.first == name) {
            entry.second = value;
            return;
        }
    }
    entries_.emplace_back(name, value);
}

const Value* Variables::find(const VeskString& name) const {
    for (const auto& entry : entries_)
        if (entry.first == name)
            return &entry.second;
    return nullptr;
}

zul::String Variables::fill(const zul::String& templateText) const {
    const std::string& in = templateText.str();
    std::string out;
    size_t at = 0;
    while (at < in.size()) {
        size_t open = in.find('{', at);
        size_t close = open == std::string::npos ? open : in.find('}', open);
        if (close == std::string::npos) {
            out.append(in, at, std::string::npos);
            break;
        }
        // A brace left open before the placeholder is plain text: the name starts after the
        // last "{" before the closing brace.
        open = in.rfind('{', close);
        out.append(in, at, open - at);
        const Value* value = find(VeskString(zul::String(in.substr(open + 1, close - open - 1))));
        out += value ? value->text().str() : in.substr(open, close - open + 1);
        at = close + 1;
    }
    return zul::String(std::move(out));
}

LocalizedString::LocalizedString(const LocalizedStringSpec& spec)
    : id_(spec.id()), template_(spec.templateText()) {
    ++liveStrings();
}

LocalizedString::~LocalizedString() {
    --liveStrings();
}

zul::String LocalizedString::text() const {
    return variables_.fill(template_);
}

size_t LocalizedString::liveCount() {
    return liveStrings();
}

LocalizedStringSpec::LocalizedStringSpec(const VeskString& id, const VeskString& templateText)
    : id_(id), template_(templateText) {
    catalog()[id_.zulString().str()] = this;
}

LocalizedStringSpec::~LocalizedStringSpec() {
    auto it = catalog().find(id_.zulString().str());
    if (it != catalog().end() && it->second == this)
        catalog().erase(it);
}

const LocalizedStringSpec* LocalizedStringSpec::find(const VeskString& id) {
    auto it = catalog().find(id.zulString().str());
    return it == catalog().end() ? nullptr : it->second;
}

} // namespace vesk5

#include "zul/LinearPattern.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace zul {

namespace {

using ByteSet = std::bitset<256>;

ByteSet range(unsigned first, unsigned last) {
    ByteSet set;
    for (unsigned byte = first; byte <= last; ++byte)
        set.set(byte);
    return set;
}

// The classes of PCRE2's default tables (no Unicode properties): \s is space, HT, LF, VT, FF, CR.
const ByteSet& spaces() {
    static const ByteSet set = range(' ', ' ') | range('\t', '\r');
    return set;
}
const ByteSet& digits() {
    static const ByteSet set = range('0', '9');
    return set;
}
const ByteSet& wordBytes() {
    static const ByteSet set =
        range('0', '9') | range('A', 'Z') | range('a', 'z') | range('_', '_');
    return set;
}

// The set of an escape "\c", or nothing for one this class does not take.
std::optional<ByteSet> escaped(char c) {
    switch (c) {
    case 's':
        return spaces();
    case 'S':
        return ~spaces();
    case 'd':
        return digits();
    case 'D':
        return ~digits();
    case 'w':
        return wordBytes();
    case 'W':
        return ~wordBytes();
    case 'n':
        return range('\n', '\n');
    case 'r':
        return range('\r', '\r');
    case 't':
        return range('\t', '\t');
    case 'f':
        return range('\f', '\f');
    default:
        break;
    }
    const unsigned char byte = static_cast<unsigned char>(c);
    if (byte < 0x80 && !std::isalnum(byte) && byte != 0)
        return range(byte, byte);
    return std::nullopt;
}

} // namespace

// Reads a pattern into elements and groups; any construct it does not take ends the plan.
class LinearPattern::Parser {
public:
    explicit Parser(const std::string& text) : text_(text) {}

    std::optional<LinearPattern> parse() {
        LinearPattern plan;
        bool inGroup = false;
        while (at_ < text_.size()) {
            const char c = text_[at_++];
            if (c == '(') {
                if (inGroup || peek() == '?')
                    return std::nullopt;
                inGroup = true;
                plan.groupFirsts_.push_back(plan.elements_.size());
            } else if (c == ')') {
                if (!inGroup || isQuantifier(peek()))
                    return std::nullopt;
                inGroup = false;
                plan.groupEnds_.push_back(plan.elements_.size());
            } else {
                std::optional<ByteSet> bytes = atom(c);
                if (!bytes)
                    return std::nullopt;
                Element element{*bytes};
                if (!quantify(element))
                    return std::nullopt;
                plan.elements_.push_back(element);
            }
        }
        if (inGroup || !plan.exact())
            return std::nullopt;
        plan.prepare();
        return plan;
    }

private:
    char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }
    static bool isQuantifier(char c) { return c == '*' || c == '+' || c == '?' || c == '{'; }

    std::optional<ByteSet> atom(char c) {
        if (c == '.')
            return ~(range('\n', '\n') | range('\r', '\r'));
        if (c == '[')
            return byteClass();
        if (c == '\\')
            return at_ < text_.size() ? escaped(text_[at_++]) : std::nullopt;
        if (std::strchr("]*+?{}|^$", c))
            return std::nullopt;
        return range(static_cast<unsigned char>(c), static_cast<unsigned char>(c));
    }

    // A quantifier after an atom, if any; lazy, possessive and counted ones are not taken.
    bool quantify(Element& element) {
        const char q = peek();
        if (q == '{')
            return false;
        if (q != '*' && q != '+' && q != '?')
            return true;
        ++at_;
        element.min = q == '+' ? 1 : 0;
        element.unbounded = q != '?';
        return !isQuantifier(peek()) && peek() != '+';
    }

    // The bytes of "[...]" after its "[": ranges, escapes, "^" first to negate.
    std::optional<ByteSet> byteClass() {
        ByteSet set;
        const bool negated = peek() == '^';
        at_ += negated ? 1 : 0;
        for (bool first = true; at_ < text_.size(); first = false) {
            char c = text_[at_++];
            if (c == ']' && !first)
                return negated ? ~set : set;
            if (c == '[')
                return std::nullopt; // POSIX classes
            if (c == '\\') {
                const std::optional<ByteSet> escape =
                    at_ < text_.size() ? escaped(text_[at_++]) : std::nullopt;
                if (!escape)
                    return std::nullopt;
                set |= *escape;
                continue;
            }
            if (peek() == '-' && at_ + 1 < text_.size() && text_[at_ + 1] != ']') {
                const char last = text_[at_ + 1];
                if (last == '\\' || last == '[' ||
                    static_cast<unsigned char>(last) < static_cast<unsigned char>(c))
                    return std::nullopt;
                set |= range(static_cast<unsigned char>(c), static_cast<unsigned char>(last));
                at_ += 2;
                continue;
            }
            set.set(static_cast<unsigned char>(c));
        }
        return std::nullopt;
    }

    const std::string& text_;
    size_t at_ = 0;
};

std::optional<LinearPattern> LinearPattern::of(const std::string& pattern) {
    return Parser(pattern).parse();
}

// Greedy matching takes as many bytes as each element may. When the rest of the pattern then
// fails, a byte given back would meet the elements after it up to the first that must match a
// byte: if none of them may match it, they match nothing and that one fails again. When no later
// element must match a byte, the rest never fails.
bool LinearPattern::exact() const {
    for (size_t i = 0; i < elements_.size(); ++i) {
        const Element& element = elements_[i];
        if (element.min == 1 && !element.unbounded)
            continue;
        ByteSet reach;
        for (size_t j = i + 1; j < elements_.size(); ++j) {
            reach |= elements_[j].bytes;
            if (elements_[j].min > 0) {
                if ((element.bytes & reach).any())
                    return false;
                break;
            }
        }
    }
    return true;
}

void LinearPattern::prepare() {
    for (Element& element : elements_)
        for (unsigned byte = 0; byte < 256; ++byte)
            element.takes[byte] = element.bytes[byte];
    for (size_t g = 0; g < groups(); ++g) {
        marks_.push_back({groupFirsts_[g], 2 * g + 2});
        marks_.push_back({groupEnds_[g], 2 * g + 3});
    }
    std::stable_sort(marks_.begin(), marks_.end(),
                     [](const Mark& a, const Mark& b) { return a.element < b.element; });
    lazyTail_ = !elements_.empty() && elements_.back().min == 0 && elements_.back().unbounded;
}

bool LinearPattern::matches(const char* subject, size_t length, std::vector<size_t>& spans) const {
    // Every slot but the match's begin, always 0, is written below.
    if (spans.size() != 2 * (groups() + 1) + 1)
        spans.assign(2 * (groups() + 1) + 1, 0);
    const auto* bytes = reinterpret_cast<const unsigned char*>(subject);
    const size_t count = elements_.size() - (lazyTail_ ? 1 : 0);
    auto mark = marks_.begin();
    size_t at = 0;
    for (size_t i = 0; i < count; ++i) {
        for (; mark != marks_.end() && mark->element == i; ++mark)
            spans[mark->slot] = at;
        const Element& element = elements_[i];
        const size_t most = element.unbounded ? length : std::min(length, at + 1);
        const size_t from = at;
        while (at < most && element.takes[bytes[at]])
            ++at;
        if (at - from < element.min)
            return false;
    }
    for (; mark != marks_.end(); ++mark)
        spans[mark->slot] = mark->element == elements_.size() && lazyTail_ ? Unresolved : at;
    spans[1] = lazyTail_ ? Unresolved : at;
    spans.back() = at;
    return true;
}

size_t LinearPattern::restOf(const char* subject, size_t length, size_t begin) const {
    if (!lazyTail_)
        return begin;
    const ByteSet& bytes = elements_.back().bytes;
    size_t end = begin;
    while (end < length && bytes[static_cast<unsigned char>(subject[end])])
        ++end;
    return end;
}

} // namespace zul

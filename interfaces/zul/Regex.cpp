#define PCRE2_CODE_UNIT_WIDTH 8
#include "zul/Regex.h"

#include "zul/LinearPattern.h"

#include <pcre2.h>

#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace zul {

// A pattern as PCRE2 compiled it, or the reason it could not; never changed once made.
struct CompiledPattern {
    pcre2_code* code = nullptr;
    bool jit = false;
    // The same pattern matched in one pass, where it is one LinearPattern takes.
    std::optional<LinearPattern> linear;
    String error;

    CompiledPattern() = default;
    CompiledPattern(const CompiledPattern&) = delete;
    CompiledPattern& operator=(const CompiledPattern&) = delete;
    ~CompiledPattern() { pcre2_code_free(code); }
};

namespace {

std::shared_ptr<const CompiledPattern> compile(const String& pattern, uint32_t options) {
    auto made = std::make_shared<CompiledPattern>();
    pcre2_compile_context* context = pcre2_compile_context_create(nullptr);
    pcre2_set_newline(context, PCRE2_NEWLINE_ANYCRLF);
    int code = 0;
    PCRE2_SIZE at = 0;
    made->code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.getUTF8String()),
                               pattern.length(), options | PCRE2_ANCHORED, &code, &at, context);
    pcre2_compile_context_free(context);
    if (!made->code) {
        PCRE2_UCHAR text[256];
        pcre2_get_error_message(code, text, sizeof text);
        made->error = String(reinterpret_cast<const char*>(text));
        return made;
    }
    made->jit = pcre2_jit_compile(made->code, PCRE2_JIT_COMPLETE) == 0;
    if (options == 0)
        made->linear = LinearPattern::of(pattern.str());
    return made;
}

// The compiled patterns shared by pattern and options. Once MaxShared patterns are kept, others
// are compiled for their own Regex only, so that a program making patterns from data cannot
// make the table grow without bound.
struct SharedPatterns {
    std::mutex lock;
    std::map<std::pair<std::string, uint32_t>, std::shared_ptr<const CompiledPattern>> patterns;
};

SharedPatterns& shared() {
    static SharedPatterns instance;
    return instance;
}

std::shared_ptr<const CompiledPattern> compiledFor(const String& pattern, uint32_t options) {
    SharedPatterns& table = shared();
    std::lock_guard<std::mutex> guard(table.lock);
    auto key = std::make_pair(pattern.str(), options);
    auto found = table.patterns.find(key);
    if (found != table.patterns.end())
        return found->second;
    std::shared_ptr<const CompiledPattern> made = compile(pattern, options);
    if (table.patterns.size() < Regex::MaxShared)
        table.patterns.emplace(std::move(key), made);
    return made;
}

} // namespace

Regex::Regex(const String& pattern, uint32_t options) : compiled_(compiledFor(pattern, options)) {}

Regex::~Regex() = default;

bool Regex::isValid() const {
    return compiled_->code != nullptr;
}

const String& Regex::error() const {
    return compiled_->error;
}

size_t Regex::sharedCount() {
    SharedPatterns& table = shared();
    std::lock_guard<std::mutex> guard(table.lock);
    return table.patterns.size();
}

// The matcher holds the compiled pattern itself, so it stays usable whatever becomes of the Regex.
Matcher::Matcher(const Regex& regex) : compiled_(regex.compiled_) {
    if (compiled_->code)
        matchData_ = pcre2_match_data_create_from_pattern(compiled_->code, nullptr);
}

Matcher::~Matcher() {
    pcre2_match_data_free(static_cast<pcre2_match_data*>(matchData_));
}

bool Matcher::matches(const char* subject, size_t length) {
    groups_ = 0;
    if (!matchData_)
        return false;
    subject_ = subject;
    length_ = length;
    if (const std::optional<LinearPattern>& linear = compiled_->linear) {
        groups_ = linear->matches(subject, length, spans_) ? linear->groups() + 1 : 0;
        return groups_ > 0;
    }
    auto* data = static_cast<pcre2_match_data*>(matchData_);
    auto text = reinterpret_cast<PCRE2_SPTR>(subject);
    int result = compiled_->jit
                     ? pcre2_jit_match(compiled_->code, text, length, 0, 0, data, nullptr)
                     : pcre2_match(compiled_->code, text, length, 0, 0, data, nullptr);
    groups_ = result > 0 ? result : 0;
    return groups_ > 0;
}

String Matcher::group(unsigned index) const {
    if (static_cast<int>(index) >= groups_)
        return String();
    if (const std::optional<LinearPattern>& linear = compiled_->linear) {
        const auto resolved = [&](size_t at) {
            return at == LinearPattern::Unresolved
                       ? linear->restOf(subject_, length_, spans_.back())
                       : at;
        };
        const size_t begin = resolved(spans_[2 * index]);
        const size_t end = resolved(spans_[2 * index + 1]);
        return String(subject_ + begin, end - begin);
    }
    PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(static_cast<pcre2_match_data*>(matchData_));
    PCRE2_SIZE begin = ovector[2 * index];
    PCRE2_SIZE end = ovector[2 * index + 1];
    if (begin == PCRE2_UNSET || end < begin)
        return String();
    return String(subject_ + begin, end - begin);
}

} // namespace zul

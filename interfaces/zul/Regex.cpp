#define PCRE2_CODE_UNIT_WIDTH 8
#include "zul/Regex.h"

#include <pcre2.h>

namespace zul {
namespace {

pcre2_code* compile(const String& pattern, uint32_t options, String& error) {
    pcre2_compile_context* context = pcre2_compile_context_create(nullptr);
    pcre2_set_newline(context, PCRE2_NEWLINE_ANYCRLF);
    int code = 0;
    PCRE2_SIZE at = 0;
    pcre2_code* compiled =
        pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.getUTF8String()), pattern.length(),
                      options | PCRE2_ANCHORED, &code, &at, context);
    pcre2_compile_context_free(context);
    if (!compiled) {
        PCRE2_UCHAR text[256];
        pcre2_get_error_message(code, text, sizeof text);
        error = String(reinterpret_cast<const char*>(text));
    }
    return compiled;
}

} // namespace

Regex::Regex(const String& pattern, uint32_t options) {
    pcre2_code* compiled = compile(pattern, options, error_);
    code_ = compiled;
    jit_ = compiled && pcre2_jit_compile(compiled, PCRE2_JIT_COMPLETE) == 0;
}

Regex::~Regex() { pcre2_code_free(static_cast<pcre2_code*>(code_)); }

Matcher::Matcher(const Regex& regex) : regex_(regex) {
    if (regex.code_)
        matchData_ =
            pcre2_match_data_create_from_pattern(static_cast<pcre2_code*>(regex.code_), nullptr);
}

Matcher::~Matcher() { pcre2_match_data_free(static_cast<pcre2_match_data*>(matchData_)); }

bool Matcher::matches(const char* subject, size_t length) {
    groups_ = 0;
    if (!matchData_)
        return false;
    auto* code = static_cast<pcre2_code*>(regex_.code_);
    auto* data = static_cast<pcre2_match_data*>(matchData_);
    auto text = reinterpret_cast<PCRE2_SPTR>(subject);
    int result = regex_.jit_ ? pcre2_jit_match(code, text, length, 0, 0, data, nullptr)
                             : pcre2_match(code, text, length, 0, 0, data, nullptr);
    subject_ = subject;
    groups_ = result > 0 ? result : 0;
    return groups_ > 0;
}

String Matcher::group(unsigned index) const {
    if (static_cast<int>(index) >= groups_)
        return String();
    PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(static_cast<pcre2_match_data*>(matchData_));
    PCRE2_SIZE begin = ovector[2 * index];
    PCRE2_SIZE end = ovector[2 * index + 1];
    if (begin == PCRE2_UNSET || end < begin)
        return String();
    return String(subject_ + begin, end - begin);
}

} // namespace zul

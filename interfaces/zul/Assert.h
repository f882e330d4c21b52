#pragma once

namespace zul {

// Reports a broken invariant on standard error and aborts the process.
[[noreturn]] void assertionFailed(const char* condition, const char* file, int line);

} // namespace zul

#define ZUL_ASSERT(condition)                                                                      \
    ((condition) ? (void)0 : ::zul::assertionFailed(#condition, __FILE__, __LINE__))

#pragma once

#include "zul/Api.h"

namespace zul {

// Reports a broken invariant on standard error and aborts the process.
[[noreturn]] ROMBUS_API void assertionFailed(const char* condition, const char* file, int line);

} // namespace zul

#define ZUL_ASSERT(condition)                                                                      \
    ((condition) ? (void)0 : ::zul::assertionFailed(#condition, __FILE__, __LINE__))

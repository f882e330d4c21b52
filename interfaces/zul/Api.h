#pragma once

// What the libraries of this system offer to the programs that link them. The libraries are built
// with hidden visibility: only what carries ROMBUS_API is exported from them.
#define ROMBUS_API __attribute__((visibility("default")))

#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace rombus {

// One row of the shipped driver table, as constant data.
struct ShippedDriverId {
    const char* driver;
    uint32_t flags;
    uint32_t vendor, model, specifier, version;
    const char* kernel;
};

extern const ShippedDriverId shippedDriverIds[];
extern const size_t shippedDriverIdCount;

} // namespace rombus

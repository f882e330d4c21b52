#pragma once

#include "zul/Api.h"

#include <string>

namespace lib1394 {

// The digits of N when a name is fwN with N decimal digits only, the name the kernel gives a
// FireWire node; empty for unit devices (fwN.M) and anything else.
ROMBUS_API std::string nodeDigits(const std::string& name);

// fwN before fwM when N < M, whatever their size: fewer significant digits first, then by digits.
ROMBUS_API bool byNodeNumber(const std::string& a, const std::string& b);

} // namespace lib1394

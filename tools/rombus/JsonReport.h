#pragma once

#include "Enumeration.h"

#include <nlohmann/json.hpp>

namespace rombus {

// The enumeration as one JSON object: "result", "devices" (name, locator, childBusIds,
// properties typed by their data type), "nodes" (locator, messages with level and text) and
// "reports" (severity, event, text), each list in the order produced.
nlohmann::ordered_json jsonReport(const Scan& scan);

// The object as text. Bytes that are not UTF-8 (a ROM may hold any) are replaced, never fatal.
std::string jsonText(const nlohmann::ordered_json& report);

} // namespace rombus

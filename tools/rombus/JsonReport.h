#pragma once

#include "inspect/model/Inspection.h"

#include <nlohmann/json.hpp>

#include <set>

namespace rombus {

// The version of the report's format, raised whenever a field changes its meaning or goes away.
constexpr int FormatVersion = 3;

// The enumeration as one JSON object, described by doc/rombus-report.schema.json: "formatVersion",
// "ok" (every node read without a problem), "result" (the enumeration's own result), "devices"
// (the framework's view: name, locator, childBusIds, properties typed by their data type),
// "nodes" (per node its status, source, GUID, bus options, records with their variables, units,
// notes and the entry tree of its ROM), "reports" (severity, event, text) and the bus's "notes",
// each list in the order produced; the devices hidden (by -s and -d) are left out.
nlohmann::ordered_json jsonReport(const Inspection& inspection,
                                  const std::set<size_t>& hidden = {});

// The object as text. Bytes that are not UTF-8 (a ROM may hold any) are written as \xHH escapes,
// never fatal.
std::string jsonText(const nlohmann::ordered_json& report);

} // namespace rombus

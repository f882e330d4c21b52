#pragma once

#include "Options.h"
#include "inspect/knowledge/DriverTable.h"

#include <memory>

namespace rombus {

// The drivers' entries units are matched against: the modules.alias given by --modules-alias
// ("shipped" for the table the tool ships), else the running kernel's when it has one, else the
// shipped table. False, with the reason said, when a file given cannot be read.
bool chooseDrivers(const Options& options, std::shared_ptr<const DriverTable>& drivers);

} // namespace rombus

#pragma once

#include "lib1394/RomImageBus.h"

#include <string>
#include <vector>

namespace rombus {

// Saves the ROM of every node that has one to a folder, one file per node named by its GUID
// (<16 hex digits>.rom, then -2, -3 ... for a GUID met again), raw binary in bus order, in the
// order of the ports and their nodes: what 'rombus check' reads back as the same nodes. Each file
// is written whole or not at all; one that holds the same bytes already is left alone, one that
// holds others is kept unless overwrite is set, and a link or what is no regular file is never
// written through. Answers the problems met, each naming its file.
std::vector<std::string> saveRoms(const std::vector<lib1394::RomPort>& ports,
                                  const std::string& folder, bool overwrite);

} // namespace rombus

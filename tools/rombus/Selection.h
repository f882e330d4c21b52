#pragma once

#include "Options.h"
#include "inspect/model/Inspection.h"

#include <set>
#include <string>

namespace rombus {

// The nodes a report shows, chosen as lspci -s and -d choose devices:
//   -s [PORT]:[NODE] | NODE | fwN | GUID   port and node numbers as --short shows them ("0:01";
//                                          an empty part matches any), the kernel's device
//                                          name, or the GUID in 16 hexadecimal digits;
//   -d [VENDOR][:[MODEL]]                  the ids of the root directory in hexadecimal (the
//                                          vendor's company id from the GUID where the root
//                                          names none); an empty part matches any.

// A sentence saying what is wrong with -s or -d; empty when both are well-formed.
std::string selectionError(const Options& options);

// Keeps only the nodes -s and -d choose in the inspection; the devices of the others (each
// node's device and those of its entries) are returned, for the reports to leave out too.
std::set<size_t> keepSelected(Inspection& inspection, const Options& options);

} // namespace rombus

#pragma once

#include "inspect/knowledge/DriverTable.h"
#include "inspect/model/NodeView.h"
#include "lib1394/RomImageBus.h"
#include "vesk5/DiagModule.h"
#include "vesk5/SysInfoDevice.h"
#include "zul/Api.h"

#include <memory>
#include <string>
#include <vector>

namespace rombus {

// How the module is to read: the registry it names vendors from, the level of a CRC mismatch and
// the priority from which its log lines reach standard error; whether records a standard permits
// and advisories fail a node as faults do (strict); the drivers' entries that units are matched
// against (none: the table shipped with the tool); the longer IEEE assignments GUIDs are named by.
struct Settings {
    std::string registry;
    unsigned crcLevel = 2;
    unsigned logLevel = 3;
    bool strict = false;
    std::shared_ptr<const DriverTable> drivers;
    std::shared_ptr<const std::vector<LongAssignment>> assignments;
};

// One run of the module over a bus, as the reports show it. Its nodes refer to its devices, so
// it moves but is never copied.
struct ROMBUS_API Inspection {
    Inspection() = default;
    Inspection(Inspection&&) = default;
    Inspection& operator=(Inspection&&) = default;
    Inspection(const Inspection&) = delete;
    Inspection& operator=(const Inspection&) = delete;

    bool result = false; // the enumeration's own result
    bool strict = false; // the settings' strict: what fails a node
    // The nodes the bus knows of and did not read (told in the notes).
    size_t skippedNodes = 0;
    // The devices handed to the framework, in order, and its event reports.
    std::vector<vesk5::SysInfoDevice> devices;
    std::vector<vesk5::DiagModule::Report> reports;
    // What each port is (a controller's folder, "image files"), by port index.
    std::vector<std::string> portTexts;
    // What the bus skipped or could not take as it stood.
    std::vector<std::string> notes;
    std::vector<NodeView> nodes;

    // The node whose device is the device at an index, if any.
    const NodeView* nodeOfDevice(size_t device) const;
};

// Installs the bus, sets the module's parameters and the log gate, enumerates every node and
// builds the view of each.
ROMBUS_API Inspection inspect(std::shared_ptr<lib1394::RomImageBus> bus, const Settings& settings);

// Whether any node fails (a fault, a ROM not read; with strict also records a standard permits
// and advisories), or the bus skipped a node. Notes on cards and the bus never count.
ROMBUS_API bool hasProblems(const Inspection& inspection);
// Whether nodes were found and none fails: no bus, or a bus without a node, is not clean, nor is
// it a problem of a node.
ROMBUS_API bool isClean(const Inspection& inspection);
// Whether the decoder found a likely bug the module does not report (notes do not count).
ROMBUS_API bool hasAdvisories(const Inspection& inspection);

} // namespace rombus

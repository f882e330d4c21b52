#pragma once

#include "Terminal.h"
#include "lib1394/ImageFile.h"
#include "lib1394/RomImageBus.h"

#include <string>
#include <vector>

namespace rombus {

enum class Command { Scan, Check, RegistryImport };
enum class Format { Text, Json };

// Exit statuses of the tool.
enum ExitStatus : int { ExitClean = 0, ExitProblems = 1, ExitUsage = 2, ExitNoNode = 3 };

struct Options {
    Command command = Command::Scan;
    std::string sysfsRoot = "/sys";
    bool live = false;              // scan: read the ROMs from the devices, devFolder/fw*
    std::string devFolder = "/dev"; // scan --live: the folder of the device files
    std::vector<std::string> files; // "-" is standard input
    std::string saveRoms;           // scan: the folder to save every node's ROM in
    bool overwrite = false;         // scan: whether saved ROMs may replace files
    std::string registry;           // empty: the registry built with the tool
    unsigned crcLevel = 2;
    Format format = Format::Text;
    Color color = Color::Auto;
    bool dump = false;     // the annotated ROM dump of every node
    bool brief = false;    // one line per node
    bool strict = false;   // permitted records and advisories fail a node as faults do
    std::string slot;      // -s: the nodes to show by place, device name or GUID
    std::string ids;       // -d: the nodes to show by vendor and model id
    unsigned numeric = 0;  // -n: ids instead of names in --short; -nn: both
    unsigned logLevel = 5; // the module's log lines: none unless asked for
    lib1394::ByteOrder byteOrder = lib1394::ByteOrder::Detect;
    lib1394::ImageForm form = lib1394::ImageForm::Detect; // check: how the images are stored
    std::string importFrom;                               // empty: the ieee-data registry
    std::string importTo;                                 // empty: standard output
    // The commands over ROM images (diff, repair, describe, build), each in a file of its own.
    int (*run)(const Options&) = nullptr;
    std::string output;        // repair, build: the file to write
    bool inPlace = false;      // repair: write over the input
    bool fixCrcLength = false; // repair: crc_length to cover the whole ROM
    std::string outputForm;    // repair, build: be, le or hex; empty: be, or the input's own
    bool keepLinks = false;    // repair --in-place: write through other hard links
    bool layout = false;       // diff: also the blocks that moved
    std::string graph;         // topology: dot or svg instead of the report
    std::string printed;       // what --help or --version asks to print
    // The drivers' entries: a modules.alias, "shipped", or empty for the running kernel's.
    std::string modulesAlias;
    std::string kernelRelease;  // drivers table: the release the modules.alias belongs to
    bool kernelDrivers = false; // --short: each unit's drivers, as lspci -k
};

// Parses the command line. Returns -1 when the command is to run, otherwise the status to exit
// with at once: after a usage error, whose message is already printed, or after --help and
// --version, whose text is left in options.printed for the caller to write.
int parseOptions(int argc, char** argv, Options& options);

} // namespace rombus

#pragma once

#include "lib1394/RomImageBus.h"

#include <string>
#include <vector>

namespace rombus {

enum class Command { Scan, Check, RegistryImport };
enum class Format { Text, Json };

// Exit statuses of the tool.
enum ExitStatus : int { ExitClean = 0, ExitProblems = 1, ExitUsage = 2 };

struct Options {
    Command command = Command::Scan;
    std::string sysfsRoot = "/sys";
    std::vector<std::string> files;
    std::string registry; // empty: the registry built with the tool
    unsigned crcLevel = 2;
    Format format = Format::Text;
    unsigned logLevel = 3; // problems and failures only
    lib1394::ByteOrder byteOrder = lib1394::ByteOrder::Detect;
    std::string importFrom; // empty: the ieee-data registry
    std::string importTo;   // empty: standard output
};

// Parses the command line. Returns -1 when the command is to run, otherwise the status to exit
// with at once (after --help, --version or a usage error, whose message is already printed).
int parseOptions(int argc, char** argv, Options& options);

} // namespace rombus

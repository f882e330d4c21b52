#pragma once

#include "Options.h"

#include <CLI/CLI.hpp>

namespace rombus {

// The commands over ROM images, each adding its subcommand and options to the command line and
// setting Options::run when it is chosen; one file each (Diff.cpp, Repair.cpp...).
using RomCommand = void (*)(CLI::App& app, Options& options);

void addDiff(CLI::App& app, Options& options);
void addRepair(CLI::App& app, Options& options);
void addDescribe(CLI::App& app, Options& options);
void addBuild(CLI::App& app, Options& options);
void addDrivers(CLI::App& app, Options& options);
void addHwdb(CLI::App& app, Options& options);
void addTopology(CLI::App& app, Options& options);

constexpr RomCommand romCommands[] = {addDiff,    addRepair, addDescribe, addBuild,
                                      addDrivers, addHwdb,   addTopology};

} // namespace rombus
